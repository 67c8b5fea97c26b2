// The names under which interfaces stand in the journal and in commands.
#pragma once

#include <string>
#include <string_view>

#include "com/com.h"

namespace Korvex::Simulation {

// "IOPCServer"; a GUID that is none of the interfaces of OPC gives "".
std::string interfaceName(REFIID riid);

// The name of a call that is about an interface: "IOPCServer::QueryInterface (IID_IOPCBrowse)".
std::string methodAbout(std::string method, std::string_view interfaceName);

// True for the interfaces that came with data access 3.0.
bool isDataAccess3(std::string_view name);

}  // namespace Korvex::Simulation
