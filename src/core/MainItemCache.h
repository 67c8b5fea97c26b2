// The items that the group "Main" holds for reads and writes.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include <korvex/native/OpxItemIdentifier.h>

#include "com/com.h"

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
        bool empty() const noexcept { return items.empty(); }
    };

    // Finds every item by its hint or its name and takes slots for the others, which `added` gets. An item
    // that is being added meanwhile (by another call, or earlier in this one) is unknown rather than
    // waited for. What was taken before it throws is in `added` too, to be dropped.
    void resolve(std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved, NewItems& added);

    // Takes over what the server said to the new items. An empty `errors` means that all are accepted.
    void accept(const NewItems& added, const std::vector<std::int32_t>& errors, std::vector<OpxItemIdentifier>& items,
                ResolvedItems& resolved);

    // Forgets the new items: the server could not be asked.
    void drop(const NewItems& added);

private:
    struct Record {
        std::uint32_t serverHandle = 0;
        Opx::VType canonicalType = Opx::VType::Empty;
        OpxString name;
        bool accepted = false;
    };

    static void take(const Record& known, std::size_t i, OpxItemIdentifier& item, ResolvedItems& resolved);
    std::uint32_t findSlot(const OpxItemIdentifier& item) const;
    std::uint32_t takeSlot(const OpxString& name);
    void freeSlot(std::uint32_t slot);
    Record& record(std::uint32_t slot) { return *records_[slot - 1]; }

    std::mutex lock_;
    std::vector<std::unique_ptr<Record>> records_;  // null where a slot is free
    std::map<OpxString, std::uint32_t> slotOfName_;
    std::deque<std::uint32_t> freeSlots_;
};

}  // namespace OpxOpc
