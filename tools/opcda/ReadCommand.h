// opcda read URL ITEM...
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Command.h"
#include "ServerArguments.h"

namespace Korvex::Tool {

// Reads items once and prints them as a table or as JSON.
class ReadCommand final : public Command {
public:
    explicit ReadCommand(CLI::App& parent);

    int run(const Output& output) const override;

private:
    ServerArguments server_;
    std::vector<std::string> items_;
    std::int32_t maxAge_ = 0;
    bool json_ = false;
};

}  // namespace Korvex::Tool
