// The application's names for its pending asynchronous calls of one kind and their items.
#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>

#include "api/ItemConversion.h"
#include "com/Mutex.h"

namespace Korvex::OPC::OpcDaClient {

// Found by the internal handle that the engine calls back with. The two entries of a call go one by one,
// as its completion needs them. Any thread may call any method.
class TransactionHandles {
public:
    void add(std::uint32_t internalHandle, std::int32_t transactionHandle, ItemHandles itemHandles);

    // The application's number of the call. Throws KeyNotFoundException for a call that is not pending.
    std::int32_t takeTransaction(std::uint32_t internalHandle);

    // Nothing where they were taken already.
    std::optional<ItemHandles> takeItems(std::uint32_t internalHandle);

    void clear();

private:
    // Objects of the application are destroyed with the lock released only.
    Mutex lock_;
    std::unordered_map<std::uint32_t, std::int32_t> transactions_ GUARDED_BY(lock_);
    std::unordered_map<std::uint32_t, ItemHandles> items_ GUARDED_BY(lock_);
};

}  // namespace Korvex::OPC::OpcDaClient
