// The subscriptions of a connection by their handles.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "com/Mutex.h"
#include "opc/group/DaGroupWrapper.h"

namespace OpxOpc {

// Handles start at 1. A handle that became free is given out again, the longest free one first. Any
// thread may call.
class SubscriptionTable {
public:
    using Wrapper = std::shared_ptr<DaGroupWrapper>;

    std::uint32_t add(Wrapper wrapper);

    // Nothing for a handle that was never given out, null for one of a cancelled subscription.
    std::optional<Wrapper> find(std::uint32_t handle) const;

    // Frees the handle if it still stands for `wrapper`.
    bool remove(std::uint32_t handle, const Wrapper& wrapper);

    // The living subscriptions from the lowest handle up.
    std::vector<Wrapper> all() const;

    // Forgets all of them, and the handles, and answers them.
    std::vector<Wrapper> clear();

private:
    bool contains(std::uint32_t handle) const REQUIRES(lock_) { return handle != 0 && handle <= slots_.size(); }
    std::vector<Wrapper> living() const REQUIRES(lock_);

    mutable Korvex::Mutex lock_;
    std::vector<Wrapper> slots_ GUARDED_BY(lock_);  // null where a handle is free
    std::deque<std::uint32_t> freeHandles_ GUARDED_BY(lock_);
};

}  // namespace OpxOpc
