// opcda browse URL [ITEM]
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Command.h"
#include "ServerArguments.h"

namespace Korvex::Tool {

// Walks a server's address space and prints it as a tree.
class BrowseCommand final : public Command {
public:
    explicit BrowseCommand(CLI::App& parent);

    int run(const Output& output) const override;

private:
    ServerArguments server_;
    std::string item_;
    std::optional<std::size_t> depth_;
    bool json_ = false;
};

}  // namespace Korvex::Tool
