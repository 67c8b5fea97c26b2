// IOPCGroupStateMgt and IOPCGroupStateMgt2 of a group.
#pragma once

#include "sim/group/GroupFacet.h"

namespace Korvex::Simulation {

class GroupStateFacet final : public GroupFacet<IOPCGroupStateMgt2> {
public:
    using GroupFacet::GroupFacet;

    HRESULT STDMETHODCALLTYPE GetState(DWORD* updateRate, BOOL* active, LPWSTR* name, LONG* timeBias, FLOAT* deadband,
                                       DWORD* locale, OPCHANDLE* clientHandle, OPCHANDLE* serverHandle) override;
    HRESULT STDMETHODCALLTYPE SetState(DWORD* requestedRate, DWORD* revisedUpdateRate, BOOL* active, LONG* timeBias,
                                       FLOAT* deadband, DWORD* locale, OPCHANDLE* clientHandle) override;
    HRESULT STDMETHODCALLTYPE SetName(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE CloneGroup(LPCWSTR name, REFIID riid, LPUNKNOWN* clone) override;
    HRESULT STDMETHODCALLTYPE SetKeepAlive(DWORD time, DWORD* revisedTime) override;
    HRESULT STDMETHODCALLTYPE GetKeepAlive(DWORD* time) override;
};

}  // namespace Korvex::Simulation
