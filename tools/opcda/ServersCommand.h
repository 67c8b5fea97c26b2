// opcda servers [HOST]
#pragma once

#include <string>

#include "Command.h"

namespace Korvex::Tool {

// Lists the data access servers of a machine with the URLs that the other commands take.
class ServersCommand {
public:
    // Declares the command's arguments on `parent`; they are filled in when it parses.
    explicit ServersCommand(CLI::App& parent);

    bool chosen() const;
    int run(const Output& output) const;

private:
    CLI::App* command_;
    std::string host_;
    bool all_ = false;
    bool json_ = false;
};

}  // namespace Korvex::Tool
