#include "Command.h"

#include <charconv>

#include <CLI/CLI.hpp>

#include <korvex/opc_da_client/Exceptions.h>

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

Command::Command(CLI::App& parent, const std::string& name, const std::string& description)
    : command_(parent.add_subcommand(name, description)) {}

bool Command::chosen() const {
    return command_->parsed();
}

std::string messageOf(const OPCException& error) {
    char digits[8];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, static_cast<std::uint32_t>(error.ResultID().Code()), 16).ptr;
    return std::string(error.what()) + " (" + toUtf8(error.ResultID().Name()) + ", 0x" + std::string(digits, end) + ")";
}

}  // namespace Korvex::Tool
