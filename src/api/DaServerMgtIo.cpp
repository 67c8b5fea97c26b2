// Reading.
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "api/ArgumentChecks.h"
#include "api/DaServerMgtPrivate.h"
#include "api/HandleHResult.h"
#include "api/ItemConversion.h"
#include "trace/InterfaceScope.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;

ReturnCode DaServerMgt::Read(std::int32_t maxAge, NullableArray<ItemIdentifier>& itemIdentifiers,
                             NullableArray<ItemValue>& itemValues) {
    const InterfaceScope trace("MCPP::DaServerMgt::Read");
    CheckArray(itemIdentifiers, "itemIdentifiers");
    if (maxAge < 0) HandleNegativeNumber("maxAge");

    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    std::vector<OpxOpc::OpxItemIdentifier> items = CreateItemIdentifierVector(identifiers);
    std::vector<OpxOpc::OpxItemValue> values;
    std::vector<std::int32_t> errors;
    const std::int32_t hr = d_->native()->m_OpxDaClient.read(static_cast<std::uint32_t>(maxAge), items, values, errors);
    HandleHResult(hr);

    const ItemResults results(hr, errors);
    CopyItemResults(items, results, identifiers);
    bool allGood = true;
    itemValues = ReadItemValues(values, results, identifiers, allGood);
    trace.leave(hr);
    return results.returnCode(allGood);
}

}  // namespace Korvex::OPC::OpcDaClient
