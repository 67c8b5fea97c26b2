// The items that every simulated plant has.
#pragma once

#include <vector>

#include "sim/plant/PlantItem.h"

namespace Korvex::Simulation {

// Registers and constants of every data type, signals, and items with one peculiarity each.
std::vector<ItemDefinition> standardItems();

// "Load.0" to "Load.<count-1>": 32-bit registers, each with its number as its value.
std::vector<ItemDefinition> loadItems(std::size_t count);

}  // namespace Korvex::Simulation
