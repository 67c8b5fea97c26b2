// An application of the object API, beside the simulation server.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "tests/support/SimulationFixture.h"

namespace Korvex::OPC::OpcDaClient {

using State = OpcDaClient::ServerState;  // by the name that no method has

class ApiFixture : public Testing::SimulationFixture {
protected:
    static constexpr const char* kUrl = "opcda://localhost/Korvex.Simulation.1/{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}";

    void connect() { server.Connect(kUrl, 7, &info, connectFailed); }

    ConnectInfo info;
    bool connectFailed = true;
    DaServerMgt server;
};

// The exception that `action` throws, by its kind; the test fails if it throws none.
template <typename Kind, typename Action>
Kind thrownBy(Action&& action) {
    try {
        action();
    } catch (const Kind& exception) {
        return exception;
    }
    throw std::logic_error("nothing was thrown");
}

inline std::int32_t opcCodeOf(const std::function<void()>& action) {
    return thrownBy<OPCException>(action).ResultID().Code();
}

inline ItemIdentifier item(const char* id, Object clientHandle = {}) {
    return ItemIdentifier(id, "", clientHandle);
}

}  // namespace Korvex::OPC::OpcDaClient
