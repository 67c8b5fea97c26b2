// The kinds of OPC servers.
#pragma once

#include <cstdint>

namespace Korvex::OPC::OpcCmn {

enum class ServerCategory : std::int32_t {
    OPCDA = 0,     ///< data access
    OPCDX = 1,     ///< data exchange
    OPCAE = 2,     ///< alarms and events
    OPCHDA = 3,    ///< historical data access
    OPCXMLDA = 4,  ///< data access over XML, which no enumeration finds
};

}  // namespace Korvex::OPC::OpcCmn
