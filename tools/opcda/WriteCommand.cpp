#include "WriteCommand.h"

#include <limits>
#include <ostream>

#include <CLI/CLI.hpp>

#include "com/visible_text.h"
#include "parse_value.h"

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

// A cached value will do: it is the type that is asked for.
constexpr std::int32_t kAnyAge = std::numeric_limits<std::int32_t>::max();

std::string result(const ItemIdentifier& item) {
    return toUtf8(item.ResultID().Name()) + ": " + toUtf8(item.ResultID().Description());
}

}  // namespace

WriteCommand::WriteCommand(CLI::App& parent) : Command(parent, "write", "Writes items once.") {
    server_.declare(command());
    command()
        .add_option("ITEM=VALUE", assignments_, "Item IDs with the values to write; arrays as {1|2|3}")
        ->required();
    command().add_option("--type", type_, "Send values of this type, such as Int32 or Double[], not of the item's own");
}

int WriteCommand::run(const Output& output) const {
    std::vector<Assignment> parsed;
    Type asked;
    try {
        parsed = assignments();
        if (!type_.empty()) asked = parseType(type_);
    } catch (const ValueError& error) {
        output.err << "opcda: " << error.what() << '\n';
        return kUsage;
    }
    DaServerMgt server;
    server_.connect(server);

    const std::vector<Type> types = asked.isNull() ? typesOf(server, parsed) : std::vector<Type>(parsed.size(), asked);
    std::vector<ItemIdentifier> items;
    std::vector<ItemValue> values;
    for (std::size_t i = 0; i < parsed.size(); ++i) {
        try {
            values.emplace_back();
            values.back().Value(parseValue(parsed[i].value, types[i]));
            items.emplace_back(parsed[i].item, "");
        } catch (const ValueError& error) {
            output.err << "opcda: " << parsed[i].item << ": " << error.what() << '\n';
            return kUsage;
        }
    }
    NullableArray<ItemIdentifier> identifiers(std::move(items));
    server.Write(identifiers, std::move(values));
    server.Disconnect();

    bool anyFailed = false;
    for (const ItemIdentifier& item : identifiers.value()) {
        const std::string line = Com::visibleText(toUtf8(item.ItemName().valueOrEmpty()) + ": " + result(item)) + "\n";
        if (!item.ResultID().Succeeded()) {
            output.err << "opcda: " << line;
            anyFailed = true;
        } else if (item.ResultID().Code() != 0) {
            output.out << line;
        }
    }
    return anyFailed ? kItemsFailed : kSuccess;
}

std::vector<WriteCommand::Assignment> WriteCommand::assignments() const {
    std::vector<Assignment> parsed;
    for (const std::string& text : assignments_) {
        const std::size_t sign = text.find('=');
        if (sign == std::string::npos || sign == 0) throw ValueError("\"" + text + "\" is not ITEM=VALUE");
        parsed.push_back({text.substr(0, sign), text.substr(sign + 1)});
    }
    return parsed;
}

// Null for an item that the server does not know, whose write is refused later.
std::vector<Type> WriteCommand::typesOf(DaServerMgt& server, const std::vector<Assignment>& assignments) const {
    std::vector<ItemIdentifier> items;
    for (const Assignment& assignment : assignments) items.emplace_back(assignment.item, "");
    NullableArray<ItemIdentifier> identifiers(std::move(items));
    NullableArray<ItemValue> ignored;
    server.Read(kAnyAge, identifiers, ignored);
    std::vector<Type> types;
    for (const ItemIdentifier& item : identifiers.value()) types.push_back(item.DataType());
    return types;
}

}  // namespace Korvex::Tool
