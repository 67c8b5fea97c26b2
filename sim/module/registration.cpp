// What a module offers beside its class where COM's registry is a database of the system.
#include "com/ModuleRegistration.h"
#include "com/opc_interfaces.h"
#include "com/platform.h"
#include "sim/SimulationControl.h"

namespace {

Korvex::Com::ModuleRegistration registration() {
    static const char address = 0;
    return {CLSID_KorvexSimulation,
            fromUtf8(KORVEX_SIMULATION_PROGID),
            OLESTR("Korvex.Simulation"),
            OLESTR("Korvex simulation server"),
            {CATID_OPCDAServer20, CATID_OPCDAServer30},
            Korvex::Com::modulePathOf(&address)};
}

}  // namespace

// Threads of groups may still run, so the module stays.
STDAPI DllCanUnloadNow() {
    return S_FALSE;
}

STDAPI DllRegisterServer() {
    return Korvex::Com::registerModule(registration());
}

STDAPI DllUnregisterServer() {
    return Korvex::Com::unregisterModule(registration());
}
