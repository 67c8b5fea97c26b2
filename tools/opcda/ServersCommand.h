// opcda servers [HOST]
#pragma once

#include <string>

#include "Command.h"

namespace Korvex::Tool {

// Lists the data access servers of a machine with the URLs that the other commands take.
class ServersCommand final : public Command {
public:
    explicit ServersCommand(CLI::App& parent);

    int run(const Output& output) const override;

private:
    std::string host_;
    bool all_ = false;
    bool json_ = false;
};

}  // namespace Korvex::Tool
