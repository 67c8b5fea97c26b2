// The items of a subscription, as they are added again to a new server.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include <korvex/native/OpxItemIdentifier.h>

namespace OpxOpc {

struct KeptItem {
    static constexpr std::uint32_t kNotOnServer = 0xFFFFFFFF;

    // As it was added, with the server's handle of the present group.
    OpxItemIdentifier identifier;
    std::uint32_t localHandle = 0;

    // Why it is not on the server though it was added again, and whether the client knows.
    std::int32_t refusal = 0;
    bool refusalTold = false;

    bool isOnServer() const noexcept { return identifier.serverHandle != kNotOnServer; }
    // One without name and path holds its place only.
    bool isNamed() const noexcept { return !identifier.itemName.empty() || !identifier.itemPath.empty(); }
};

// An item is known by its local handle, its place in the store from 1 up, and by its name and path. The
// place of a removed item is given out again, the longest free one first. Not synchronised.
class ItemStore {
public:
    // Stays valid, and the same, for whoever holds it when the item is removed.
    using Item = std::shared_ptr<KeptItem>;

    // Keeps the item and returns its local handle.
    std::uint32_t add(OpxItemIdentifier identifier);

    // Takes the item's server handle for a local one if the item there has the same name and path, or if
    // `item` has no name: the handle may come from a call that knows nothing of this store. Otherwise
    // finds the last place with that name and path. Null if there is none.
    Item find(const OpxItemIdentifier& item) const;

    // False if the store holds the item no more.
    bool remove(const Item& item);

    // In the order of their places.
    std::vector<Item> namedItems() const;

private:
    using Identity = std::pair<OpxString, OpxString>;
    static Identity identityOf(const OpxItemIdentifier& item) { return {item.itemName, item.itemPath}; }

    std::vector<Item> places_;  // null where free
    std::deque<std::uint32_t> freeHandles_;
    std::map<Identity, std::set<std::uint32_t>> handlesOf_;
};

}  // namespace OpxOpc
