// How the facade connects and stays connected.
#pragma once

#include <cstdint>

#include <korvex/text.h>

namespace OpxOpc {

/// How a connection is made and kept.
struct OpxServerConnectInfo {
    /// Locale to ask the server for ("en", "de-de", ...); empty asks for none. connect() writes back
    /// what it became.
    OpxString localId = OLESTR("en");
    /// Keep trying in the background when the first attempt fails.
    bool retryInitialConnect = false;
    /// Reconnect, with all subscriptions, when the connection is lost.
    bool reconnectAfterConnectionError = true;
    /// Milliseconds between probes of the server. Taken as unsigned: a negative time never probes.
    std::int32_t keepAliveTime = 10000;
};

}  // namespace OpxOpc
