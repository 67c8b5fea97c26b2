// opcda read URL ITEM...
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Command.h"
#include "ServerArguments.h"

namespace Korvex::Tool {

// Reads items once and prints them as a table or as JSON.
class ReadCommand {
public:
    // Declares the command's arguments on `parent`; they are filled in when it parses.
    explicit ReadCommand(CLI::App& parent);

    bool chosen() const;
    int run(const Output& output) const;

private:
    CLI::App* command_;
    ServerArguments server_;
    std::vector<std::string> items_;
    std::int32_t maxAge_ = 0;
    bool json_ = false;
};

}  // namespace Korvex::Tool
