#include "sim/class_registrations.h"

#include "com/opc_interfaces.h"
#include "sim/SimulationControl.h"

namespace Korvex::Simulation {

Com::ModuleRegistration simulationRegistration(const std::filesystem::path& server) {
    return {CLSID_KorvexSimulation,
            fromUtf8(KORVEX_SIMULATION_PROGID),
            OLESTR("Korvex.Simulation"),
            OLESTR("Korvex simulation server"),
            {CATID_OPCDAServer20, CATID_OPCDAServer30},
            server};
}

Com::ModuleRegistration serverListRegistration(const std::filesystem::path& server) {
    return {CLSID_OpcServerList,
            OLESTR("OPC.ServerList.1"),
            OLESTR("OPC.ServerList"),
            OLESTR("OPC server list"),
            {},
            server};
}

}  // namespace Korvex::Simulation
