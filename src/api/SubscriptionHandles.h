// The application's names for its subscriptions and their items, found by the numbers of the engine.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include <korvex/opc_da_client/Object.h>

#include "api/ItemConversion.h"
#include "com/Mutex.h"

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

    // Items that are being added to a subscription. They are found while it lives, because their first data
    // change may come at once, and from then on if they are kept. Of handles with the same key the first
    // kept one counts. A subscription that is not known is ignored.
    class Adding {
    public:
        Adding(SubscriptionHandles& handles, std::uint32_t serverSubscription, ItemHandles itemHandles)
            : handles_(handles), id_(handles.beginAdding(serverSubscription, std::move(itemHandles))) {}
        ~Adding() { handles_.endAdding(id_, false); }
        Adding(const Adding&) = delete;
        Adding& operator=(const Adding&) = delete;

        void keep() { handles_.endAdding(id_, true); }

    private:
        SubscriptionHandles& handles_;
        const std::uint64_t id_;
    };

    // Answers the internal handle, nothing for a subscription that is not known.
    std::optional<std::uint32_t> remove(std::uint32_t serverSubscription);

    bool contains(std::uint32_t serverSubscription) const;

    // Throws KeyNotFoundException for a subscription that is not known.
    Addressee find(std::uint32_t internalHandle, const std::vector<std::uint32_t>& itemKeys) const;

    void clear();

private:
    struct AddedItems {
        std::uint32_t internalHandle;
        ItemHandles itemHandles;
    };

    std::uint64_t beginAdding(std::uint32_t serverSubscription, ItemHandles itemHandles);
    void endAdding(std::uint64_t id, bool kept);
    const Object* findAdded(std::uint32_t internalHandle, std::uint32_t key) const REQUIRES(lock_);

    // Objects of the application are copied and destroyed here, destroyed only with the lock released:
    // what their destructors do is the application's business.
    mutable Mutex lock_;
    std::unordered_map<std::uint32_t, ItemHandles> m_UserHandles GUARDED_BY(lock_);
    std::unordered_map<std::uint32_t, std::uint32_t> m_ClientHandles GUARDED_BY(lock_);
    std::unordered_map<std::uint32_t, std::uint32_t> m_GroupHandles GUARDED_BY(lock_);
    std::map<std::uint64_t, AddedItems> addedItems_ GUARDED_BY(lock_);  // by their ids
    std::uint64_t lastId_ GUARDED_BY(lock_) = 0;
};

}  // namespace Korvex::OPC::OpcDaClient
