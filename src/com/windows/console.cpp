#include "com/console.h"
#include "com/com.h"

#include <io.h>
#include <shellapi.h>
#include <stdio.h>

#include <memory>

namespace Korvex::Com {

std::vector<std::string> programArguments(int, char**) {
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&::LocalFree)> arguments(CommandLineToArgvW(GetCommandLineW(), &count),
                                                                    &::LocalFree);
    std::vector<std::string> result;
    for (int i = 1; arguments && i < count; ++i) result.push_back(toUtf8(arguments.get()[i]));
    return result;
}

bool outputIsTerminal() {
    return _isatty(_fileno(stdout)) != 0;
}

bool errorIsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

void useUtf8Console() {
    SetConsoleOutputCP(CP_UTF8);
    SetConsoleCP(CP_UTF8);
}

}  // namespace Korvex::Com
