// The frame around every call of the engine: entry line, state test, count of calls, exit line.
#pragma once

#include <cstdint>
#include <memory>

#include "core/DaServerComPrivate.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

// While a frame stands, the connection it found cannot be taken away. Make it first, and leave
// through one of its methods: the engine may be gone the moment the count is given back, so nothing
// of it is touched after that.
class CallFrame {
public:
    // A call that only works on the subscriptions is let in while the connection is lost, if it will be
    // brought back.
    enum class Needs { Server, Subscriptions };

    CallFrame(DaServerComPrivate& connection, const char* operation, Needs needs);
    ~CallFrame() { giveBack(); }
    CallFrame(const CallFrame&) = delete;
    CallFrame& operator=(const CallFrame&) = delete;

    // False when the call is refused: the server is not connected.
    bool entered() const noexcept { return connection_ != nullptr; }

    // The connection as the call found it when it entered: the server, or none.
    bool connected() const noexcept { return found_.connected; }
    DaGroupWrapper::Reach reach() const noexcept {
        return connected() ? DaGroupWrapper::Reach::Server : DaGroupWrapper::Reach::KeptStateOnly;
    }
    bool comesBack() const noexcept { return found_.comesBack; }
    const ServerLink& link() const noexcept { return found_.link; }
    const std::shared_ptr<CallbackRelay>& callback() const noexcept { return found_.callback; }

    HRESULT refuseUnconnected() { return refuse("[E_FAIL] - serverState not connected", E_FAIL); }
    HRESULT refuseDeadband(float deadband);
    HRESULT refuseHandle(std::uint32_t handle);
    HRESULT refuse(const char* text, HRESULT hr);
    HRESULT leave(HRESULT hr);

private:
    void giveBack() noexcept;

    const char* const operation_;
    TraceScope trace_;
    DaServerComPrivate* connection_ = nullptr;
    DaServerComPrivate::Admission found_;
};

}  // namespace OpxOpc
