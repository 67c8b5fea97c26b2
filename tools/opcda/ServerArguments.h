// The server that a command works with.
#pragma once

#include <string>
#include <vector>

#include <korvex/opc_da_client/ConnectInfo.h>
#include <korvex/opc_da_client/DaServerMgt.h>

#include "Command.h"

namespace Korvex::Tool {

class ServerArguments {
public:
    // Declares the arguments on `command`; they are filled in when it parses. The object stays where it is.
    void declare(CLI::App& command);

    // Connects, with the locale that was asked for, or throws.
    void connect(OPC::OpcDaClient::DaServerMgt& server, OPC::OpcDaClient::ConnectInfo info = {}) const;

private:
    std::string url_;
    std::string locale_ = "en";
};

std::vector<OPC::OpcDaClient::ItemIdentifier> identifiersOf(const std::vector<std::string>& items);

}  // namespace Korvex::Tool
