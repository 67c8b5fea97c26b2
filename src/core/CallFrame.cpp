#include "core/CallFrame.h"

#include <utility>

namespace OpxOpc {

CallFrame::CallFrame(DaServerComPrivate& connection, const char* operation) : trace_(operation) {
    std::lock_guard guard(connection.lock);
    if (connection.serverState != SERVERSTATUS_CONNECTED) return;
    ++connection.busyCount;
    connection_ = &connection;
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
    if (auto* connection = std::exchange(connection_, nullptr)) --connection->busyCount;
}

}  // namespace OpxOpc
