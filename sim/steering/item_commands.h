// The commands that begin with "item".
#pragma once

#include "sim/steering/CommandWords.h"

namespace Korvex::Simulation {

// "ID WHAT ...", without the word "item".
void changeItem(CommandWords& words);

}  // namespace Korvex::Simulation
