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
class WriteCommand final : public Command {
public:
    explicit WriteCommand(CLI::App& parent);

    int run(const Output& output) const override;

private:
    struct Assignment {
        std::string item;
        std::string value;
    };
    std::vector<Assignment> assignments() const;
    std::vector<OPC::OpcDaClient::Type> typesOf(OPC::OpcDaClient::DaServerMgt& server,
                                                const std::vector<Assignment>& assignments) const;

    ServerArguments server_;
    std::vector<std::string> assignments_;
    std::string type_;
};

}  // namespace Korvex::Tool
