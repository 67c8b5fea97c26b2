// The names under which interfaces stand in the journal and in commands.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace Korvex::Simulation {

// "IOPCServer"; a GUID that is none of the interfaces of OPC gives "".
std::string interfaceName(REFIID riid);

// True for the interfaces that came with data access 3.0.
bool isDataAccess3(std::string_view name);

}  // namespace Korvex::Simulation
