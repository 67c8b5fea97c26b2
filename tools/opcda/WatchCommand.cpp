#include "WatchCommand.h"

#include <chrono>
#include <memory>
#include <ostream>
#include <thread>
#include <utility>

#include <CLI/CLI.hpp>

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

constexpr std::chrono::milliseconds kPollInterval{20};

std::vector<ItemIdentifier> identifiers(const std::vector<std::string>& names) {
    std::vector<ItemIdentifier> items;
    for (const std::string& name : names) items.emplace_back(name, "", static_cast<std::int32_t>(items.size()));
    return items;
}

}  // namespace

WatchCommand::WatchCommand(CLI::App& parent) : Command(parent, "watch", "Prints items whenever they change.") {
    server_.declare(command());
    command().add_option("ITEM", items_, "Item IDs")->required();
    command()
        .add_option("--rate", rate_, "Milliseconds between two looks at the items")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command()
        .add_option("--deadband", deadband_, "Percentage of its range that an analog item has to change by")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    command().add_option("--count", count_, "End after so many changes")->check(CLI::PositiveNumber);
    command().add_option("--duration", duration_, "End after so many seconds")->check(CLI::PositiveNumber);
    command()
        .add_option("--keep-alive", keepAlive_, "Milliseconds between two probes of the server, at least 2000")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command().add_flag("--json", json_, "Print a JSON object a line");
}

int WatchCommand::run(const Output& output) const {
    const Interruption interruption;
    const auto printer = std::make_shared<ChangePrinter>(
        output, json_ ? ChangePrinter::Form::JsonLines : ChangePrinter::Form::Text, items_, count_);
    DaServerMgt server;
    server.add_ServerStateChanged([printer](std::int32_t, ServerState state) { printer->state(state); });
    server.add_DataChanged(
        [printer](std::int32_t, bool, bool, const std::vector<ItemValueCallback>& items) { printer->changes(items); });

    connect(server);
    const std::size_t refused = subscribe(server, *printer, output);
    if (refused == items_.size()) {
        output.err << "opcda: the server refused every item\n";
        return kItemsFailed;
    }
    waitForEnd(*printer, interruption);
    return refused == 0 ? kSuccess : kItemsFailed;
}

void WatchCommand::connect(DaServerMgt& server) const {
    ConnectInfo info;
    info.KeepAliveTime(keepAlive_);
    server_.connect(server, info);
}

std::size_t WatchCommand::subscribe(DaServerMgt& server, ChangePrinter& printer, const Output& output) const {
    NullableArray<ItemIdentifier> items(identifiers(items_));
    std::int32_t revisedRate = rate_;
    std::int32_t subscription = 0;
    server.Subscribe(0, false, rate_, revisedRate, deadband_, items, subscription);
    if (revisedRate != rate_) output.err << "opcda: the server looks every " << revisedRate << " ms\n";

    std::size_t refused = 0;
    for (const ItemIdentifier& item : items.value()) {
        if (item.ResultID().Succeeded()) continue;
        printer.refused(item);
        ++refused;
    }
    server.SubscriptionModify(subscription, true);
    return refused;
}

void WatchCommand::waitForEnd(const ChangePrinter& printer, const Interruption& interruption) const {
    using Clock = std::chrono::steady_clock;
    const auto end = duration_ ? Clock::now() + std::chrono::seconds(*duration_) : Clock::time_point::max();
    while (!printer.finished() && !interruption.requested() && Clock::now() < end) {
        std::this_thread::sleep_for(kPollInterval);
    }
}

}  // namespace Korvex::Tool
