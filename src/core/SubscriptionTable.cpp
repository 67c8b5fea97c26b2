#include "core/SubscriptionTable.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace OpxOpc {

std::uint32_t SubscriptionTable::add(Wrapper wrapper) {
    const Korvex::ScopedLock guard(lock_);
    if (freeHandles_.empty()) {
        slots_.push_back(std::move(wrapper));
        return static_cast<std::uint32_t>(slots_.size());
    }
    const std::uint32_t handle = freeHandles_.front();
    freeHandles_.pop_front();
    slots_[handle - 1] = std::move(wrapper);
    return handle;
}

std::optional<SubscriptionTable::Wrapper> SubscriptionTable::find(std::uint32_t handle) const {
    const Korvex::ScopedLock guard(lock_);
    if (!contains(handle)) return std::nullopt;
    return slots_[handle - 1];
}

bool SubscriptionTable::remove(std::uint32_t handle, const Wrapper& wrapper) {
    const Korvex::ScopedLock guard(lock_);
    if (!contains(handle) || slots_[handle - 1] != wrapper) return false;
    slots_[handle - 1] = nullptr;
    freeHandles_.push_back(handle);
    return true;
}

std::vector<SubscriptionTable::Wrapper> SubscriptionTable::all() const {
    const Korvex::ScopedLock guard(lock_);
    return living();
}

std::vector<SubscriptionTable::Wrapper> SubscriptionTable::clear() {
    const Korvex::ScopedLock guard(lock_);
    std::vector<Wrapper> removed = living();
    slots_.clear();
    freeHandles_.clear();
    return removed;
}

std::vector<SubscriptionTable::Wrapper> SubscriptionTable::living() const {
    std::vector<Wrapper> result;
    std::copy_if(slots_.begin(), slots_.end(), std::back_inserter(result),
                 [](const Wrapper& w) { return w != nullptr; });
    return result;
}

}  // namespace OpxOpc
