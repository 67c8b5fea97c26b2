// The commands about single items.
#pragma once

#include <functional>
#include <string>

#include "sim/steering/CommandWords.h"

namespace Korvex::Simulation {

// Runs "ID WHAT ..."; the word "item" has been taken off.
std::function<void()> changeItem(CommandWords& words);

// Returns the answer to "written ID"; its word has been taken off.
std::string writtenValue(CommandWords& words);

}  // namespace Korvex::Simulation
