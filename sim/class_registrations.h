// The registrations of the simulation's classes, whether a module or a program serves them.
#pragma once

#include "com/hosting/ModuleRegistration.h"

namespace Korvex::Simulation {

Com::ModuleRegistration simulationRegistration(const std::filesystem::path& server);
Com::ModuleRegistration serverListRegistration(const std::filesystem::path& server);

}  // namespace Korvex::Simulation
