// The commands that begin with "item".
#pragma once

#include <functional>

#include "sim/steering/CommandWords.h"

namespace Korvex::Simulation {

// What "ID WHAT ..." does; the word "item" has been taken off.
std::function<void()> changeItem(CommandWords& words);

}  // namespace Korvex::Simulation
