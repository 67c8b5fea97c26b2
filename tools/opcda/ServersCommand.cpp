#include "ServersCommand.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <vector>

#include <CLI/CLI.hpp>

#include <korvex/opc_cmn/OpcServerEnum.h>
#include <korvex/opc_da_client/Exceptions.h>

#include "Table.h"
#include "json.h"

namespace Korvex::Tool {

using namespace OPC::OpcCmn;

namespace {

constexpr auto kClassNotRegistered = static_cast<std::int32_t>(0x80040154u);
constexpr const char* kServerList = "{13486D51-4821-11D2-A494-3CB306C10000}";

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
    output.out << dump(list, output.terminal, 2) << '\n';
}

// A host that is named is asked as a remote machine, which this one need not allow of itself.
std::string hostToAsk(const std::string& name) {
    std::string lower = name;
    std::transform(name.begin(), name.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower == "localhost" || lower == "127.0.0.1" ? std::string() : name;
}

}  // namespace

ServersCommand::ServersCommand(CLI::App& parent) : Command(parent, "servers", "Lists the servers of a machine.") {
    command().add_option("HOST", host_, "The machine; this one if left out");
    command().add_flag("--all", all_, "List the servers of all categories, not of data access only");
    command().add_flag("--json", json_, "Print JSON");
}

int ServersCommand::run(const Output& output) const {
    std::vector<ServerIdentifier> servers;
    const std::string host = hostToAsk(host_);
    try {
        OpcServerEnum().EnumComServer(host, all_, {ServerCategory::OPCDA}, servers);
    } catch (const OPC::OpcDaClient::ComException& error) {
        if (error.ErrorCode() != kClassNotRegistered || !host.empty()) throw;
        output.err << "opcda: this machine has no list of OPC servers: the component " << kServerList
                   << " is not registered.\nServers can be used without it, by the URL opcda:///ProgID.\n";
        return kServerFailed;
    }
    if (json_)
        printJson(servers, output);
    else
        printTable(servers, output);
    return kSuccess;
}

}  // namespace Korvex::Tool
