// The process's environment, as far as the program may trust it.
#pragma once

#include <optional>
#include <string>

#include "com/com.h"

namespace Korvex::Com {

// A variable in UTF-8; nothing if it is not set. A program that was started with more rights than its caller has
// (setuid, setgid, capabilities) gets none: its environment is the caller's.
KORVEX_COM_API std::optional<std::string> trustedVariable(const char* name);

}  // namespace Korvex::Com
