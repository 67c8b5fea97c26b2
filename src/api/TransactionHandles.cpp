#include "api/TransactionHandles.h"

#include <utility>

#include <korvex/opc_da_client/Exceptions.h>

namespace Korvex::OPC::OpcDaClient {

void TransactionHandles::add(std::uint32_t internalHandle, std::int32_t transactionHandle, ItemHandles itemHandles) {
    const ScopedLock guard(lock_);
    transactions_[internalHandle] = transactionHandle;
    items_[internalHandle].swap(itemHandles);
}

std::int32_t TransactionHandles::takeTransaction(std::uint32_t internalHandle) {
    const ScopedLock guard(lock_);
    const auto found = transactions_.find(internalHandle);
    if (found == transactions_.end()) throw KeyNotFoundException();
    const std::int32_t transaction = found->second;
    transactions_.erase(found);
    return transaction;
}

std::optional<ItemHandles> TransactionHandles::takeItems(std::uint32_t internalHandle) {
    const ScopedLock guard(lock_);
    const auto found = items_.find(internalHandle);
    if (found == items_.end()) return std::nullopt;
    std::optional<ItemHandles> taken = std::move(found->second);
    items_.erase(found);
    return taken;
}

void TransactionHandles::clear() {
    std::unordered_map<std::uint32_t, ItemHandles> dropped;
    const ScopedLock guard(lock_);
    items_.swap(dropped);
    transactions_.clear();
}

}  // namespace Korvex::OPC::OpcDaClient
