// opcda props URL ITEM...
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Command.h"
#include "ServerArguments.h"

namespace Korvex::Tool {

// Prints what a server tells of items besides their values.
class PropsCommand {
public:
    // Declares the command's arguments on `parent`; they are filled in when it parses.
    explicit PropsCommand(CLI::App& parent);

    bool chosen() const;
    int run(const Output& output) const;

private:
    CLI::App* command_;
    ServerArguments server_;
    std::vector<std::string> items_;
    std::vector<std::int32_t> ids_;
    bool noValues_ = false;
    bool json_ = false;
};

}  // namespace Korvex::Tool
