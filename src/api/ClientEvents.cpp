#include "api/ClientEvents.h"

#include <optional>

#include "api/ItemConversion.h"
#include "com/com.h"
#include "trace/InterfaceScope.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;
using OpxOpc::LibT;
using OpxOpc::OpxItemValue;

namespace {

constexpr std::int32_t kTypeMismatch = hresult(0x80020005u);

// A status that is not known leaves the state as it was.
ServerState publicState(OpxOpc::ServerStatus status, ServerState before) {
    switch (status) {
        case OpxOpc::SERVERSTATUS_CONNECTED:
            return ServerState::CONNECTED;
        case OpxOpc::SERVERSTATUS_DISCONNECTED:
            return ServerState::DISCONNECTED;
        case OpxOpc::SERVERSTATUS_SHUTDOWN:
            return ServerState::ERRORSHUTDOWN;
        case OpxOpc::SERVERSTATUS_WATCHDOG_ERROR:
            return ServerState::ERRORWATCHDOG;
    }
    return before;
}

// One changed item. The server's code counts where the change as a whole has one, else the conversion's.
ItemValueCallback changedItem(const Object& clientHandle, const OpxItemValue& native, std::int32_t hrError,
                              std::int32_t code) {
    ItemValueCallback item;
    item.ClientHandle(clientHandle);
    const std::int32_t conversion = CopyItemValue(native, item);
    if (hrError != S_OK)
        item.ResultID(ResultID(code));
    else
        item.ResultID(ResultID(conversion == S_OK ? S_OK : kTypeMismatch));
    return item;
}

// The changed items, a default one for each that has no entry; nothing at all where none has.
std::vector<ItemValueCallback> changedItems(const std::vector<std::optional<Object>>& clientHandles,
                                            const std::vector<OpxItemValue>& vVQT, std::int32_t hrError,
                                            const std::vector<std::int32_t>& vErrors, std::uint32_t count) {
    std::vector<ItemValueCallback> items(count);
    bool anyKnown = false;
    for (std::size_t i = 0; i < count; ++i) {
        const std::optional<Object>& clientHandle = clientHandles.at(i);
        if (!clientHandle) continue;
        anyKnown = true;
        items[i] = changedItem(*clientHandle, vVQT.at(i), hrError, CodeOf(vErrors, i));
    }
    if (!anyKnown) items.clear();
    return items;
}

}  // namespace

std::shared_ptr<CallbackWrapper> ClientEvents::makeCallback(const std::shared_ptr<ClientEvents>& events) {
    auto callback = std::make_shared<CallbackWrapper>();
    callback->ConnectStateChange([events](const auto&... args) { events->OnServerStateChanged(args...); });
    callback->ConnectDataChange([events](const auto&... args) { events->OnDataChanged(args...); });
    callback->ConnectReadComplete([events](const auto&... args) { events->OnReadCompleted(args...); });
    callback->ConnectWriteComplete([events](const auto&... args) { events->OnWriteCompleted(args...); });
    return callback;
}

void ClientEvents::forgetHandles() {
    subscriptions.clear();
    reads.clear();
    writes.clear();
}

void ClientEvents::clear() {
    m_DataChanged.clear();
    m_ServerStateChanged.clear();
    m_ReadCompleted.clear();
    m_WriteCompleted.clear();
    forgetHandles();
}

void ClientEvents::OnServerStateChanged(std::uint32_t clientHandle, OpxOpc::ServerStatus status) {
    const InterfaceScope trace("MCPP::DaServerMgt::ServerStateChanged");
    const ServerState state = publicState(status, m_ServerState);
    m_ServerState = state;
    if (!m_ServerStateChanged.empty()) {
        LibT::lIfCall("CALL MCPP::DaServerMgt::m_ServerStateChanged->Invoke");
        m_ServerStateChanged.invoke("ServerStateChanged", static_cast<std::int32_t>(clientHandle), state);
        LibT::lIfCall("DONE MCPP::DaServerMgt::m_ServerStateChanged->Invoke");
    }
    trace.leave();
}

void ClientEvents::OnDataChanged(std::uint32_t hClientGroup, std::int32_t hrMasterquality, std::int32_t hrError,
                                 std::uint32_t dwItemCount, const std::vector<std::uint32_t>& vClientHandles,
                                 const std::vector<OpxItemValue>& vVQT, const std::vector<std::int32_t>& vErrors) {
    const InterfaceScope trace("MCPP::DaServerMgt::DataChanged");
    if (m_DataChanged.empty()) return trace.leave();
    const SubscriptionHandles::Addressee addressee = subscriptions.find(hClientGroup, vClientHandles);
    if (hrError < 0) return trace.leave();

    const std::vector<ItemValueCallback> itemValues =
        changedItems(addressee.itemHandles, vVQT, hrError, vErrors, dwItemCount);
    if (!itemValues.empty()) {
        LibT::lIfCall("CALL MCPP::DaServerMgt::m_DataChanged->Invoke");
        m_DataChanged.invoke("DataChanged", static_cast<std::int32_t>(addressee.clientSubscription),
                             hrMasterquality != 1, hrError != 1, itemValues);
        LibT::lIfCall("DONE MCPP::DaServerMgt::m_DataChanged->Invoke");
    }
    trace.leave();
}

}  // namespace Korvex::OPC::OpcDaClient
