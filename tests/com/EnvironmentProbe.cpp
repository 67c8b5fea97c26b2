// Says whether its environment counts: "variable" if KORVEX_OPC_SERVERS does, "server" if the ProgID that is its
// argument is known.
#include <cstdio>
#include <cstdlib>

#include "com/platform.h"

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    if (Korvex::Com::environmentVariable("KORVEX_OPC_SERVERS")) std::fputs("variable ", stdout);
    CLSID clsid = {};
    if (CLSIDFromProgID(Korvex::fromUtf8(argv[1]).c_str(), &clsid) == S_OK) std::fputs("server", stdout);
    std::fflush(stdout);
    std::_Exit(0);  // a program with rights of its own may not be looked at for leaks
}
