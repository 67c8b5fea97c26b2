// Item properties as data access 2.0 has them: item by item, in up to three calls.
#pragma once

#include <vector>

#include "com/opc_interfaces.h"
#include "opc/browse/BrowseRequest.h"

namespace OpxOpc {

// Asks for the properties of one item. An item that the server refuses is S_FALSE, with its code in the
// result; so is one of which a property failed. A failure means that the server could not be asked.
HRESULT queryItemProperties(IOPCItemProperties& server, const OpxString& itemName, const PropertyRequest& request,
                            OpxItemProperties& result);

// Whether the server knows properties of the item: S_OK, or why it does not.
HRESULT hasItemProperties(IOPCItemProperties& server, const OpxString& itemName);

}  // namespace OpxOpc
