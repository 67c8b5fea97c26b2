#include "com/platform.h"

#include <initguid.h>  // defines the identifiers of XmlLite, which has no import library in mingw-w64
#include <shlwapi.h>
#include <sys/timeb.h>
#include <time.h>
#include <xmllite.h>

#include <algorithm>
#include <utility>

#include "com/ComPtr.h"

namespace Korvex::Com {
namespace {

using CreateXmlReaderFunction = HRESULT(STDAPICALLTYPE*)(REFIID, void**, IMalloc*);

// Null where the system has no XmlLite. One that lies beside the program is not the system's.
CreateXmlReaderFunction findCreateXmlReader() {
    WCHAR folder[MAX_PATH] = {};
    const UINT length = ::GetSystemDirectoryW(folder, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return nullptr;
    const std::filesystem::path file = std::filesystem::path(folder) / L"xmllite.dll";
    const HMODULE library = ::LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!library) return nullptr;
    return reinterpret_cast<CreateXmlReaderFunction>(
        reinterpret_cast<void*>(::GetProcAddress(library, "CreateXmlReader")));
}

// A function that not every system's COM has.
template <typename Function>
Function oleFunction(const char* name) {
    const HMODULE library = ::GetModuleHandleW(L"ole32.dll");
    return library ? reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library, name))) : nullptr;
}

HRESULT createXmlReader(ComPtr<IXmlReader>& reader) {
    static const CreateXmlReaderFunction create = findCreateXmlReader();
    return create ? create(IID_IXmlReader, reader.putVoid(), nullptr) : E_NOTIMPL;
}

OpxString localName(IXmlReader& reader) {
    const WCHAR* text = nullptr;
    UINT length = 0;
    return reader.GetLocalName(&text, &length) == S_OK ? OpxString(text, length) : OpxString();
}

std::map<OpxString, OpxString> attributesOf(IXmlReader& reader) {
    std::map<OpxString, OpxString> attributes;
    for (HRESULT hr = reader.MoveToFirstAttribute(); hr == S_OK; hr = reader.MoveToNextAttribute()) {
        const WCHAR* value = nullptr;
        UINT length = 0;
        if (reader.GetValue(&value, &length) == S_OK) attributes[localName(reader)] = OpxString(value, length);
    }
    return attributes;
}

// Wine's reader answers its last node for ever where a document ends too early.
class Progress {
public:
    explicit Progress(IXmlReader& reader) : reader_(reader) {}

    bool moved(XmlNodeType type) {
        Node node{type, 0, 0};
        reader_.GetLineNumber(&node.line);
        reader_.GetLinePosition(&node.position);
        return std::exchange(last_, node) != node;
    }

private:
    struct Node {
        XmlNodeType type;
        UINT line;
        UINT position;
        bool operator==(const Node&) const = default;
    };

    IXmlReader& reader_;
    Node last_{XmlNodeType_None, 0, 0};
};

// Reads to the end, so that a document that is not well-formed counts as none.
bool collectElements(IXmlReader& reader, const std::vector<OpxString>& wanted, XmlAttributes& found) {
    Progress progress(reader);
    unsigned depth = 0;
    bool anyElement = false;
    XmlNodeType type = XmlNodeType_None;
    HRESULT hr;
    while ((hr = reader.Read(&type)) == S_OK) {
        if (!progress.moved(type)) return false;
        if (type == XmlNodeType_EndElement) {
            --depth;
            continue;
        }
        if (type != XmlNodeType_Element) continue;
        anyElement = true;
        const bool isEmpty = reader.IsEmptyElement() != FALSE;
        const OpxString name = localName(reader);
        const bool isWanted = std::find(wanted.begin(), wanted.end(), name) != wanted.end();
        if (depth == 1 && isWanted && found.count(name) == 0) found[name] = attributesOf(reader);
        if (!isEmpty) ++depth;
    }
    return hr == S_FALSE && anyElement && depth == 0;
}

constexpr std::chrono::milliseconds kLongestWait{1000};
constexpr std::chrono::milliseconds kLookAround{10};

bool quitIsRequested() {
    MSG message = {};
    return ::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_NOREMOVE) != FALSE && message.message == WM_QUIT;
}

std::filesystem::path fileNameOf(HMODULE module) {
    OpxString name(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
        if (length == 0) return {};
        if (length < name.size()) return name.substr(0, length);
        name.resize(name.size() * 2);
    }
}

}  // namespace

// The C runtime asks the system for the zone each time, which costs more than all else that is done with a value:
// once a second and thread is enough.
ZonedTime currentTime() {
    constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    const auto ticks = static_cast<std::int64_t>((std::uint64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime);
    const std::int64_t seconds = ticks / 10'000'000 - kSecondsFrom1601To1970;
    thread_local __timeb64 zone = {};
    if (zone.time != seconds) {
        ::_ftime64(&zone);
        zone.time = seconds;
    }
    return {seconds, static_cast<std::uint16_t>(ticks / 10'000 % 1000), zone.timezone, zone.dstflag};
}

std::optional<CalendarTime> localCalendarTime(std::int64_t seconds) {
    const __time64_t time = seconds;
    tm local = {};
    if (::_localtime64_s(&local, &time) != 0) return std::nullopt;
    return CalendarTime{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                        local.tm_hour,        local.tm_min,     local.tm_sec};
}

std::uint32_t currentThreadId() noexcept {
    return ::GetCurrentThreadId();
}

std::filesystem::path modulePathOf(const void* address) {
    HMODULE module = nullptr;
    constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!::GetModuleHandleExW(flags, static_cast<LPCWSTR>(address), &module)) return {};
    return fileNameOf(module);
}

std::filesystem::path programPath() {
    return fileNameOf(nullptr);
}

std::optional<OpxString> environmentVariable(const char* name) {
    const OpxString wideName = fromUtf8(name);
    OpxString value(::GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');
    if (value.empty()) return std::nullopt;
    value.resize(::GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size())));
    return value;
}

void setEnvironmentVariable(const char* name, const std::string& value) {
    ::SetEnvironmentVariableW(fromUtf8(name).c_str(), fromUtf8(value).c_str());
}

void* holdMultiThreadedApartment() {
    static const auto increment = oleFunction<HRESULT(STDAPICALLTYPE*)(void**)>("CoIncrementMTAUsage");
    void* hold = nullptr;
    return increment && SUCCEEDED(increment(&hold)) ? hold : nullptr;
}

void releaseMultiThreadedApartment(void* hold) {
    static const auto decrement = oleFunction<HRESULT(STDAPICALLTYPE*)(void*)>("CoDecrementMTAUsage");
    if (hold && decrement) decrement(hold);
}

void pumpMessages() {
    MSG message = {};
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            // It is for the application's own message loop.
            ::PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
}

struct WakeEvent::State {
    HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

WakeEvent::WakeEvent() : state_(std::make_unique<State>()) {}

WakeEvent::~WakeEvent() {
    if (state_->event) ::CloseHandle(state_->event);
}

void WakeEvent::set() noexcept {
    if (state_->event) ::SetEvent(state_->event);
}

void WakeEvent::waitForItOrMessages(std::chrono::microseconds limit) {
    // A request to quit stays in the queue and would end every wait at once; and a system that is out of
    // handles still looks around now and then.
    const bool canBeWoken = state_->event && !quitIsRequested();
    const auto wanted = std::chrono::ceil<std::chrono::milliseconds>(limit);
    const auto milliseconds = static_cast<DWORD>(std::min(wanted, canBeWoken ? kLongestWait : kLookAround).count());
    const DWORD count = state_->event ? 1 : 0;
    ::MsgWaitForMultipleObjectsEx(count, &state_->event, milliseconds, canBeWoken ? QS_ALLINPUT : 0,
                                  MWMO_INPUTAVAILABLE);
}

std::optional<XmlAttributes> readXmlAttributes(const std::filesystem::path& file,
                                               const std::vector<OpxString>& elements) {
    ComPtr<IStream> stream;
    if (failed(::SHCreateStreamOnFileW(file.c_str(), STGM_READ | STGM_SHARE_DENY_WRITE, stream.put()))) {
        return std::nullopt;
    }
    ComPtr<IXmlReader> reader;
    if (failed(createXmlReader(reader)) || failed(reader->SetInput(stream.get()))) return std::nullopt;
    XmlAttributes found;
    if (!collectElements(*reader, elements, found)) return std::nullopt;
    return found;
}

std::vector<OpxString> takeBrokenRegistrations() {
    return {};
}

OpxString takeModuleFailure() {
    return {};
}

}  // namespace Korvex::Com
