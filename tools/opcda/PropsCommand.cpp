#include "PropsCommand.h"

#include <algorithm>
#include <ostream>

#include <CLI/CLI.hpp>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "Table.h"
#include "com/visible_text.h"
#include "json.h"

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

std::string text(const NullableText& field) {
    return toUtf8(field.valueOrEmpty());
}

std::string failure(const ResultID& result) {
    return toUtf8(result.Name()) + ": " + toUtf8(result.Description());
}

// Of a property that the item does not have, nothing is known.
std::string typeName(const ItemProperty& property) {
    return text(property.Description()).empty() ? std::string() : toUtf8(property.DataType().name());
}

Table::Row tableRow(const ItemProperty& property) {
    const bool succeeded = property.ResultID().Succeeded();
    return {std::to_string(property.PropertyID()),
            text(property.Description()),
            typeName(property),
            toUtf8(property.Value().toText()),
            text(property.ItemName()),
            succeeded ? "" : failure(property.ResultID())};
}

void printTable(const ItemIdentifier& item, const ItemProperties& properties, const Output& output) {
    output.out << Com::visibleText(text(item.ItemName())) << '\n';
    if (!item.ResultID().Succeeded()) {
        output.out << Com::visibleText(failure(item.ResultID())) << '\n';
        return;
    }
    Table table({"ID", "Property", "Type", "Value", "Item", "Result"});
    for (const ItemProperty& property : properties.RequestedItemProperties()) table.add(tableRow(property));
    table.print(output.out, output.terminal);
}

Json jsonProperty(const ItemProperty& property, bool withValue) {
    Json record = {{"id", property.PropertyID()},
                   {"description", text(property.Description())},
                   {"type", toUtf8(property.DataType().name())}};
    if (withValue) record["value"] = toJson(property.Value());
    if (!property.ItemName().valueOrEmpty().empty()) record["item"] = text(property.ItemName());
    record["result"] = toUtf8(property.ResultID().Name());
    record["code"] = property.ResultID().Code();
    return record;
}

Json jsonItem(const ItemIdentifier& item, const ItemProperties& properties, bool withValues) {
    Json record = {{"item", text(item.ItemName())},
                   {"result", toUtf8(item.ResultID().Name())},
                   {"code", item.ResultID().Code()},
                   {"properties", Json::array()}};
    for (const ItemProperty& property : properties.RequestedItemProperties()) {
        record["properties"].push_back(jsonProperty(property, withValues));
    }
    return record;
}

bool isComplete(const ItemIdentifier& item, const ItemProperties& properties) {
    const auto& list = properties.RequestedItemProperties();
    return item.ResultID().Succeeded() && std::all_of(list.begin(), list.end(), [](const ItemProperty& property) {
               return property.ResultID().Succeeded();
           });
}

}  // namespace

PropsCommand::PropsCommand(CLI::App& parent) : Command(parent, "props", "Prints the properties of items.") {
    server_.declare(command());
    command().add_option("ITEM", items_, "Item IDs")->required();
    command().add_option("--id", ids_, "The number of a property; all of them if left out")->allow_extra_args(false);
    command().add_flag("--no-values", noValues_, "Leave the values out");
    command().add_flag("--json", json_, "Print JSON");
}

int PropsCommand::run(const Output& output) const {
    DaServerMgt server;
    server_.connect(server);

    NullableArray<ItemIdentifier> identifiers(identifiersOf(items_));
    NullableArray<ItemProperties> properties;
    server.GetProperties(identifiers, ids_, ids_.empty(), !noValues_, properties);
    server.Disconnect();

    bool complete = true;
    Json list = Json::array();
    for (std::size_t i = 0; i < identifiers.size(); ++i) {
        complete = complete && isComplete(identifiers[i], properties[i]);
        if (json_) {
            list.push_back(jsonItem(identifiers[i], properties[i], !noValues_));
            continue;
        }
        if (i > 0) output.out << '\n';
        printTable(identifiers[i], properties[i], output);
    }
    if (json_) output.out << dump(list, output.terminal, 2) << '\n';
    return complete ? kSuccess : kItemsFailed;
}

}  // namespace Korvex::Tool
