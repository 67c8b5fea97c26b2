#include "ServerArguments.h"

#include <cstddef>

#include <CLI/CLI.hpp>

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

void ServerArguments::declare(CLI::App& command) {
    command.add_option("URL", url_, "The server")->required();
    command.add_option("--locale", locale_, "Locale to ask the server for")->capture_default_str();
}

void ServerArguments::connect(DaServerMgt& server, ConnectInfo info) const {
    info.LocalId(locale_);
    bool connectFailed = false;
    server.Connect(url_, 0, &info, connectFailed);
}

std::vector<ItemIdentifier> identifiersOf(const std::vector<std::string>& items) {
    std::vector<ItemIdentifier> identifiers(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) identifiers[i].ItemName(items[i]);
    return identifiers;
}

}  // namespace Korvex::Tool
