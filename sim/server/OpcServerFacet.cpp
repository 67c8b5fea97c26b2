#include "sim/server/OpcServerFacet.h"

#include <algorithm>

#include "com/platform.h"
#include "sim/FileTime.h"
#include "sim/Simulation.h"
#include "sim/com/Enumerator.h"
#include "sim/server/error_texts.h"

namespace Korvex::Simulation {
namespace {

constexpr OpxStringView kVendor = OLESTR("Korvex simulation server");
constexpr DWORD kUnknownBandwidth = 0xFFFFFFFF;

// This server has private groups only, and each belongs to a connection.
bool hasGroups(OPCENUMSCOPE scope) {
    return scope != OPC_ENUM_PUBLIC && scope != OPC_ENUM_PUBLIC_CONNECTIONS;
}

bool isScope(OPCENUMSCOPE scope) {
    return scope >= OPC_ENUM_PRIVATE_CONNECTIONS && scope <= OPC_ENUM_ALL;
}

Com::ComPtr<IUnknown> enumerateNames(const std::vector<Com::ComPtr<GroupObject>>& groups) {
    std::vector<OpxString> names;
    for (const auto& each : groups) names.push_back(each->group().settings().name);
    return makeObject<StringEnumerator>(std::move(names)).get();
}

Com::ComPtr<IUnknown> enumerateObjects(const std::vector<Com::ComPtr<GroupObject>>& groups) {
    std::vector<Com::ComPtr<IUnknown>> objects(groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i) groups[i]->giveInterface(IID_IUnknown, objects[i].putVoid());
    return makeObject<UnknownEnumerator>(std::move(objects)).get();
}

}  // namespace

HRESULT OpcServerFacet::AddGroup(LPCWSTR name, BOOL active, DWORD requestedRate, OPCHANDLE clientHandle, LONG* timeBias,
                                 FLOAT* deadband, DWORD locale, OPCHANDLE* serverHandle, DWORD* revisedUpdateRate,
                                 REFIID riid, LPUNKNOWN* group) {
    return serve("IOPCServer::AddGroup",
                 note("name", name, "active", active, "rate", requestedRate, "client", clientHandle, "deadband",
                      deadband, "locale", locale),
                 outputs(out(serverHandle), out(revisedUpdateRate), out(group)), [&]() -> HRESULT {
                     if (deadband && !isDeadband(*deadband)) return E_INVALIDARG;
                     GroupSettings settings;
                     settings.name = viewOf(name);
                     settings.active = active != FALSE;
                     settings.updateRate = revisedRate(requestedRate);
                     settings.timeBias = timeBias ? *timeBias : Com::currentTime().minutesWest;
                     settings.deadband = deadband ? *deadband : 0;
                     settings.locale = locale;
                     settings.clientHandle = clientHandle;
                     Com::ComPtr<IUnknown> object;
                     const HRESULT result = server().addGroup(std::move(settings), riid, object, [&](Group& made) {
                         *serverHandle = made.handle();
                         *revisedUpdateRate = made.settings().updateRate;
                     });
                     if (failed(result)) return result;
                     *group = object.detach();
                     return *revisedUpdateRate == requestedRate ? S_OK : OPC_S_UNSUPPORTEDRATE;
                 });
}

HRESULT OpcServerFacet::GetErrorString(HRESULT error, LCID locale, LPWSTR* text) {
    return serve("IOPCServer::GetErrorString", note("error", error, "locale", locale), outputs(out(text)),
                 [&] { return giveErrorText(error, locale, text); });
}

HRESULT OpcServerFacet::GetGroupByName(LPCWSTR name, REFIID riid, LPUNKNOWN* group) {
    return serve("IOPCServer::GetGroupByName", note("name", name), outputs(out(group)), [&]() -> HRESULT {
        const auto found = server().groupByName(viewOf(name));
        return found ? found->giveInterface(riid, reinterpret_cast<void**>(group)) : E_INVALIDARG;
    });
}

HRESULT OpcServerFacet::GetStatus(OPCSERVERSTATUS** status) {
    return serve("IOPCServer::GetStatus", note(), outputs(out(status)), [&]() -> HRESULT {
        Results<OPCSERVERSTATUS> result(1);
        result[0].ftStartTime = server().startTime();
        result[0].ftCurrentTime = now();
        result[0].ftLastUpdateTime = server().lastUpdate();
        result[0].dwServerState = simulation().options.get().state;
        result[0].dwGroupCount = static_cast<DWORD>(server().groups().size());
        result[0].dwBandWidth = kUnknownBandwidth;
        result[0].wMajorVersion = 1;
        result[0].szVendorInfo = giveText(kVendor);
        result.give(status);
        return S_OK;
    });
}

HRESULT OpcServerFacet::RemoveGroup(OPCHANDLE serverHandle, BOOL force) {
    return serve("IOPCServer::RemoveGroup", note("handle", serverHandle, "force", force), outputs(),
                 [&] { return server().removeGroup(serverHandle, force != FALSE); });
}

HRESULT OpcServerFacet::CreateGroupEnumerator(OPCENUMSCOPE scope, REFIID riid, LPUNKNOWN* enumerator) {
    return serve("IOPCServer::CreateGroupEnumerator", note("scope", scope), outputs(out(enumerator)), [&]() -> HRESULT {
        if (!isScope(scope)) return E_INVALIDARG;
        const auto groups = hasGroups(scope) ? server().groups() : std::vector<Com::ComPtr<GroupObject>>();
        const auto made = riid == IID_IEnumString ? enumerateNames(groups) : enumerateObjects(groups);
        const HRESULT result = made->QueryInterface(riid, reinterpret_cast<void**>(enumerator));
        return succeeded(result) && groups.empty() ? S_FALSE : result;
    });
}

}  // namespace Korvex::Simulation
