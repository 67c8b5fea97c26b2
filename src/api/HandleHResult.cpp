#include "api/HandleHResult.h"

#include <korvex/opc_da_client/Exceptions.h>
#include <korvex/opc_da_client/ResultID.h>

#include "trace/LibT.h"

namespace Korvex::OPC::OpcDaClient {

void HandleHResult(std::int32_t hr) {
    if (hr >= 0) return;
    OpxOpc::LibT::lError("EXC MCPP::DaServerMgt::HandleHResult throwing Exception for HRESULT 0x%lx ", hr);
    const ResultID result(hr);
    if (result.Name().empty()) throw ComException(hr);
    throw OPCException(result);
}

}  // namespace Korvex::OPC::OpcDaClient
