// The application's names for its subscriptions and their items, found by the numbers of the engine.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include <korvex/opc_da_client/Object.h>

#include "api/ItemConversion.h"

namespace Korvex::OPC::OpcDaClient {

// A subscription is known by three numbers: the engine's own (server subscription), the one it calls
// back with (internal handle) and the application's (client subscription). Any thread may call any
// method: callbacks look up while the application subscribes and cancels.
class SubscriptionHandles {
public:
    // A data change in the application's terms.
    struct Addressee {
        std::uint32_t clientSubscription;
        // One entry a key that was asked for: its handle, which may be null, or nothing for one that is
        // not the subscription's.
        std::vector<std::optional<Object>> itemHandles;
    };

    void add(std::uint32_t serverSubscription, std::uint32_t internalHandle, std::uint32_t clientSubscription,
             ItemHandles itemHandles);

    // Of handles with the same key the first counts. A subscription that is not known is ignored.
    void addItems(std::uint32_t serverSubscription, const ItemHandles& itemHandles);

    // Answers the internal handle, nothing for a subscription that is not known.
    std::optional<std::uint32_t> remove(std::uint32_t serverSubscription);

    bool contains(std::uint32_t serverSubscription) const;

    // Throws KeyNotFoundException for a subscription that is not known.
    Addressee find(std::uint32_t internalHandle, const std::vector<std::uint32_t>& itemKeys) const;

    void clear();

private:
    // Objects of the application are copied and destroyed here, destroyed only with the lock released:
    // what their destructors do is the application's business.
    mutable std::mutex lock_;
    std::unordered_map<std::uint32_t, ItemHandles> m_UserHandles;
    std::unordered_map<std::uint32_t, std::uint32_t> m_ClientHandles;
    std::unordered_map<std::uint32_t, std::uint32_t> m_GroupHandles;
};

}  // namespace Korvex::OPC::OpcDaClient
