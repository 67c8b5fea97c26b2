#include "core/MainItemCache.h"

#include <algorithm>

#include "com/result_codes.h"
#include "values/codeAt.h"

namespace OpxOpc {
namespace {

// Stays where the server says to have added an item and hands out no handle: 0 may be another item's.
constexpr std::uint32_t kNoHandle = 0xFFFFFFFF;

}  // namespace

bool ResolvedItems::anyFailed() const noexcept {
    return std::any_of(errors.begin(), errors.end(), [](std::int32_t error) { return error < 0; });
}

void MainItemCache::resolve(std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved, NewItems& added,
                            AwaitedItems& awaited) {
    const Korvex::ScopedLock guard(lock_);
    added.positions.reserve(items.size());
    added.items.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        OpxItemIdentifier& item = items[i];
        item.serverHandle = findSlot(item);
        if (item.serverHandle == 0) {
            OpxItemIdentifier request;
            request.itemName = item.itemName;
            request.serverHandle = kNoHandle;
            if (!added.addition) added.addition = std::make_shared<Addition>();
            item.serverHandle = takeSlot(item.itemName, added.addition);
            request.clientHandle = item.serverHandle;
            added.positions.push_back(i);
            added.items.push_back(std::move(request));
            continue;
        }
        const auto& known = records_[item.serverHandle - 1];
        if (known->accepted)
            take(*known, i, item, resolved);
        else if (known->addition->isOwn())
            resolved.errors[i] = OPC_E_UNKNOWNITEMID;
        else
            awaited.push_back({i, known, known->addition});
    }
}

void MainItemCache::accept(const NewItems& added, const std::vector<std::int32_t>& errors,
                           std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved) {
    const Korvex::ScopedLock guard(lock_);
    for (std::size_t n = 0; n < added.positions.size(); ++n) {
        const std::size_t i = added.positions[n];
        const OpxItemIdentifier& answer = added.items[n];
        const std::uint32_t slot = answer.clientHandle;
        Record& known = record(slot);
        if (const std::int32_t error = codeAt(errors, n); error < 0) {
            known.error = error;
            freeSlot(slot);
            resolved.errors[i] = error;
            continue;
        }
        known.serverHandle = answer.serverHandle;
        known.canonicalType = answer.dataType;
        known.accepted = true;
        known.addition.reset();
        take(known, i, items[i], resolved);
    }
}

void MainItemCache::drop(const NewItems& added, HRESULT failure) {
    const Korvex::ScopedLock guard(lock_);
    for (const OpxItemIdentifier& item : added.items) {
        const auto& dropped = records_[item.clientHandle - 1];
        if (!dropped || dropped->addition != added.addition) continue;  // given out again, or accepted
        dropped->failure = failure;
        freeSlot(item.clientHandle);
    }
}

HRESULT MainItemCache::await(const AwaitedItems& awaited, std::vector<OpxItemIdentifier>& items,
                             ResolvedItems& resolved) {
    for (const AwaitedItem& item : awaited) {
        const std::size_t i = item.position;
        if (!item.addition->wait()) {
            resolved.errors[i] = OPC_E_UNKNOWNITEMID;
            continue;
        }
        const Korvex::ScopedLock guard(lock_);
        const Record& added = *item.record;
        if (added.accepted)
            take(added, i, items[i], resolved);
        else if (failed(added.failure))
            return added.failure;
        else
            resolved.errors[i] = added.error;
    }
    return S_OK;
}

void MainItemCache::take(const Record& known, std::size_t i, OpxItemIdentifier& item, ResolvedItems& resolved) {
    resolved.serverHandles[i] = known.serverHandle;
    resolved.canonicalTypes[i] = known.canonicalType;
    resolved.anyValid = true;
    if (item.dataType == Opx::VType::Empty) item.dataType = known.canonicalType;
}

std::uint32_t MainItemCache::findSlot(const OpxItemIdentifier& item) const {
    const std::uint32_t hint = item.serverHandle;
    if (hint != 0 && hint <= records_.size() && records_[hint - 1] && records_[hint - 1]->name == item.itemName) {
        return hint;
    }
    const auto found = slotOfName_.find(item.itemName);
    return found == slotOfName_.end() ? 0 : found->second;
}

std::uint32_t MainItemCache::takeSlot(const OpxString& name, std::shared_ptr<const Addition> addition) {
    auto fresh = std::make_shared<Record>();
    fresh->name = name;
    fresh->addition = std::move(addition);
    std::uint32_t slot;
    if (freeSlots_.empty()) {
        records_.push_back(std::move(fresh));
        slot = static_cast<std::uint32_t>(records_.size());
    } else {
        slot = freeSlots_.front();
        freeSlots_.pop_front();
        records_[slot - 1] = std::move(fresh);
    }
    slotOfName_[name] = slot;
    return slot;
}

void MainItemCache::freeSlot(std::uint32_t slot) {
    if (!records_[slot - 1]) return;
    slotOfName_.erase(record(slot).name);
    records_[slot - 1].reset();
    freeSlots_.push_back(slot);
}

}  // namespace OpxOpc
