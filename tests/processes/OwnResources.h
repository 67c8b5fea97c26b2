// What this process holds of the system's resources.
#pragma once

#include <map>
#include <string>

#include "com/com.h"

namespace Korvex::Testing {

// Open handles by their kind: "Event", "Mutant", "File", "Thread", ...
std::map<std::string, int> ownHandles();

int ownThreads();

}  // namespace Korvex::Testing
