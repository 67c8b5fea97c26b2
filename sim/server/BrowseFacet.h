// IOPCBrowse of a server object.
#pragma once

#include "sim/server/ServerFacet.h"

namespace Korvex::Simulation {

class BrowseFacet final : public ServerFacet<IOPCBrowse> {
public:
    using ServerFacet::ServerFacet;

    HRESULT STDMETHODCALLTYPE GetProperties(DWORD itemCount, LPWSTR* itemIds, BOOL withValues, DWORD propertyCount,
                                            DWORD* propertyIds, OPCITEMPROPERTIES** properties) override;
    HRESULT STDMETHODCALLTYPE Browse(LPWSTR itemId, LPWSTR* continuationPoint, DWORD maximum, OPCBROWSEFILTER filter,
                                     LPWSTR namePattern, LPWSTR vendorFilter, BOOL allProperties, BOOL withValues,
                                     DWORD propertyCount, DWORD* propertyIds, BOOL* moreElements, DWORD* count,
                                     OPCBROWSEELEMENT** elements) override;
};

}  // namespace Korvex::Simulation
