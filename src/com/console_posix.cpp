#include <unistd.h>

#include "com/console.h"

namespace Korvex::Com {

std::vector<std::string> programArguments(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool outputIsTerminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

bool errorIsTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

void useUtf8Console() {}

}  // namespace Korvex::Com
