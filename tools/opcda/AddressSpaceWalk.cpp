#include "AddressSpaceWalk.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <korvex/opc_da_client/Exceptions.h>

#include "Command.h"

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

// The levels are a stack of the walk's own: a server decides how deep they go.
void AddressSpaceWalk::below(const std::string& itemName) {
    enter(itemName);
    while (!levels_.empty()) {
        Level& level = levels_.back();
        if (watchers_.stopped() || level.next == level.elements.size()) {
            leave();
            continue;
        }
        const Element element = std::move(level.elements[level.next++]);
        visitor_.enter(element, levels_.size() - 1);
        const bool goesDown = element.HasChildren() && enter(toUtf8(element.ItemName().valueOrEmpty()));
        if (!goesDown) visitor_.leave();
    }
}

bool AddressSpaceWalk::enter(const std::string& itemName) {
    // Some servers show a branch below itself.
    if (watchers_.stopped() || ancestors_.contains(itemName)) return false;
    if (levels_.size() >= maxDepth_) {
        reachedDepth_ = true;
        return false;
    }
    try {
        levels_.push_back({itemName, list(itemName)});
        ancestors_.insert(itemName);
        return true;
    } catch (const OPCException& error) {
        watchers_.failed(itemName, messageOf(error));
    } catch (const ComException& error) {
        watchers_.failed(itemName, error.what());
    }
    return false;
}

void AddressSpaceWalk::leave() {
    ancestors_.erase(levels_.back().itemName);
    levels_.pop_back();
    if (!levels_.empty()) visitor_.leave();
}

// Some servers answer a continuation point for ever: a page that brings nothing new is the last.
std::vector<AddressSpaceWalk::Element> AddressSpaceWalk::list(const std::string& itemName) {
    std::vector<Element> all;
    std::unordered_set<OpxString> seen;
    const auto isNew = [&](const Element& element) {
        return seen.insert(element.Name().valueOrEmpty() + OLECHAR() + element.ItemName().valueOrEmpty()).second;
    };
    NullableText continuationPoint = "";
    do {
        std::vector<Element> page = browse_(itemName, continuationPoint);
        if (std::count_if(page.begin(), page.end(), isNew) == 0) break;
        std::move(page.begin(), page.end(), std::back_inserter(all));
        found_ += page.size();
        watchers_.found(found_);
    } while (continuationPoint != NullableText("") && !watchers_.stopped());
    return all;
}

}  // namespace Korvex::Tool
