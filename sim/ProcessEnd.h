// Tells the simulation's process how to end.
#pragma once

namespace Korvex::Simulation {

// Set by a program that is the server and nothing else; null where the process is somebody else's. COM starts
// another one for clients that come afterwards.
inline void (*revokeProcess)() = nullptr;

}  // namespace Korvex::Simulation
