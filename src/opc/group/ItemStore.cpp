#include "opc/group/ItemStore.h"

namespace OpxOpc {

std::uint32_t ItemStore::add(OpxItemIdentifier identifier) {
    if (freeHandles_.empty()) {
        places_.emplace_back();
        freeHandles_.push_back(static_cast<std::uint32_t>(places_.size()));
    }
    const std::uint32_t handle = freeHandles_.front();
    handlesOf_[identityOf(identifier)].insert(handle);
    places_[handle - 1] = std::make_shared<KeptItem>(KeptItem{std::move(identifier), handle});
    freeHandles_.pop_front();
    return handle;
}

ItemStore::Item ItemStore::find(const OpxItemIdentifier& item) const {
    const std::uint32_t handle = item.serverHandle;
    if (handle != 0 && handle <= places_.size()) {
        const Item& there = places_[handle - 1];
        if (there && (item.itemName.empty() || identityOf(there->identifier) == identityOf(item))) return there;
    }
    const auto found = handlesOf_.find(identityOf(item));
    return found == handlesOf_.end() ? nullptr : places_[*found->second.rbegin() - 1];
}

bool ItemStore::remove(const Item& item) {
    Item& place = places_[item->localHandle - 1];
    if (place != item) return false;
    const auto found = handlesOf_.find(identityOf(item->identifier));
    found->second.erase(item->localHandle);
    if (found->second.empty()) handlesOf_.erase(found);
    freeHandles_.push_back(item->localHandle);
    place.reset();
    return true;
}

std::vector<ItemStore::Item> ItemStore::namedItems() const {
    std::vector<Item> named;
    for (const Item& item : places_) {
        if (item && item->isNamed()) named.push_back(item);
    }
    return named;
}

}  // namespace OpxOpc
