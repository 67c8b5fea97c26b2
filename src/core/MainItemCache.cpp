#include "core/MainItemCache.h"

#include <algorithm>

namespace OpxOpc {
namespace {

constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);

std::int32_t errorAt(const std::vector<std::int32_t>& errors, std::size_t i) {
    return i < errors.size() ? errors[i] : S_OK;
}

}  // namespace

bool ResolvedItems::anyFailed() const noexcept {
    return std::any_of(errors.begin(), errors.end(), [](std::int32_t error) { return error < 0; });
}

void MainItemCache::resolve(std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved, NewItems& added) {
    std::lock_guard guard(lock_);
    added.positions.reserve(items.size());
    added.items.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        OpxItemIdentifier& item = items[i];
        item.serverHandle = findSlot(item);
        if (item.serverHandle == 0) {
            OpxItemIdentifier request;
            request.itemName = item.itemName;
            item.serverHandle = takeSlot(item.itemName);
            request.clientHandle = item.serverHandle;
            added.positions.push_back(i);
            added.items.push_back(std::move(request));
            continue;
        }
        const Record& known = record(item.serverHandle);
        if (!known.accepted) {
            resolved.errors[i] = kUnknownItemId;
            continue;
        }
        take(known, i, item, resolved);
    }
}

void MainItemCache::accept(const NewItems& added, const std::vector<std::int32_t>& errors,
                           std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved) {
    std::lock_guard guard(lock_);
    for (std::size_t n = 0; n < added.positions.size(); ++n) {
        const std::size_t i = added.positions[n];
        const OpxItemIdentifier& answer = added.items[n];
        const std::uint32_t slot = answer.clientHandle;
        if (const std::int32_t error = errorAt(errors, n); error < 0) {
            freeSlot(slot);
            resolved.errors[i] = error;
            continue;
        }
        Record& known = record(slot);
        known.serverHandle = answer.serverHandle;
        known.canonicalType = answer.dataType;
        known.accepted = true;
        take(known, i, items[i], resolved);
    }
}

void MainItemCache::drop(const NewItems& added) {
    std::lock_guard guard(lock_);
    for (const OpxItemIdentifier& item : added.items) freeSlot(item.clientHandle);
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

std::uint32_t MainItemCache::takeSlot(const OpxString& name) {
    auto fresh = std::make_unique<Record>();
    fresh->name = name;
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
