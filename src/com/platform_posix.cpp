#include "com/Mutex.h"
#include "com/platform.h"
#include "com/portable/ServerRegistry.h"
#include "com/portable/environment.h"

#include <dlfcn.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include <pugixml.hpp>

namespace Korvex::Com {
namespace {

struct LocalZone {
    std::int16_t minutesWest;     // without the daylight shift
    std::int16_t daylightSaving;  // 1 when the shift is in force
};

// Some zones have a winter time that the C library calls daylight saving: there the shift goes the
// other way and counts as none.
LocalZone zoneOf(const tm& local) {
    static const long standardEast = (::tzset(), -::timezone);
    const bool shifted = local.tm_isdst > 0 && local.tm_gmtoff > standardEast;
    const long west = -local.tm_gmtoff / 60 + (shifted ? 60 : 0);
    return {static_cast<std::int16_t>(west), static_cast<std::int16_t>(shifted ? 1 : 0)};
}

// Asking the zone's rules takes a lock of the C library, so each thread asks once a second at most.
LocalZone zoneAt(time_t seconds) {
    thread_local time_t askedFor = -1;
    thread_local LocalZone answer = {};
    if (seconds == askedFor) return answer;
    tm local = {};
    answer = ::localtime_r(&seconds, &local) ? zoneOf(local) : LocalZone{};
    askedFor = seconds;
    return answer;
}

}  // namespace

ZonedTime currentTime() {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const std::int64_t seconds = now / 1000;
    const LocalZone zone = zoneAt(seconds);
    return {seconds, static_cast<std::uint16_t>(now % 1000), zone.minutesWest, zone.daylightSaving};
}

std::optional<CalendarTime> localCalendarTime(std::int64_t seconds) {
    const time_t time = seconds;
    tm local = {};
    if (!::localtime_r(&time, &local)) return std::nullopt;
    return CalendarTime{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                        local.tm_hour,        local.tm_min,     local.tm_sec};
}

std::uint32_t currentThreadId() noexcept {
    thread_local const auto id = static_cast<std::uint32_t>(::gettid());
    return id;
}

std::filesystem::path modulePathOf(const void* address) {
    Dl_info info = {};
    if (!::dladdr(address, &info) || !info.dli_fname) return {};
    // The loader knows the program itself by the name it was started with.
    const std::filesystem::path file = info.dli_fname;
    return file.is_absolute() ? file.lexically_normal() : programPath();
}

std::filesystem::path programPath() {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored);
}

std::optional<OpxString> environmentVariable(const char* name) {
    const auto value = trustedVariable(name);
    return value ? std::optional(fromUtf8(*value)) : std::nullopt;
}

void setEnvironmentVariable(const char* name, const std::string& value) {
    ::setenv(name, value.c_str(), 1);
}

void* holdMultiThreadedApartment() {
    CO_MTA_USAGE_COOKIE hold = nullptr;
    CoIncrementMTAUsage(&hold);
    return hold;
}

void releaseMultiThreadedApartment(void* hold) {
    if (hold) CoDecrementMTAUsage(hold);
}

void pumpMessages() {}

struct WakeEvent::State {
    Mutex lock;
    Condition changed;
    bool isSet GUARDED_BY(lock) = false;
};

WakeEvent::WakeEvent() : state_(std::make_unique<State>()) {}

WakeEvent::~WakeEvent() = default;

void WakeEvent::set() noexcept {
    const ScopedLock guard(state_->lock);
    state_->isSet = true;
    state_->changed.notifyOne();
}

void WakeEvent::waitForItOrMessages(std::chrono::microseconds limit) {
    const ScopedLock guard(state_->lock);
    constexpr std::chrono::microseconds longest = std::chrono::hours(1);
    const auto end = std::chrono::steady_clock::now() + std::min(limit, longest);
    while (!state_->isSet && state_->changed.waitUntil(state_->lock, end)) {
    }
    state_->isSet = false;
}

std::optional<XmlAttributes> readXmlAttributes(const std::filesystem::path& file,
                                               const std::vector<OpxString>& elements) {
    pugi::xml_document document;
    if (!document.load_file(file.c_str())) return std::nullopt;
    XmlAttributes found;
    for (const OpxString& name : elements) {
        const pugi::xml_node element = document.document_element().child(toUtf8(name).c_str());
        if (!element) continue;
        auto& attributes = found[name];
        for (const pugi::xml_attribute& attribute : element.attributes()) {
            attributes[fromUtf8(attribute.name())] = fromUtf8(attribute.value());
        }
    }
    return found;
}

std::vector<OpxString> takeBrokenRegistrations() {
    return takeBrokenFiles();
}

OpxString takeModuleFailure() {
    return takeLoadFailure();
}

}  // namespace Korvex::Com
