// opcda browse URL [ITEM]
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Command.h"
#include "ServerArguments.h"

namespace Korvex::Tool {

// Walks a server's address space and prints it as a tree.
class BrowseCommand {
public:
    // Declares the command's arguments on `parent`; they are filled in when it parses.
    explicit BrowseCommand(CLI::App& parent);

    bool chosen() const;
    int run(const Output& output) const;

private:
    CLI::App* command_;
    ServerArguments server_;
    std::string item_;
    std::optional<std::size_t> depth_;
    bool json_ = false;
};

}  // namespace Korvex::Tool
