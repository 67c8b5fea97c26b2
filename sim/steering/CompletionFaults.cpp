#include "sim/steering/CompletionFaults.h"

#include <chrono>

namespace Korvex::Simulation {

Completion CompletionFaults::mode() const {
    const ScopedLock lock(mutex_);
    return mode_;
}

void CompletionFaults::setMode(Completion mode) {
    const ScopedLock lock(mutex_);
    mode_ = mode;
}

void CompletionFaults::hold(bool held) {
    const ScopedLock lock(mutex_);
    held_ = held;
    released_.notifyAll();
}

void CompletionFaults::waitWhileHeld(const std::function<bool()>& abandoned) const {
    // Abandonment is not announced here, so it is looked for now and then.
    constexpr std::chrono::milliseconds kPatience{20};
    ScopedLock lock(mutex_);
    while (held_ && !abandoned()) released_.waitFor(mutex_, kPatience);
}

CompletionFaults::Masters CompletionFaults::masters() const {
    const ScopedLock lock(mutex_);
    return masters_;
}

void CompletionFaults::setMasters(Masters masters) {
    const ScopedLock lock(mutex_);
    masters_ = masters;
}

void CompletionFaults::reset() {
    const ScopedLock lock(mutex_);
    mode_ = Completion::normal;
    masters_ = {};
    held_ = false;
    released_.notifyAll();
}

}  // namespace Korvex::Simulation
