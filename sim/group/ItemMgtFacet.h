// IOPCItemMgt of a group.
#pragma once

#include "sim/group/GroupFacet.h"

namespace Korvex::Simulation {

class ItemMgtFacet final : public GroupFacet<IOPCItemMgt> {
public:
    using GroupFacet::GroupFacet;

    HRESULT STDMETHODCALLTYPE AddItems(DWORD count, OPCITEMDEF* definitions, OPCITEMRESULT** results,
                                       HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE ValidateItems(DWORD count, OPCITEMDEF* definitions, BOOL blobUpdate,
                                            OPCITEMRESULT** results, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE RemoveItems(DWORD count, OPCHANDLE* handles, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE SetActiveState(DWORD count, OPCHANDLE* handles, BOOL active, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE SetClientHandles(DWORD count, OPCHANDLE* handles, OPCHANDLE* clientHandles,
                                               HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE SetDatatypes(DWORD count, OPCHANDLE* handles, VARTYPE* types, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE CreateEnumerator(REFIID riid, LPUNKNOWN* enumerator) override;
};

}  // namespace Korvex::Simulation
