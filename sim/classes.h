// The classes that the simulation brings, as a module and as a program.
#pragma once

#include "com/ModuleRegistration.h"

namespace Korvex::Simulation {

// `server` is the module or the program.
Com::ModuleRegistration simulationClass(const std::filesystem::path& server);
Com::ModuleRegistration serverListClass(const std::filesystem::path& server);

// Any of them: what DllGetClassObject answers.
HRESULT getAnyClassObject(REFCLSID clsid, REFIID riid, void** object);

}  // namespace Korvex::Simulation
