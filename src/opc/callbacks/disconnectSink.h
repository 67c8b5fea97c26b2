// Taking a sink back from a server that no longer answers.
#pragma once

#include "com/ComCalls.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

// Has COM cut the server's references to `sink`.
inline HRESULT disconnectSink(IUnknown* sink) {
    return tracedCall("CoDisconnectObject", [&] { return Korvex::Com::comCalls().coDisconnectObject(sink); });
}

}  // namespace OpxOpc
