// The commands about single items.
#pragma once

#include <functional>
#include <string>

#include "sim/steering/CommandWords.h"

namespace Korvex::Simulation {

// What "ID WHAT ..." does; the word "item" has been taken off.
std::function<void()> changeItem(CommandWords& words);

// What "written ID" answers; its word has been taken off.
std::string writtenValue(CommandWords& words);

}  // namespace Korvex::Simulation
