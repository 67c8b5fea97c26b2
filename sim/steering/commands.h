// The commands of ISimulationControl.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace Korvex::Simulation {

// A command that is not understood; what() says why.
class CommandError : public std::invalid_argument {
    using std::invalid_argument::invalid_argument;
};

// Carries out one command and returns its answer.
std::string execute(std::string_view command);

}  // namespace Korvex::Simulation
