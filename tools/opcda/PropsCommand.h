// opcda props URL ITEM...
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Command.h"
#include "ServerArguments.h"

namespace Korvex::Tool {

// Prints what a server tells of items besides their values.
class PropsCommand final : public Command {
public:
    explicit PropsCommand(CLI::App& parent);

    int run(const Output& output) const override;

private:
    ServerArguments server_;
    std::vector<std::string> items_;
    std::vector<std::int32_t> ids_;
    bool noValues_ = false;
    bool json_ = false;
};

}  // namespace Korvex::Tool
