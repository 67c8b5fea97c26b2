// Reading and writing.
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "api/ArgumentChecks.h"
#include "api/DaServerMgtPrivate.h"
#include "api/HandleHResult.h"
#include "api/ItemConversion.h"
#include "trace/InterfaceScope.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;

namespace {

void checkMaxAge(std::int32_t maxAge) {
    if (maxAge < 0) HandleNegativeNumber("maxAge");
}

// A completion needs the server.
void checkConnected(ServerState state) {
    if (state != ServerState::CONNECTED) HandleHResult(E_FAIL);
}

// Takes over the answer of any call but a read.
ReturnCode takeAnswer(std::int32_t hr, const std::vector<OpxOpc::OpxItemIdentifier>& items,
                      const std::vector<std::int32_t>& errors, std::vector<ItemIdentifier>& identifiers) {
    HandleHResult(hr);
    const ItemResults results(hr, errors);
    CopyItemResults(items, results, identifiers);
    return results.returnCode(true);
}

}  // namespace

ReturnCode DaServerMgt::Read(std::int32_t maxAge, NullableArray<ItemIdentifier>& itemIdentifiers,
                             NullableArray<ItemValue>& itemValues) {
    const InterfaceScope trace("MCPP::DaServerMgt::Read");
    CheckArray(itemIdentifiers, "itemIdentifiers");
    checkMaxAge(maxAge);

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

ReturnCode DaServerMgt::Write(NullableArray<ItemIdentifier>& itemIdentifiers,
                              const NullableArray<ItemValue>& itemValues) {
    const InterfaceScope trace("MCPP::DaServerMgt::Write");
    CheckArray(itemIdentifiers, "itemIdentifiers");

    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    std::vector<OpxOpc::OpxItemIdentifier> items = CreateItemIdentifierVector(identifiers);
    const std::vector<OpxOpc::OpxItemValue> values = CreateItemValueVector(itemValues);
    std::vector<std::int32_t> errors;
    const std::int32_t hr = d_->native()->m_OpxDaClient.write(items, values, errors);
    const ReturnCode result = takeAnswer(hr, items, errors, identifiers);
    trace.leave(hr);
    return result;
}

ReturnCode DaServerMgt::ReadAsync(std::int32_t transactionHandle, std::int32_t maxAge,
                                  NullableArray<ItemIdentifier>& itemIdentifiers) {
    const InterfaceScope trace("MCPP::DaServerMgt::ReadAsync");
    CheckArray(itemIdentifiers, "itemIdentifiers");
    checkMaxAge(maxAge);
    checkConnected(ServerState());

    const auto native = d_->native();
    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    std::vector<OpxOpc::OpxItemIdentifier> items = CreateItemIdentifierVector(identifiers);
    std::vector<std::int32_t> errors;
    // Known before the call, which the completion may overtake. A call that fails leaves its handle taken.
    const std::uint32_t handle = d_->events->m_HandleManager.GetReadAsyncHandle();
    d_->events->reads.add(handle, transactionHandle, CreateItemHandles(identifiers));
    const std::int32_t hr = native->m_OpxDaClient.readAsync(handle, static_cast<std::uint32_t>(maxAge), items, errors);
    const ReturnCode result = takeAnswer(hr, items, errors, identifiers);
    trace.leave(hr);
    return result;
}

ReturnCode DaServerMgt::WriteAsync(std::int32_t transactionHandle, NullableArray<ItemIdentifier>& itemIdentifiers,
                                   const NullableArray<ItemValue>& itemValues) {
    const InterfaceScope trace("MCPP::DaServerMgt::WriteAsync");
    CheckArray(itemIdentifiers, "itemIdentifiers");
    CheckArray(itemValues, "itemValues");
    if (itemIdentifiers.size() != itemValues.size()) HandleDifferentLengths("itemIdentifiers", "itemValues");
    checkConnected(ServerState());

    const auto native = d_->native();
    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    std::vector<OpxOpc::OpxItemIdentifier> items = CreateItemIdentifierVector(identifiers);
    const std::vector<OpxOpc::OpxItemValue> values = CreateItemValueVector(itemValues);
    std::vector<std::int32_t> errors;
    const std::uint32_t handle = d_->events->m_HandleManager.GetWriteAsyncHandle();
    d_->events->writes.add(handle, transactionHandle, CreateItemHandles(identifiers));
    const std::int32_t hr = native->m_OpxDaClient.writeAsync(handle, items, values, errors);
    const ReturnCode result = takeAnswer(hr, items, errors, identifiers);
    trace.leave(hr);
    return result;
}

}  // namespace Korvex::OPC::OpcDaClient
