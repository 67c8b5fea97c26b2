// Item properties on their way from servers into the library's own records.
#pragma once

#include <vector>

#include <korvex/native/OpxItemProperties.h>

#include "com/com.h"
#include "com/opc_interfaces.h"
#include "opc/browse/BrowseRequest.h"

namespace OpxOpc {

// Takes the value of a property that did not fail; its result code tells when there is none that the
// library could hold.
void takePropertyValue(const VARIANT& value, OpxItemProperty& property);

// The properties of one item of a data access 3.0 answer. S_FALSE when a code in it is negative.
HRESULT takeItemProperties(const OPCITEMPROPERTIES& answered, const PropertyRequest& request,
                           std::vector<OpxItemProperty>& properties);

}  // namespace OpxOpc
