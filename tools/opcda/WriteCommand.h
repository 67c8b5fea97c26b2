// opcda write URL ITEM=VALUE...
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "Command.h"
#include "ServerArguments.h"

namespace Korvex::Tool {

// Writes items once. A value is read as the item's own type, or as the one that is asked for.
class WriteCommand {
public:
    // Declares the command's arguments on `parent`; they are filled in when it parses.
    explicit WriteCommand(CLI::App& parent);

    bool chosen() const;
    int run(const Output& output) const;

private:
    struct Assignment {
        std::string item;
        std::string value;
    };
    std::vector<Assignment> assignments() const;
    std::vector<OPC::OpcDaClient::Type> typesOf(OPC::OpcDaClient::DaServerMgt& server,
                                                const std::vector<Assignment>& assignments) const;

    CLI::App* command_;
    ServerArguments server_;
    std::vector<std::string> assignments_;
    std::string type_;
};

}  // namespace Korvex::Tool
