// IOPCItemProperties of a server object.
#pragma once

#include "sim/server/ServerFacet.h"

namespace Korvex::Simulation {

class ItemPropertiesFacet final : public ServerFacet<IOPCItemProperties> {
public:
    using ServerFacet::ServerFacet;

    HRESULT STDMETHODCALLTYPE QueryAvailableProperties(LPWSTR itemId, DWORD* count, DWORD** ids, LPWSTR** descriptions,
                                                       VARTYPE** types) override;
    HRESULT STDMETHODCALLTYPE GetItemProperties(LPWSTR itemId, DWORD count, DWORD* ids, VARIANT** values,
                                                HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE LookupItemIDs(LPWSTR itemId, DWORD count, DWORD* ids, LPWSTR** itemIds,
                                            HRESULT** errors) override;
};

}  // namespace Korvex::Simulation
