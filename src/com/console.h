// A program's arguments and terminal, in UTF-8 on every platform.
#pragma once

#include <string>
#include <vector>

namespace Korvex::Com {

// The program's arguments without its name. `argc` and `argv` are those of main.
std::vector<std::string> programArguments(int argc, char** argv);

// True when standard output is a terminal.
bool outputIsTerminal();
// The same of standard error.
bool errorIsTerminal();

// Makes what is written to standard output and error count as UTF-8.
void useUtf8Console();

}  // namespace Korvex::Com
