#include "com/portable/environment.h"

#include <sys/auxv.h>

#include <cstdlib>

namespace Korvex::Com {

std::optional<std::string> trustedVariable(const char* name) {
    if (::getauxval(AT_SECURE) != 0) return std::nullopt;
    const char* const value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace Korvex::Com
