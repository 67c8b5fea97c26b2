// The class object of the simulation server.
#pragma once

#include "com/com.h"

namespace Korvex::Simulation {

// Answers what DllGetClassObject answers: an interface of the class object of
// CLSID_KorvexSimulation, or CLASS_E_CLASSNOTAVAILABLE.
HRESULT getClassObject(REFCLSID clsid, REFIID riid, void** object);

}  // namespace Korvex::Simulation
