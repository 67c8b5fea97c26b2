#include "AddressSpaceWalk.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Command.h"

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

constexpr std::int32_t kPageSize = 500;

}  // namespace

void AddressSpaceWalk::below(const std::string& itemName) {
    if (watchers_.stopped() || path_.size() >= maxDepth_ || isAncestor(itemName)) return;
    path_.push_back(itemName);
    try {
        for (const Element& element : list(itemName)) visit(element);
    } catch (const OPCException& error) {
        watchers_.failed(itemName, messageOf(error));
    } catch (const ComException& error) {
        watchers_.failed(itemName, error.what());
    }
    path_.pop_back();
}

void AddressSpaceWalk::visit(const Element& element) {
    if (watchers_.stopped()) return;
    visitor_.enter(element, path_.size() - 1);
    if (element.HasChildren()) below(toUtf8(element.ItemName().valueOrEmpty()));
    visitor_.leave();
}

// Some servers show a branch below itself.
bool AddressSpaceWalk::isAncestor(const std::string& itemName) const {
    return std::find(path_.begin(), path_.end(), itemName) != path_.end();
}

std::vector<AddressSpaceWalk::Element> AddressSpaceWalk::list(const std::string& itemName) {
    std::vector<Element> all;
    NullableText continuationPoint = "";
    do {
        NullableArray<BrowseElement> page;
        bool moreElements = false;
        server_.Browse(itemName, "", continuationPoint, kPageSize, BrowseFilter::ALL, nullptr, false, false, page,
                       moreElements);
        std::move(page.value().begin(), page.value().end(), std::back_inserter(all));
        found_ += page.size();
        watchers_.found(found_);
    } while (continuationPoint != NullableText("") && !watchers_.stopped());
    return all;
}

}  // namespace Korvex::Tool
