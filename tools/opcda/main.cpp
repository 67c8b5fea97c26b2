// opcda: an OPC Data Access client for the command line.
#include <algorithm>
#include <array>
#include <exception>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include <korvex/opc_da_client/Exceptions.h>

#include "BrowseCommand.h"
#include "PropsCommand.h"
#include "ReadCommand.h"
#include "ServersCommand.h"
#include "WatchCommand.h"
#include "WriteCommand.h"
#include "com/console.h"
#include "com/platform.h"
#include "com/visible_text.h"

namespace Korvex::Tool {
namespace {

constexpr const char* kAuthenticationVariable = "KORVEX_OPC_AUTHENTICATION";

// The commands in the order of the tool's help.
template <typename... Commands>
std::array<std::unique_ptr<Command>, sizeof...(Commands)> declare(CLI::App& app) {
    return {std::make_unique<Commands>(app)...};
}

// Servers that are hardened refuse less than integrity. The library's own default is none.
void declareAuthentication(CLI::App& app, std::string& level) {
    for (CLI::App* const command : app.get_subcommands({})) {
        command->add_option("--authentication", level, "How calls of servers are protected")
            ->check(CLI::IsMember({"none", "connect", "integrity", "privacy"}))
            ->envname(kAuthenticationVariable)
            ->capture_default_str();
    }
}

int run(std::vector<std::string> arguments) {
    CLI::App app("A client for OPC Data Access servers.", "opcda");
    app.require_subcommand(1);
    app.footer(
        "URL: opcda://host/ProgID/{CLSID}; the host may be left out for this machine and the CLSID for a\n"
        "look-up by ProgID. Exit status: 0 success, 1 an item failed, 2 usage, 3 the server failed.");
    const auto commands =
        declare<ServersCommand, ReadCommand, BrowseCommand, PropsCommand, WatchCommand, WriteCommand>(app);
    std::string authentication = "integrity";
    declareAuthentication(app, authentication);

    std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kSuccess : kUsage;
    }
    Com::setEnvironmentVariable(kAuthenticationVariable, authentication);
    const Output output{std::cout, std::cerr, Com::outputIsTerminal(), Com::errorIsTerminal()};
    const auto chosen = std::find_if(commands.begin(), commands.end(), [](const auto& each) { return each->chosen(); });
    return (*chosen)->run(output);
}

void tellOf(const std::string& failure) {
    std::cerr << "opcda: " << Com::visibleText(failure) << '\n';
}

}  // namespace
}  // namespace Korvex::Tool

int main(int argc, char** argv) {
    Korvex::Com::useUtf8Console();
    try {
        return Korvex::Tool::run(Korvex::Com::programArguments(argc, argv));
    } catch (const Korvex::OPC::OpcDaClient::OPCException& error) {
        Korvex::Tool::tellOf(Korvex::Tool::messageOf(error));
        return Korvex::Tool::kServerFailed;
    } catch (const std::exception& error) {
        Korvex::Tool::tellOf(error.what());
        return Korvex::Tool::kServerFailed;
    }
}
