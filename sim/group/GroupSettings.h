// The settings of a group that a client may change.
#pragma once

#include "com/opc_interfaces.h"

namespace Korvex::Simulation {

inline constexpr DWORD kMinimumUpdateRate = 10;  // milliseconds

struct GroupSettings {
    OpxString name;
    bool active = true;
    DWORD updateRate = kMinimumUpdateRate;  // milliseconds
    LONG timeBias = 0;                      // minutes
    float deadband = 0;                     // percent of an analog item's range
    LCID locale = 0;
    OPCHANDLE clientHandle = 0;
    DWORD keepAlive = 0;  // milliseconds without callback after which an empty one is made; 0 is never
    bool callbacksEnabled = true;
};

// The rate that the server can do for the one asked for.
constexpr DWORD revisedRate(DWORD requested) noexcept {
    return requested < kMinimumUpdateRate ? kMinimumUpdateRate : requested;
}

constexpr bool isDeadband(float percent) noexcept {
    return percent >= 0 && percent <= 100;
}

}  // namespace Korvex::Simulation
