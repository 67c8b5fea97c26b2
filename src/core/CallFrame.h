// The frame around every call of the engine: entry line, state test, count of calls, exit line.
#pragma once

#include "core/DaServerComPrivate.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

// While a frame stands, the connection it found cannot be taken away. Make it first, and leave
// through one of its methods: the engine may be gone the moment the count is given back, so nothing
// of it is touched after that.
class CallFrame {
public:
    CallFrame(DaServerComPrivate& connection, const char* operation);
    ~CallFrame() { giveBack(); }
    CallFrame(const CallFrame&) = delete;
    CallFrame& operator=(const CallFrame&) = delete;

    // False when the call is refused: the server is not connected.
    bool entered() const noexcept { return connection_ != nullptr; }

    HRESULT refuseUnconnected() { return trace_.refuse("[E_FAIL] - serverState not connected", E_FAIL); }
    HRESULT refuse(const char* text, HRESULT hr);
    HRESULT leave(HRESULT hr);

private:
    void giveBack() noexcept;

    TraceScope trace_;
    DaServerComPrivate* connection_ = nullptr;
};

}  // namespace OpxOpc
