#include "ReadCommand.h"

#include <ostream>

#include <CLI/CLI.hpp>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "Table.h"
#include "json.h"

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

// One item of an answer, in the words both forms of output use.
struct ReadItem {
    const ItemIdentifier& identifier;
    const ItemValue& value;

    bool failed() const { return !identifier.ResultID().Succeeded(); }
    std::string name() const { return toUtf8(identifier.ItemName().valueOrEmpty()); }
    std::string type() const { return toUtf8(identifier.DataType().name()); }
    std::string quality() const { return value.Quality() ? toUtf8(value.Quality()->Name()) : std::string(); }
    std::string time() const { return toUtf8(value.TimeStamp().toText()); }
    std::string result() const { return toUtf8(identifier.ResultID().Name()); }
};

Table::Row tableRow(const ReadItem& item) {
    if (item.failed()) {
        return {item.name(), "", "", "", "", item.result() + ": " + toUtf8(item.identifier.ResultID().Description())};
    }
    return {item.name(), toUtf8(item.value.Value().toText()), item.type(), item.quality(), item.time(), item.result()};
}

Json jsonRecord(const ReadItem& item) {
    Json record = {{"item", item.name()}, {"result", item.result()}, {"code", item.identifier.ResultID().Code()}};
    if (item.failed()) return record;
    record["value"] = toJson(item.value.Value());
    record["type"] = item.type();
    record["quality"] = item.quality();
    record["time"] = item.time();
    return record;
}

void printTable(const std::vector<ReadItem>& items, const Output& output) {
    Table table({"Item", "Value", "Type", "Quality", "Time", "Result"});
    for (const ReadItem& item : items) table.add(tableRow(item));
    table.print(output.out, output.terminal);
}

void printJson(const std::vector<ReadItem>& items, const Output& output) {
    Json list = Json::array();
    for (const ReadItem& item : items) list.push_back(jsonRecord(item));
    output.out << dump(list, output.terminal, 2) << '\n';
}

}  // namespace

ReadCommand::ReadCommand(CLI::App& parent) : Command(parent, "read", "Reads items once.") {
    server_.declare(command());
    command().add_option("ITEM", items_, "Item IDs")->required();
    command()
        .add_option("--max-age", maxAge_, "Milliseconds a cached value may be old; 0 asks the device")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command().add_flag("--json", json_, "Print JSON");
}

int ReadCommand::run(const Output& output) const {
    DaServerMgt server;
    server_.connect(server);

    NullableArray<ItemIdentifier> identifiers(identifiersOf(items_));
    NullableArray<ItemValue> values;
    server.Read(maxAge_, identifiers, values);
    server.Disconnect();

    std::vector<ReadItem> answer;
    bool anyFailed = false;
    for (std::size_t i = 0; i < items_.size(); ++i) {
        answer.push_back({identifiers.value()[i], values.value()[i]});
        anyFailed = anyFailed || answer.back().failed();
    }
    if (json_)
        printJson(answer, output);
    else
        printTable(answer, output);
    return anyFailed ? kItemsFailed : kSuccess;
}

}  // namespace Korvex::Tool
