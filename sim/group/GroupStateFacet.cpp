#include "sim/group/GroupStateFacet.h"

#include "sim/Simulation.h"
#include "sim/group/GroupObject.h"
#include "sim/server/Server.h"

namespace Korvex::Simulation {
HRESULT GroupStateFacet::GetState(DWORD* updateRate, BOOL* active, LPWSTR* name, LONG* timeBias, FLOAT* deadband,
                                  DWORD* locale, OPCHANDLE* clientHandle, OPCHANDLE* serverHandle) {
    return serveGroup("IOPCGroupStateMgt::GetState", note(),
                      outputs(out(updateRate), out(active), out(name), out(timeBias), out(deadband), out(locale),
                              out(clientHandle), out(serverHandle)),
                      [&]() -> HRESULT {
                          const GroupSettings settings = group().settings();
                          *name = giveText(settings.name);
                          *updateRate = settings.updateRate;
                          *active = settings.active ? TRUE : FALSE;
                          *timeBias = settings.timeBias;
                          *deadband = settings.deadband;
                          *locale = settings.locale;
                          *clientHandle = settings.clientHandle;
                          *serverHandle = group().handle();
                          return S_OK;
                      });
}

HRESULT GroupStateFacet::SetState(DWORD* requestedRate, DWORD* revisedUpdateRate, BOOL* active, LONG* timeBias,
                                  FLOAT* deadband, DWORD* locale, OPCHANDLE* clientHandle) {
    return serveGroup("IOPCGroupStateMgt::SetState",
                      note("rate", requestedRate, "active", active, "deadband", deadband),
                      outputs(out(revisedUpdateRate)), [&]() -> HRESULT {
                          if (deadband && !isDeadband(*deadband)) return E_INVALIDARG;
                          const bool activated = active && *active && !group().settings().active;
                          const auto change = [&] {
                              group().changeSettings([&](GroupSettings& settings) {
                                  if (requestedRate) settings.updateRate = revisedRate(*requestedRate);
                                  if (active) settings.active = *active != FALSE;
                                  if (timeBias) settings.timeBias = *timeBias;
                                  if (deadband) settings.deadband = *deadband;
                                  if (locale) settings.locale = *locale;
                                  if (clientHandle) settings.clientHandle = *clientHandle;
                                  *revisedUpdateRate = settings.updateRate;
                              });
                          };
                          if (activated)
                              group().publisher().start(change, simulation().options.get().deliversInside);
                          else
                              change();
                          return requestedRate && *requestedRate != *revisedUpdateRate ? OPC_S_UNSUPPORTEDRATE : S_OK;
                      });
}

HRESULT GroupStateFacet::SetName(LPCWSTR name) {
    return serveGroup("IOPCGroupStateMgt::SetName", note("name", name), outputs(), [&]() -> HRESULT {
        if (viewOf(name).empty()) return E_INVALIDARG;
        const auto server = group().server();
        return server ? server->renameGroup(group(), name) : E_FAIL;
    });
}

HRESULT GroupStateFacet::CloneGroup(LPCWSTR name, REFIID riid, LPUNKNOWN* clone) {
    return serveGroup("IOPCGroupStateMgt::CloneGroup", note("name", name), outputs(out(clone)), [&]() -> HRESULT {
        const auto server = group().server();
        if (!server) return E_FAIL;
        GroupSettings settings = group().settings();
        settings.name = viewOf(name);
        settings.active = false;
        Com::ComPtr<IUnknown> object;
        const auto fill = [&](Group& made) {
            for (const auto& [handle, item] : group().items()) made.addItem(item);
        };
        const HRESULT result = server->addGroup(std::move(settings), riid, object, fill);
        *clone = object.detach();
        return result;
    });
}

HRESULT GroupStateFacet::SetKeepAlive(DWORD time, DWORD* revisedTime) {
    return serveGroup("IOPCGroupStateMgt2::SetKeepAlive", note("time", time), outputs(out(revisedTime)),
                      [&]() -> HRESULT {
                          *revisedTime = time == 0 ? 0 : revisedRate(time);
                          group().changeSettings([&](GroupSettings& settings) { settings.keepAlive = *revisedTime; });
                          return *revisedTime == time ? S_OK : OPC_S_UNSUPPORTEDRATE;
                      });
}

HRESULT GroupStateFacet::GetKeepAlive(DWORD* time) {
    return serveGroup("IOPCGroupStateMgt2::GetKeepAlive", note(), outputs(out(time)), [&]() -> HRESULT {
        *time = group().settings().keepAlive;
        return S_OK;
    });
}

}  // namespace Korvex::Simulation
