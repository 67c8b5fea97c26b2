// The properties of items from native records.
#pragma once

#include <vector>

#include <korvex/native/OpxItemProperties.h>
#include <korvex/opc_da_client/ItemProperties.h>

namespace Korvex::OPC::OpcDaClient {

// With values, or without them. A value that has no form here is null, which the property's ResultID
// tells: DISP_E_TYPEMISMATCH, or E_FAIL where it is the object API that has none.
ItemProperties CopyItemProperties(const std::vector<OpxOpc::OpxItemProperty>& native, bool withValues);

}  // namespace Korvex::OPC::OpcDaClient
