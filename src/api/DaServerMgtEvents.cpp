// Adding and removing the handlers of the events.
#include <korvex/opc_da_client/DaServerMgt.h>

#include <utility>

#include "api/DaServerMgtPrivate.h"
#include "trace/InterfaceScope.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;

namespace {

template <typename Handler>
std::uint64_t add(const char* operation, HandlerList<Handler>& handlers, Handler handler) {
    const InterfaceScope trace(operation);
    const std::uint64_t token = handlers.add(std::move(handler));
    trace.leave();
    return token;
}

template <typename Handler>
void remove(const char* operation, HandlerList<Handler>& handlers, std::uint64_t token) {
    const InterfaceScope trace(operation);
    handlers.remove(token);
    trace.leave();
}

}  // namespace

std::uint64_t DaServerMgt::add_ServerStateChanged(ServerStateChangedEventHandler handler) {
    return add("MCPP::DaServerMgt::add_ServerStateChanged", d_->events->m_ServerStateChanged, std::move(handler));
}
void DaServerMgt::remove_ServerStateChanged(std::uint64_t token) {
    remove("MCPP::DaServerMgt::remove_ServerStateChanged", d_->events->m_ServerStateChanged, token);
}

std::uint64_t DaServerMgt::add_DataChanged(DataChangedEventHandler handler) {
    return add("MCPP::DaServerMgt::add_DataChanged", d_->events->m_DataChanged, std::move(handler));
}
void DaServerMgt::remove_DataChanged(std::uint64_t token) {
    remove("MCPP::DaServerMgt::remove_DataChanged", d_->events->m_DataChanged, token);
}

std::uint64_t DaServerMgt::add_ReadCompleted(ReadCompletedEventHandler handler) {
    return add("MCPP::DaServerMgt::add_ReadCompleted", d_->events->m_ReadCompleted, std::move(handler));
}
void DaServerMgt::remove_ReadCompleted(std::uint64_t token) {
    remove("MCPP::DaServerMgt::remove_ReadCompleted", d_->events->m_ReadCompleted, token);
}

std::uint64_t DaServerMgt::add_WriteCompleted(WriteCompletedEventHandler handler) {
    return add("MCPP::DaServerMgt::add_WriteCompleted", d_->events->m_WriteCompleted, std::move(handler));
}
void DaServerMgt::remove_WriteCompleted(std::uint64_t token) {
    remove("MCPP::DaServerMgt::remove_WriteCompleted", d_->events->m_WriteCompleted, token);
}

}  // namespace Korvex::OPC::OpcDaClient
