// The lines around an operation and around a call of COM, so that no path forgets one.
#pragma once

#include <exception>
#include <string_view>

#include "trace/LibT.h"

namespace OpxOpc {

// Entry and exit lines of one operation, by its name: "--> DaServerCom::connect" when it is made,
// then at most one of
//   return scope.leave(hr)          "<-- DaServerCom::connect [hr=0x%lx]"
//   return scope.refuse(text, hr)   "<-- DaServerCom::connect " followed by the text
// An operation that throws, or returns without either, writes no exit line.
class TraceScope {
public:
    explicit TraceScope(const char* operation) noexcept : operation_(operation) { LibT::lInOut("--> %s", operation_); }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

    HRESULT leave(HRESULT hr) const noexcept { return leaveAs(operation_, hr); }
    // For operations whose exit line carries another name.
    HRESULT leaveAs(const char* operation, HRESULT hr) const noexcept {
        LibT::lInOut("<-- %s [hr=0x%lx]", operation, hr);
        return hr;
    }
    // "<-- DaServerMgt::disconnectOPCServer [hr=S_OK]": operations whose exit line spells the code.
    HRESULT leaveOk() const noexcept { return refuse("[hr=S_OK]", S_OK); }
    // "<-- DaServerMgt::addGroup " and, say, "[hr=E_FAIL] - server not connected".
    HRESULT refuse(const char* text, HRESULT hr) const noexcept { return refuseAs(operation_, text, hr); }
    HRESULT refuseAs(const char* operation, const char* text, HRESULT hr) const noexcept {
        LibT::lInOut("<-- %s %s", operation, text);
        return hr;
    }

private:
    const char* operation_;
};

// One call of a COM interface between its two lines: "CALL IOPCServer::GetStatus" and
// "DONE IOPCServer::GetStatus [hr=0x%lx]". `detail` follows the name in the first line only:
// " (IID_IOPCBrowse)".
template <typename Call>
HRESULT tracedCall(const char* method, const char* detail, Call&& call) {
    LibT::lIfCall("CALL %s%s", method, detail);
    const HRESULT hr = call();
    LibT::lIfCall("DONE %s [hr=0x%lx]", method, hr);
    return hr;
}
template <typename Call>
HRESULT tracedCall(const char* method, Call&& call) {
    return tracedCall(method, "", static_cast<Call&&>(call));
}

}  // namespace OpxOpc
