// The state of a connection.
#pragma once

#include <cstdint>

namespace Korvex::OPC::OpcDaClient {

enum class ServerState : std::int32_t {
    UNDEFINED = 0,
    DISCONNECTED = 1,
    ERRORSHUTDOWN = 2,  ///< the server asked its clients to leave
    ERRORWATCHDOG = 3,  ///< the server does not answer
    CONNECTED = 4,
};

}  // namespace Korvex::OPC::OpcDaClient
