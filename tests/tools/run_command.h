// Commands of the tool, run in the test's own process beside its simulation server.
#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include "tests/support/SimulationFixture.h"
#include "tools/opcda/Command.h"

namespace Korvex::Tool {

inline constexpr const char* kUrl = "opcda://localhost/Korvex.Simulation.1/{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}";

struct Printed {
    int status;
    std::string out;
    std::string err;
};

// What of a command's output is a terminal.
struct Terminals {
    bool out = false;
    bool error = false;
};

template <typename Command>
Printed run(const char* name, std::vector<std::string> arguments, Terminals terminals = {}) {
    CLI::App app;
    const Command command(app);
    arguments.insert(arguments.begin(), {name, kUrl});
    std::reverse(arguments.begin(), arguments.end());
    app.parse(arguments);
    std::ostringstream out;
    std::ostringstream err;
    const int status = command.run({out, err, terminals.out, terminals.error});
    return {status, out.str(), err.str()};
}

class CommandTest : public ::testing::Test {
protected:
    CommandTest() { server.reset(); }
    ~CommandTest() override { server.reset(); }

private:
    const Testing::SimulationApartment apartment_{COINIT_MULTITHREADED};

protected:
    Testing::SimulationControl server;
};

}  // namespace Korvex::Tool
