#include "ChangePrinter.h"

#include <algorithm>
#include <chrono>
#include <ostream>
#include <utility>

#include <korvex/opc_da_client/DateTime.h>

#include "columns.h"
#include "com/visible_text.h"

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

constexpr std::size_t kValueColumns = 20;
constexpr const char* kNoValue = "-";

std::string currentTime() {
    using namespace std::chrono;
    return toUtf8(DateTime(floor<milliseconds>(system_clock::now())).toText());
}

const char* nameOf(ServerState state) {
    switch (state) {
        case ServerState::CONNECTED:
            return "connected";
        case ServerState::ERRORWATCHDOG:
            return "connection lost";
        case ServerState::ERRORSHUTDOWN:
            return "server shut down";
        case ServerState::DISCONNECTED:
            return "disconnected";
        case ServerState::UNDEFINED:
            break;
    }
    return "unknown state";
}

std::string nameAndDescription(const ResultID& result) {
    return toUtf8(result.Name()) + ": " + toUtf8(result.Description());
}

}  // namespace

// One changed item in the words both forms of output use.
struct ChangePrinter::Change {
    const std::string& item;
    const ItemValueCallback& value;

    bool failed() const { return !value.ResultID()->Succeeded(); }
    std::string time() const { return toUtf8(value.TimeStamp().toText()); }
    std::string quality() const { return toUtf8(value.Quality()->Name()); }

    std::string text(std::size_t itemWidth) const {
        const std::string start = time() + kColumnGap + padded(item, itemWidth) + kColumnGap;
        if (failed()) return start + nameAndDescription(*value.ResultID());
        const std::string valueText = value.Value().isNull() ? kNoValue : toUtf8(value.Value().toText());
        return start + padded(valueText, kValueColumns) + kColumnGap + quality();
    }

    Json json() const {
        return {{"time", time()},
                {"item", item},
                {"value", toJson(value.Value())},
                {"type", toUtf8(value.Value().type().name())},
                {"quality", quality()},
                {"result", toUtf8(value.ResultID()->Name())},
                {"code", value.ResultID()->Code()}};
    }
};

ChangePrinter::ChangePrinter(const Output& output, Form form, std::vector<std::string> items,
                             std::optional<std::int32_t> limit)
    : output_(output), form_(form), items_(std::move(items)), changesLeft_(limit) {
    for (const std::string& item : items_) itemWidth_ = std::max(itemWidth_, width(item));
}

void ChangePrinter::changes(const std::vector<ItemValueCallback>& items) {
    const Korvex::ScopedLock guard(lock_);
    for (const ItemValueCallback& item : items) {
        const auto* index = item.ClientHandle().tryGet<std::int32_t>();
        if (index) print({items_.at(static_cast<std::size_t>(*index)), item});
    }
}

void ChangePrinter::print(const Change& change) {
    if (form_ == Form::JsonLines)
        printRecord(change.json());
    else
        printText(change.text(itemWidth_));
    if (changesLeft_ && *changesLeft_ > 0) --*changesLeft_;
}

void ChangePrinter::state(ServerState state) {
    const Korvex::ScopedLock guard(lock_);
    if (form_ == Form::JsonLines)
        printRecord({{"time", currentTime()}, {"state", nameOf(state)}});
    else
        printText(currentTime() + kColumnGap + nameOf(state));
}

void ChangePrinter::refused(const ItemIdentifier& item) {
    const Korvex::ScopedLock guard(lock_);
    const std::string name = toUtf8(item.ItemName().valueOrEmpty());
    if (form_ == Form::JsonLines) {
        printRecord({{"time", currentTime()},
                     {"item", name},
                     {"result", toUtf8(item.ResultID().Name())},
                     {"code", item.ResultID().Code()}});
    } else {
        printText(currentTime() + kColumnGap + padded(name, itemWidth_) + kColumnGap + "refused, " +
                  nameAndDescription(item.ResultID()));
    }
}

void ChangePrinter::printText(const std::string& text) {
    printLine(Com::visibleText(text));
}

void ChangePrinter::printRecord(const Json& record) {
    printLine(dump(record, output_.terminal));
}

void ChangePrinter::printLine(const std::string& line) {
    if (!isFinished()) output_.out << line << std::endl;
}

bool ChangePrinter::finished() const {
    const Korvex::ScopedLock guard(lock_);
    return isFinished();
}

bool ChangePrinter::isFinished() const {
    return !output_.out || changesLeft_ == 0;
}

}  // namespace Korvex::Tool
