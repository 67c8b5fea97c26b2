// IOPCServer of a server object.
#pragma once

#include "sim/server/ServerFacet.h"

namespace Korvex::Simulation {

class OpcServerFacet final : public ServerFacet<IOPCServer> {
public:
    using ServerFacet::ServerFacet;

    HRESULT STDMETHODCALLTYPE AddGroup(LPCWSTR name, BOOL active, DWORD requestedRate, OPCHANDLE clientHandle,
                                       LONG* timeBias, FLOAT* deadband, DWORD locale, OPCHANDLE* serverHandle,
                                       DWORD* revisedUpdateRate, REFIID riid, LPUNKNOWN* group) override;
    HRESULT STDMETHODCALLTYPE GetErrorString(HRESULT error, LCID locale, LPWSTR* text) override;
    HRESULT STDMETHODCALLTYPE GetGroupByName(LPCWSTR name, REFIID riid, LPUNKNOWN* group) override;
    HRESULT STDMETHODCALLTYPE GetStatus(OPCSERVERSTATUS** status) override;
    HRESULT STDMETHODCALLTYPE RemoveGroup(OPCHANDLE serverHandle, BOOL force) override;
    HRESULT STDMETHODCALLTYPE CreateGroupEnumerator(OPCENUMSCOPE scope, REFIID riid, LPUNKNOWN* enumerator) override;
};

}  // namespace Korvex::Simulation
