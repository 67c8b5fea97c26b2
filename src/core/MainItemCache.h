// The items that the group "Main" holds for reads and writes.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <vector>

#include <korvex/native/OpxItemIdentifier.h>

#include "com/Mutex.h"
#include "com/com.h"
#include "core/Addition.h"

namespace OpxOpc {

// Where each item of one request stands on the server.
struct ResolvedItems {
    // Of accepted items; meaningless for the others.
    std::vector<std::uint32_t> serverHandles;
    std::vector<Opx::VType> canonicalTypes;

    std::vector<std::int32_t> errors;  // one an item
    bool anyValid = false;

    explicit ResolvedItems(std::size_t count) : serverHandles(count), canonicalTypes(count), errors(count) {}
    bool isValid(std::size_t i) const noexcept { return errors[i] >= 0; }
    bool anyFailed() const noexcept;
};

// An item is added to the server once and then known by its slot number, which the caller's record
// carries as a hint in its server-handle field. Slots start at 1; those of refused items are reused.
// The cache has a lock of its own, because a disconnect holds the connection's lock while it waits
// for calls that need the cache; no method calls the server.
class MainItemCache {
public:
    // A request's items that the server has not been asked for yet.
    struct NewItems {
        std::vector<std::size_t> positions;    // in the request
        std::vector<OpxItemIdentifier> items;  // to add, the slot number as client handle
        std::shared_ptr<Addition> addition;    // what others wait for

        ~NewItems() { endAddition(); }
        bool empty() const noexcept { return items.empty(); }
        void endAddition() noexcept {
            if (addition) addition->end();
        }
    };
    struct Record;
    // An item of a request that another thread adds meanwhile.
    struct AwaitedItem {
        std::size_t position;  // in the request
        std::shared_ptr<const Record> record;
        std::shared_ptr<const Addition> addition;
    };
    using AwaitedItems = std::vector<AwaitedItem>;

    // Finds every item by its hint or its name. Those that another thread is adding go to `awaited`; slots
    // are taken for the others, which `added` gets. An item that this thread is adding (in a call that this
    // one comes from inside of, or earlier in this one) is unknown. What was taken before it throws is in
    // `added` too, to be dropped.
    void resolve(std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved, NewItems& added,
                 AwaitedItems& awaited);

    // Takes over what the server said to the new items. An empty `errors` means that all are accepted.
    void accept(const NewItems& added, const std::vector<std::int32_t>& errors, std::vector<OpxItemIdentifier>& items,
                ResolvedItems& resolved);

    // Forgets the new items: the server could not be asked, which ended with `failure`.
    void drop(const NewItems& added, HRESULT failure);

    // Waits until the awaited items are added, and takes over what came of it: S_OK, or the failure that a
    // whole addition ended with. Call it with nothing left to add: others may wait for that.
    HRESULT await(const AwaitedItems& awaited, std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved);

    struct Record {
        std::uint32_t serverHandle = 0;
        Opx::VType canonicalType = Opx::VType::Empty;
        OpxString name;
        bool accepted = false;
        std::shared_ptr<const Addition> addition;  // until it is accepted

        // For those who wait, where it is not accepted.
        std::int32_t error = S_OK;
        HRESULT failure = S_OK;  // of the call
    };

private:
    static void take(const Record& known, std::size_t i, OpxItemIdentifier& item, ResolvedItems& resolved);
    std::uint32_t findSlot(const OpxItemIdentifier& item) const REQUIRES(lock_);
    std::uint32_t takeSlot(const OpxString& name, std::shared_ptr<const Addition> addition) REQUIRES(lock_);
    void freeSlot(std::uint32_t slot) REQUIRES(lock_);
    Record& record(std::uint32_t slot) REQUIRES(lock_) { return *records_[slot - 1]; }

    Korvex::Mutex lock_;
    std::vector<std::shared_ptr<Record>> records_ GUARDED_BY(lock_);  // null where a slot is free
    std::map<OpxString, std::uint32_t> slotOfName_ GUARDED_BY(lock_);
    std::deque<std::uint32_t> freeSlots_ GUARDED_BY(lock_);
};

}  // namespace OpxOpc
