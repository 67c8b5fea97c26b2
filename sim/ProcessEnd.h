// How the process of the simulation ends when it is told to, with clients attached.
#pragma once

namespace Korvex::Simulation {

// Set by a program that is the server and nothing else; null where the process is somebody else's.
struct ProcessEnd {
    void (*vanish)() = nullptr;  // COM starts another one for the next client
    void (*die)() = nullptr;     // COM is told nothing
};
inline ProcessEnd processEnd;

}  // namespace Korvex::Simulation
