// The URL of the simulation server.
#pragma once

#include "com/com.h"
#include "sim/SimulationControl.h"

namespace Korvex::Testing {

// With its class identifier, so that no server list is asked.
inline OpxString simulationUrl(OpxStringView schemeAndHost = OLESTR("opcda://localhost")) {
    OLECHAR clsid[64] = {};
    StringFromGUID2(CLSID_KorvexSimulation, clsid, 64);
    return OpxString(schemeAndHost) + OLESTR("/Korvex.Simulation.1/") + clsid;
}

}  // namespace Korvex::Testing
