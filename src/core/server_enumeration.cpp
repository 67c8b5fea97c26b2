#include "core/server_enumeration.h"

#include <span>

#include "com/owners.h"
#include "core/ServerList.h"
#include "opc/broken_registrations.h"
#include "trace/TraceScope.h"

namespace OpxOpc {
namespace {

using Korvex::Com::ComPtr;
using Korvex::Com::TaskString;

constexpr CATID kDataAccess[] = {CATID_OPCDAServer10, CATID_OPCDAServer20, CATID_OPCDAServer30};
constexpr CATID kDataExchange[] = {{0xA0C85BB8, 0x4161, 0x4FD6, {0x86, 0x55, 0xBB, 0x58, 0x46, 0x01, 0xC9, 0xE0}}};
constexpr CATID kAlarmsAndEvents[] = {{0x58E13251, 0xAC87, 0x11D1, {0x84, 0xD5, 0x00, 0x60, 0x8C, 0xB8, 0xA7, 0xE9}}};
constexpr CATID kHistoricalDataAccess[] = {
    {0x7DE5B060, 0xE089, 0x11D2, {0xA5, 0xE6, 0x00, 0x00, 0x86, 0x33, 0x93, 0x99}}};

// Empty for a category that is none of COM's.
std::span<const CATID> componentCategories(ServerCategory category) {
    switch (category) {
        case ServerCategory::OPCDA:
            return kDataAccess;
        case ServerCategory::OPCDX:
            return kDataExchange;
        case ServerCategory::OPCAE:
            return kAlarmsAndEvents;
        case ServerCategory::OPCHDA:
            return kHistoricalDataAccess;
        case ServerCategory::OPCXMLDA:
            break;
    }
    return {};
}

bool isKnown(ServerCategory category) {
    return category >= ServerCategory::OPCDA && category <= ServerCategory::OPCXMLDA;
}

// The two interfaces of a list differ in what they enumerate with, and in how much they tell.
template <typename List>
struct EnumeratorOf;
template <>
struct EnumeratorOf<IOPCServerList2> {
    using Type = IOPCEnumGUID;
};
template <>
struct EnumeratorOf<IOPCServerList> {
    using Type = IEnumGUID;
};

HRESULT progIdOf(IOPCServerList2& list, const CLSID& clsid, OpxString& progId) {
    LPOLESTR name = nullptr;
    LPOLESTR type = nullptr;
    LPOLESTR versionIndependent = nullptr;
    const HRESULT hr = list.GetClassDetails(clsid, &name, &type, &versionIndependent);
    const TaskString owners[] = {TaskString(name), TaskString(type), TaskString(versionIndependent)};
    if (succeeded(hr) && name) progId = name;
    return hr;
}
HRESULT progIdOf(IOPCServerList& list, const CLSID& clsid, OpxString& progId) {
    LPOLESTR name = nullptr;
    LPOLESTR type = nullptr;
    const HRESULT hr = list.GetClassDetails(clsid, &name, &type);
    const TaskString owners[] = {TaskString(name), TaskString(type)};
    if (succeeded(hr) && name) progId = name;
    return hr;
}

// A class whose details cannot be had is left out.
template <typename List>
void append(List& list, const CLSID& clsid, const OpxString& host, ServerCategory category,
            std::vector<OpxServerIdentifier>& servers) {
    OpxString progId;
    OpxString clsidText;
    if (failed(progIdOf(list, clsid, progId)) || failed(textOfClsid(clsid, clsidText))) return;
    servers.emplace_back(host, std::move(progId), std::move(clsidText), category);
}

template <typename List, typename Enumerator>
HRESULT appendAll(List& list, Enumerator& classes, const OpxString& host, ServerCategory category,
                  std::vector<OpxServerIdentifier>& servers) {
    constexpr int kMostClasses = 100'000;
    CLSID clsid = {};
    ULONG fetched = 0;
    for (int count = 0; classes.Next(1, &clsid, &fetched) == S_OK && fetched == 1; ++count) {
        if (count == kMostClasses) {
            LibT::lError("Error: CmnClient::enumComServer - The list has more than %d classes", kMostClasses);
            return E_FAIL;
        }
        append(list, clsid, host, category, servers);
    }
    return S_OK;
}

template <typename List>
HRESULT enumCategory(List& list, const OpxString& host, ServerCategory category,
                     std::vector<OpxServerIdentifier>& servers) {
    const auto found = componentCategories(category);
    if (found.empty()) return S_OK;
    std::vector<CATID> implemented(found.begin(), found.end());
    // A list in another process refuses a null array, be it empty.
    CATID noneRequired = {};
    ComPtr<typename EnumeratorOf<List>::Type> classes;
    const HRESULT hr = tracedCall("IOPCServerList::EnumClassesOfCategories", [&] {
        return list.EnumClassesOfCategories(static_cast<ULONG>(implemented.size()), implemented.data(), 0,
                                            &noneRequired, classes.put());
    });
    if (failed(hr)) {
        LibT::lError("Error: CmnClient::enumComServer - IOPCServerList::EnumClassesOfCategories failed");
        return hr;
    }
    return classes ? appendAll(list, *classes, host, category, servers) : S_OK;
}

HRESULT enumCategories(const ServerList& list, const OpxString& host, const std::vector<ServerCategory>& categories,
                       std::vector<OpxServerIdentifier>& servers) {
    for (const ServerCategory category : categories) {
        if (!isKnown(category)) {
            LibT::lError("Error: CmnClient::enumComServer - Client passed invalid category %d",
                         static_cast<std::int32_t>(category));
            return E_INVALIDARG;
        }
        const HRESULT hr = list.with([&](auto& asked) { return enumCategory(asked, host, category, servers); });
        if (failed(hr)) return hr;
    }
    return S_OK;
}

}  // namespace

HRESULT enumServers(const OpxString& host, const std::vector<ServerCategory>& categories,
                    std::vector<OpxServerIdentifier>& servers) {
    ServerList list;
    if (const HRESULT hr = list.open(host); failed(hr)) return hr;
    const HRESULT hr = enumCategories(list, host, categories, servers);
    if (host.empty()) traceBrokenRegistrations("CmnClient::enumComServer");
    return hr;
}

}  // namespace OpxOpc
