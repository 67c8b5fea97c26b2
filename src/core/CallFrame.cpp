#include "core/CallFrame.h"

#include <utility>

#include "com/result_codes.h"

namespace OpxOpc {

CallFrame::CallFrame(DaServerComPrivate& connection, const char* operation, Needs needs)
    : operation_(operation), trace_(operation) {
    auto admission = connection.enter(needs == Needs::Server);
    if (!admission) return;
    connection_ = &connection;
    found_ = std::move(*admission);
}

HRESULT CallFrame::refuseDeadband(float deadband) {
    giveBack();
    LibT::lInOut("<-- %s [E_INVALIDARG] - invalid deadband=%f", operation_, static_cast<double>(deadband));
    return E_INVALIDARG;
}

HRESULT CallFrame::refuseHandle(std::uint32_t handle) {
    giveBack();
    LibT::lInOut("<-- %s [OPC_E_INVALIDHANDLE] - invalid hServerSubscription=%d", operation_, handle);
    return OPC_E_INVALIDHANDLE;
}

HRESULT CallFrame::refuse(const char* text, HRESULT hr) {
    giveBack();
    return trace_.refuse(text, hr);
}

HRESULT CallFrame::leave(HRESULT hr) {
    giveBack();
    return trace_.leave(hr);
}

void CallFrame::giveBack() noexcept {
    auto* const connection = std::exchange(connection_, nullptr);
    if (!connection) return;
    found_ = {};
    connection->leave();
}

}  // namespace OpxOpc
