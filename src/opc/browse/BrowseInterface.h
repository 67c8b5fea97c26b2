// Browsing and item properties as data access 3.0 has them: one interface, one call each.
#pragma once

#include <vector>

#include <korvex/native/OpxItemIdentifier.h>

#include "com/opc_interfaces.h"
#include "opc/browse/BrowseRequest.h"

namespace OpxOpc {

// The outputs are empty to begin with, and stay so on failure. S_FALSE when a code in the answer is
// negative. The server alone knows what a continuation point means; it stays as it is on failure.
HRESULT browseWith(IOPCBrowse& server, const BrowseRequest& request, OpxString& continuationPoint,
                   std::vector<OpxBrowseElement>& elements, bool& moreElements);

HRESULT getPropertiesWith(IOPCBrowse& server, const std::vector<OpxItemIdentifier>& items,
                          const PropertyRequest& request, std::vector<OpxItemProperties>& results);

}  // namespace OpxOpc
