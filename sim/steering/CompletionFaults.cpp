#include "sim/steering/CompletionFaults.h"

#include <chrono>

namespace Korvex::Simulation {

Completion CompletionFaults::mode() const {
    const std::lock_guard lock(mutex_);
    return mode_;
}

void CompletionFaults::setMode(Completion mode) {
    const std::lock_guard lock(mutex_);
    mode_ = mode;
}

void CompletionFaults::hold(bool held) {
    const std::lock_guard lock(mutex_);
    held_ = held;
    released_.notify_all();
}

void CompletionFaults::waitWhileHeld(const std::function<bool()>& abandoned) const {
    // Abandonment is not announced here, so it is looked for now and then.
    constexpr std::chrono::milliseconds kPatience{20};
    std::unique_lock lock(mutex_);
    while (held_ && !abandoned()) released_.wait_for(lock, kPatience);
}

CompletionFaults::Masters CompletionFaults::masters() const {
    const std::lock_guard lock(mutex_);
    return masters_;
}

void CompletionFaults::setMasters(Masters masters) {
    const std::lock_guard lock(mutex_);
    masters_ = masters;
}

void CompletionFaults::reset() {
    const std::lock_guard lock(mutex_);
    mode_ = Completion::normal;
    masters_ = {};
    held_ = false;
    released_.notify_all();
}

}  // namespace Korvex::Simulation
