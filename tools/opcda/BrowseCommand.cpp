#include "BrowseCommand.h"

#include <ostream>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "AddressSpaceWalk.h"
#include "Interruption.h"
#include "Progress.h"
#include "com/visible_text.h"
#include "json.h"

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

using Element = AddressSpaceWalk::Element;

constexpr std::int32_t kPageSize = 500;
constexpr std::size_t kDefaultDepth = 64;
constexpr std::size_t kMostDepth = 1000;  // JSON that is nested deeper is of no use, and overflows stacks

std::string text(const NullableText& field) {
    return toUtf8(field.valueOrEmpty());
}

// A line an element: its name, with a slash when there is something below it, and the ID of an item.
class TextTree final : public AddressSpaceWalk::Visitor {
public:
    explicit TextTree(std::ostream& out) : out_(out) {}

    void enter(const Element& element, std::size_t depth) override {
        const auto shown = [](const NullableText& field) { return Com::visibleText(text(field)); };
        out_ << std::string(2 * depth, ' ') << shown(element.Name()) << (element.HasChildren() ? "/" : "");
        if (element.IsItem()) out_ << "  " << shown(element.ItemName());
        out_ << '\n';
    }

private:
    std::ostream& out_;
};

// The same as nested records.
class JsonTree final : public AddressSpaceWalk::Visitor {
public:
    void enter(const Element& element, std::size_t) override {
        open_.push_back({{"name", text(element.Name())},
                         {"item", text(element.ItemName())},
                         {"isItem", element.IsItem()},
                         {"hasChildren", element.HasChildren()}});
    }
    void leave() override {
        Json element = std::move(open_.back());
        open_.pop_back();
        if (open_.empty())
            roots_.push_back(std::move(element));
        else
            open_.back()["children"].push_back(std::move(element));
    }
    const Json& roots() const { return roots_; }

private:
    Json roots_ = Json::array();
    std::vector<Json> open_;
};

}  // namespace

BrowseCommand::BrowseCommand(CLI::App& parent)
    : Command(parent, "browse", "Prints the server's address space as a tree.") {
    server_.declare(command());
    command().add_option("ITEM", item_, "The element to begin below; the root if left out");
    command()
        .add_option("--depth", depth_, "Levels to go down; 64 if left out")
        ->check(CLI::Range(std::size_t{1}, kMostDepth));
    command().add_flag("--json", json_, "Print JSON");
}

int BrowseCommand::run(const Output& output) const {
    const Interruption interruption;
    DaServerMgt server;
    server_.connect(server);

    // Where the tree itself appears on a terminal, it is progress enough.
    Progress progress(output.err, output.errorTerminal && (json_ || !output.terminal), "elements");
    TextTree textTree(output.out);
    JsonTree jsonTree;
    int status = kSuccess;
    const auto tellOfFailure = [&](const std::string& element, const std::string& why) {
        progress.erase();
        output.err << "opcda: " << Com::visibleText((element.empty() ? "the root" : element) + ": " + why) << '\n';
        status = kItemsFailed;
    };
    const auto browse = [&](const std::string& itemName, NullableText& continuationPoint) {
        NullableArray<BrowseElement> page;
        bool moreElements = false;
        server.Browse(itemName, "", continuationPoint, kPageSize, BrowseFilter::ALL, nullptr, false, false, page,
                      moreElements);
        return std::move(page.value());
    };
    AddressSpaceWalk walk(
        browse, depth_.value_or(kDefaultDepth), json_ ? static_cast<AddressSpaceWalk::Visitor&>(jsonTree) : textTree,
        {[&](std::size_t found) { progress.count(found); }, tellOfFailure, [&] { return interruption.requested(); }});
    walk.below(item_);
    progress.erase();
    if (walk.reachedDepth() && !depth_) {
        output.err << "opcda: there is more below level " << kDefaultDepth << ": see --depth\n";
        status = kItemsFailed;
    }
    if (json_) output.out << dump(jsonTree.roots(), output.terminal, 2) << '\n';
    return status;
}

}  // namespace Korvex::Tool
