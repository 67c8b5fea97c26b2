// The completions of asynchronous calls as events.
#include <optional>

#include <korvex/opc_da_client/Exceptions.h>

#include "api/ClientEvents.h"
#include "api/ItemConversion.h"
#include "com/com.h"
#include "trace/InterfaceScope.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;
using OpxOpc::LibT;
using OpxOpc::OpxItemValue;

namespace {

// The handle of an item of the call; one that the call did not name ends the completion.
Object handleOf(const std::optional<ItemHandles>& handles, const std::vector<std::uint32_t>& keys, std::size_t i) {
    if (!handles) return {};
    const auto found = handles->find(keys.at(i));
    if (found == handles->end()) throw KeyNotFoundException();
    return found->second;
}

// A value that does not convert raises `hrError` for its own and all later items, which then take their
// codes from the server's list.
std::vector<ItemValueCallback> readItems(const std::optional<ItemHandles>& handles,
                                         const std::vector<std::uint32_t>& keys,
                                         const std::vector<OpxItemValue>& values,
                                         const std::vector<std::int32_t>& errors, std::uint32_t count,
                                         std::int32_t& hrError) {
    std::vector<ItemValueCallback> items(count);
    for (std::size_t i = 0; i < values.size(); ++i) {
        ItemValueCallback& item = items.at(i);
        item.ClientHandle(handleOf(handles, keys, i));
        if (CopyItemValue(values[i], item) != S_OK) hrError = S_FALSE;
        item.ResultID(ResultID(hrError != S_OK ? CodeOf(errors, i) : S_OK));
    }
    return items;
}

std::vector<ItemResultCallback> writtenItems(const std::optional<ItemHandles>& handles,
                                             const std::vector<std::uint32_t>& keys,
                                             const std::vector<std::int32_t>& errors, std::uint32_t count,
                                             std::int32_t hrError) {
    std::vector<ItemResultCallback> items(count);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        ItemResultCallback& item = items.at(i);
        item.ClientHandle(handleOf(handles, keys, i));
        item.ResultID(ResultID(hrError != S_OK ? CodeOf(errors, i) : S_OK));
    }
    return items;
}

}  // namespace

void ClientEvents::OnReadCompleted(std::uint32_t hTransaction, std::int32_t hrMasterquality, std::int32_t hrError,
                                   std::uint32_t dwItemCount, const std::vector<std::uint32_t>& vClientHandles,
                                   const std::vector<OpxItemValue>& vVQT, const std::vector<std::int32_t>& vErrors) {
    const InterfaceScope trace("MCPP::DaServerMgt::ReadComplete");
    if (m_ReadCompleted.empty()) {
        LibT::lDetail("Read %d is complete and there is no handler to tell", hTransaction);
        return trace.leave();
    }
    const std::int32_t transaction = reads.takeTransaction(hTransaction);
    NullableArray<ItemValueCallback> itemValues;
    if (hrError >= 0)
        itemValues = readItems(reads.takeItems(hTransaction), vClientHandles, vVQT, vErrors, dwItemCount, hrError);

    LibT::lIfCall("CALL MCPP::DaServerMgt::m_ReadCompleted->Invoke");
    m_ReadCompleted.invoke("ReadCompleted", transaction, hrMasterquality != 1, hrError != 1, itemValues);
    LibT::lIfCall("CALL MCPP::DaServerMgt::m_ReadCompleted->Invoke");  // the second line of a read says so too
    m_HandleManager.RemoveReadAsyncHandle(hTransaction);
    trace.leave();
}

void ClientEvents::OnWriteCompleted(std::uint32_t hTransaction, std::int32_t hrError, std::uint32_t dwItemCount,
                                    const std::vector<std::uint32_t>& vClientHandles,
                                    const std::vector<std::int32_t>& vErrors) {
    const InterfaceScope trace("MCPP::DaServerMgt::WriteComplete");
    if (m_WriteCompleted.empty()) {
        LibT::lDetail("Write %d is complete and there is no handler to tell", hTransaction);
        return trace.leave();
    }
    const std::int32_t transaction = writes.takeTransaction(hTransaction);
    NullableArray<ItemResultCallback> itemResults;
    if (hrError >= 0)
        itemResults = writtenItems(writes.takeItems(hTransaction), vClientHandles, vErrors, dwItemCount, hrError);

    LibT::lIfCall("CALL MCPP::DaServerMgt::m_WriteCompleted->Invoke");
    m_WriteCompleted.invoke("WriteCompleted", transaction, hrError != 1, itemResults);
    LibT::lIfCall("DONE MCPP::DaServerMgt::m_WriteCompleted->Invoke");
    m_HandleManager.RemoveWriteAsyncHandle(hTransaction);
    trace.leave();
}

}  // namespace Korvex::OPC::OpcDaClient
