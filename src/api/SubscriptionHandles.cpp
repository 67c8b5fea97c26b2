#include "api/SubscriptionHandles.h"

#include <utility>

#include <korvex/opc_da_client/Exceptions.h>

namespace Korvex::OPC::OpcDaClient {

void SubscriptionHandles::add(std::uint32_t serverSubscription, std::uint32_t internalHandle,
                              std::uint32_t clientSubscription, ItemHandles itemHandles) {
    const ScopedLock guard(lock_);
    m_GroupHandles[serverSubscription] = internalHandle;
    m_ClientHandles[internalHandle] = clientSubscription;
    m_UserHandles[internalHandle].swap(itemHandles);
}

std::uint64_t SubscriptionHandles::beginAdding(std::uint32_t serverSubscription, ItemHandles itemHandles) {
    const ScopedLock guard(lock_);
    const std::uint64_t id = ++lastId_;
    const auto group = m_GroupHandles.find(serverSubscription);
    if (group != m_GroupHandles.end()) addedItems_.emplace(id, AddedItems{group->second, std::move(itemHandles)});
    return id;
}

void SubscriptionHandles::endAdding(std::uint64_t id, bool kept) {
    ItemHandles dropped;
    const ScopedLock guard(lock_);
    const auto added = addedItems_.find(id);
    if (added == addedItems_.end()) return;
    dropped.swap(added->second.itemHandles);
    if (kept) m_UserHandles.at(added->second.internalHandle).merge(dropped);
    addedItems_.erase(added);
}

std::optional<std::uint32_t> SubscriptionHandles::remove(std::uint32_t serverSubscription) {
    ItemHandles dropped;
    std::map<std::uint64_t, AddedItems> droppedToo;
    const ScopedLock guard(lock_);
    const auto group = m_GroupHandles.find(serverSubscription);
    if (group == m_GroupHandles.end()) return std::nullopt;
    const std::uint32_t internalHandle = group->second;
    m_UserHandles.at(internalHandle).swap(dropped);
    m_UserHandles.erase(internalHandle);
    for (auto added = addedItems_.begin(); added != addedItems_.end();) {
        const auto each = added++;
        if (each->second.internalHandle == internalHandle) droppedToo.insert(addedItems_.extract(each));
    }
    m_ClientHandles.erase(internalHandle);
    m_GroupHandles.erase(group);
    return internalHandle;
}

bool SubscriptionHandles::contains(std::uint32_t serverSubscription) const {
    const ScopedLock guard(lock_);
    return m_GroupHandles.contains(serverSubscription);
}

SubscriptionHandles::Addressee SubscriptionHandles::find(std::uint32_t internalHandle,
                                                         const std::vector<std::uint32_t>& itemKeys) const {
    Addressee found;
    found.itemHandles.resize(itemKeys.size());
    const ScopedLock guard(lock_);
    const auto client = m_ClientHandles.find(internalHandle);
    if (client == m_ClientHandles.end()) throw KeyNotFoundException();
    found.clientSubscription = client->second;
    const ItemHandles& known = m_UserHandles.at(internalHandle);
    for (std::size_t i = 0; i < itemKeys.size(); ++i) {
        if (const auto item = known.find(itemKeys[i]); item != known.end())
            found.itemHandles[i] = item->second;
        else if (const Object* const added = findAdded(internalHandle, itemKeys[i]))
            found.itemHandles[i] = *added;
    }
    return found;
}

const Object* SubscriptionHandles::findAdded(std::uint32_t internalHandle, std::uint32_t key) const {
    for (const auto& [id, added] : addedItems_) {
        if (added.internalHandle != internalHandle) continue;
        if (const auto item = added.itemHandles.find(key); item != added.itemHandles.end()) return &item->second;
    }
    return nullptr;
}

void SubscriptionHandles::clear() {
    std::unordered_map<std::uint32_t, ItemHandles> dropped;
    std::map<std::uint64_t, AddedItems> droppedToo;
    const ScopedLock guard(lock_);
    m_UserHandles.swap(dropped);
    addedItems_.swap(droppedToo);
    m_ClientHandles.clear();
    m_GroupHandles.clear();
}

}  // namespace Korvex::OPC::OpcDaClient
