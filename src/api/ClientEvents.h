// The side of a connection that the engine calls: it turns native callbacks into the application's events.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include <korvex/native/OpxDataCallback.h>
#include <korvex/opc_da_client/DaServerMgt.h>

#include "api/CallbackWrapper.h"
#include "api/HandleManager.h"
#include "api/HandlerList.h"
#include "api/SubscriptionHandles.h"
#include "api/TransactionHandles.h"

namespace Korvex::OPC::OpcDaClient {

// Shared by the DaServerMgt and the callback that the engine holds, so that a callback which is still
// running while the application destroys its DaServerMgt has everything it touches. No lock is held
// while a handler runs.
class ClientEvents {
public:
    // A callback for the engine that raises the events of `events`.
    static std::shared_ptr<CallbackWrapper> makeCallback(const std::shared_ptr<ClientEvents>& events);

    // Forgets the handles of an earlier connection; those that it has taken are not issued again.
    void forgetHandles();

    // Drops handlers and handles: a callback that comes later raises no event.
    void clear();

    HandlerList<DaServerMgt::ServerStateChangedEventHandler> m_ServerStateChanged;
    HandlerList<DaServerMgt::DataChangedEventHandler> m_DataChanged;
    HandlerList<DaServerMgt::ReadCompletedEventHandler> m_ReadCompleted;
    HandlerList<DaServerMgt::WriteCompletedEventHandler> m_WriteCompleted;
    std::atomic<ServerState> m_ServerState{ServerState::DISCONNECTED};
    SubscriptionHandles subscriptions;
    TransactionHandles reads;
    TransactionHandles writes;
    HandleManager m_HandleManager;

private:
    void OnServerStateChanged(std::uint32_t clientHandle, OpxOpc::ServerStatus status);
    void OnDataChanged(std::uint32_t hClientGroup, std::int32_t hrMasterquality, std::int32_t hrError,
                       std::uint32_t dwItemCount, const std::vector<std::uint32_t>& vClientHandles,
                       const std::vector<OpxOpc::OpxItemValue>& vVQT, const std::vector<std::int32_t>& vErrors);
    void OnReadCompleted(std::uint32_t hTransaction, std::int32_t hrMasterquality, std::int32_t hrError,
                         std::uint32_t dwItemCount, const std::vector<std::uint32_t>& vClientHandles,
                         const std::vector<OpxOpc::OpxItemValue>& vVQT, const std::vector<std::int32_t>& vErrors);
    void OnWriteCompleted(std::uint32_t hTransaction, std::int32_t hrError, std::uint32_t dwItemCount,
                          const std::vector<std::uint32_t>& vClientHandles, const std::vector<std::int32_t>& vErrors);
};

}  // namespace Korvex::OPC::OpcDaClient
