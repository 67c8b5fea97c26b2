// IOPCBrowseServerAddressSpace of a server object.
#pragma once

#include "com/Mutex.h"
#include "sim/server/ServerFacet.h"

namespace Korvex::Simulation {

class BrowseAddressSpaceFacet final : public ServerFacet<IOPCBrowseServerAddressSpace> {
public:
    using ServerFacet::ServerFacet;

    HRESULT STDMETHODCALLTYPE QueryOrganization(OPCNAMESPACETYPE* organization) override;
    HRESULT STDMETHODCALLTYPE ChangeBrowsePosition(OPCBROWSEDIRECTION direction, LPCWSTR target) override;
    HRESULT STDMETHODCALLTYPE BrowseOPCItemIDs(OPCBROWSETYPE browseType, LPCWSTR pattern, VARTYPE dataType,
                                               DWORD accessRights, LPENUMSTRING* names) override;
    HRESULT STDMETHODCALLTYPE GetItemID(LPWSTR name, LPWSTR* itemId) override;
    HRESULT STDMETHODCALLTYPE BrowseAccessPaths(LPCWSTR itemId, LPENUMSTRING* paths) override;

private:
    OpxString position() const;
    HRESULT moveTo(OpxString path);

    mutable Mutex mutex_;
    OpxString position_ GUARDED_BY(mutex_);  // the path of a branch; empty at the root
};

}  // namespace Korvex::Simulation
