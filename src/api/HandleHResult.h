// The check that follows every native call.
#pragma once

#include <cstdint>

namespace Korvex::OPC::OpcDaClient {

// Returns for a success. Throws OPCException for a failure with a name, ComException for another.
void HandleHResult(std::int32_t hr);

}  // namespace Korvex::OPC::OpcDaClient
