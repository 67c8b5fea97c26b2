// The pattern language of browse filters.
#pragma once

#include "com/com.h"

namespace Korvex::Simulation {

// "*" stands for any text, "?" for a character, "#" for a digit, "[a-c]" for one of a set and
// "[!a-c]" for one outside it. The empty pattern matches everything. Letters compare exactly.
bool matchesPattern(OpxStringView name, OpxStringView pattern) noexcept;

}  // namespace Korvex::Simulation
