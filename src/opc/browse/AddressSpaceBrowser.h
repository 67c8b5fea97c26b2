// Browsing a data access 2.0 server: a listing of names becomes elements, in pages and with properties.
#pragma once

#include <vector>

#include "com/opc_interfaces.h"
#include "opc/browse/BranchLister.h"
#include "opc/browse/BrowsePages.h"
#include "opc/browse/BrowseRequest.h"

namespace OpxOpc {

// Knows one server object: the ways to its branches, and the rests of pages. Any threads may browse.
class AddressSpaceBrowser {
public:
    struct Server {
        IOPCBrowseServerAddressSpace& space;
        IOPCItemProperties& properties;
        bool isFlat;
    };

    // Answers what one call of a data access 3.0 server does. The outputs are empty to begin with; on
    // failure `elements` may hold anything and the others are as they were.
    HRESULT browse(const Server& server, const BrowseRequest& request, OpxString& continuationPoint,
                   std::vector<OpxBrowseElement>& elements, bool& moreElements);

private:
    HRESULT listAll(const Server& server, const BrowseRequest& request, BrowseRest& all);

    BranchLister lister_;
    BrowsePages pages_;
};

}  // namespace OpxOpc
