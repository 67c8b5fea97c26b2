#include "api/SubscriptionHandles.h"

#include <utility>

#include <korvex/opc_da_client/Exceptions.h>

namespace Korvex::OPC::OpcDaClient {

void SubscriptionHandles::add(std::uint32_t serverSubscription, std::uint32_t internalHandle,
                              std::uint32_t clientSubscription, ItemHandles itemHandles) {
    const std::lock_guard guard(lock_);
    m_GroupHandles[serverSubscription] = internalHandle;
    m_ClientHandles[internalHandle] = clientSubscription;
    m_UserHandles[internalHandle].swap(itemHandles);
}

void SubscriptionHandles::addItems(std::uint32_t serverSubscription, const ItemHandles& itemHandles) {
    const std::lock_guard guard(lock_);
    const auto group = m_GroupHandles.find(serverSubscription);
    if (group == m_GroupHandles.end()) return;
    m_UserHandles.at(group->second).insert(itemHandles.begin(), itemHandles.end());
}

std::optional<std::uint32_t> SubscriptionHandles::remove(std::uint32_t serverSubscription) {
    ItemHandles dropped;
    const std::lock_guard guard(lock_);
    const auto group = m_GroupHandles.find(serverSubscription);
    if (group == m_GroupHandles.end()) return std::nullopt;
    const std::uint32_t internalHandle = group->second;
    m_UserHandles.at(internalHandle).swap(dropped);
    m_UserHandles.erase(internalHandle);
    m_ClientHandles.erase(internalHandle);
    m_GroupHandles.erase(group);
    return internalHandle;
}

bool SubscriptionHandles::contains(std::uint32_t serverSubscription) const {
    const std::lock_guard guard(lock_);
    return m_GroupHandles.contains(serverSubscription);
}

SubscriptionHandles::Addressee SubscriptionHandles::find(std::uint32_t internalHandle,
                                                         const std::vector<std::uint32_t>& itemKeys) const {
    Addressee found;
    found.itemHandles.resize(itemKeys.size());
    const std::lock_guard guard(lock_);
    const auto client = m_ClientHandles.find(internalHandle);
    if (client == m_ClientHandles.end()) throw KeyNotFoundException();
    found.clientSubscription = client->second;
    const ItemHandles& known = m_UserHandles.at(internalHandle);
    for (std::size_t i = 0; i < itemKeys.size(); ++i) {
        if (const auto item = known.find(itemKeys[i]); item != known.end()) found.itemHandles[i] = item->second;
    }
    return found;
}

void SubscriptionHandles::clear() {
    std::unordered_map<std::uint32_t, ItemHandles> dropped;
    const std::lock_guard guard(lock_);
    m_UserHandles.swap(dropped);
    m_ClientHandles.clear();
    m_GroupHandles.clear();
}

}  // namespace Korvex::OPC::OpcDaClient
