#include "ServersCommand.h"

#include <ostream>
#include <vector>

#include <CLI/CLI.hpp>

#include <korvex/opc_cmn/OpcServerEnum.h>

#include "Table.h"
#include "json.h"

namespace Korvex::Tool {

using namespace OPC::OpcCmn;

namespace {

const char* nameOf(ServerCategory category) {
    switch (category) {
        case ServerCategory::OPCDA:
            return "OPC DA";
        case ServerCategory::OPCDX:
            return "OPC DX";
        case ServerCategory::OPCAE:
            return "OPC AE";
        case ServerCategory::OPCHDA:
            return "OPC HDA";
        case ServerCategory::OPCXMLDA:
            return "OPC XML-DA";
    }
    return "";
}

std::string text(const NullableText& field) {
    return toUtf8(field.valueOrEmpty());
}

void printTable(const std::vector<ServerIdentifier>& servers, const Output& output) {
    Table table({"ProgID", "Category", "URL"});
    for (const ServerIdentifier& server : servers) {
        table.add({text(server.ProgID()), nameOf(server.Category()), text(server.Url())});
    }
    table.print(output.out, output.terminal);
}

void printJson(const std::vector<ServerIdentifier>& servers, const Output& output) {
    Json list = Json::array();
    for (const ServerIdentifier& server : servers) {
        list.push_back({{"progId", text(server.ProgID())},
                        {"category", nameOf(server.Category())},
                        {"host", text(server.HostName())},
                        {"clsid", text(server.CLSID())},
                        {"url", text(server.Url())}});
    }
    output.out << list.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace

ServersCommand::ServersCommand(CLI::App& parent)
    : command_(parent.add_subcommand("servers", "Lists the servers of a machine.")) {
    command_->add_option("HOST", host_, "The machine; this one if left out");
    command_->add_flag("--all", all_, "List the servers of all categories, not of data access only");
    command_->add_flag("--json", json_, "Print JSON");
}

bool ServersCommand::chosen() const {
    return command_->parsed();
}

int ServersCommand::run(const Output& output) const {
    std::vector<ServerIdentifier> servers;
    OpcServerEnum().EnumComServer(host_, all_, {ServerCategory::OPCDA}, servers);
    if (json_)
        printJson(servers, output);
    else
        printTable(servers, output);
    return kSuccess;
}

}  // namespace Korvex::Tool
