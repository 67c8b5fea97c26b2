#include "core/CallGate.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "core/Addition.h"
#include "opc/ApartmentMode.h"
#include "opc/waiting.h"

namespace OpxOpc {
namespace {

constexpr std::chrono::milliseconds kBusyWait{50};
constexpr std::chrono::milliseconds kLockWait{10};

// While it stands, the gate waits for calls in progress for as long as they take.
class Closed {
public:
    explicit Closed(std::atomic<int>& count) : count_(count) {
        ++count_;
        Addition::gateClosed();
    }
    ~Closed() { --count_; }
    Closed(const Closed&) = delete;
    Closed& operator=(const Closed&) = delete;

private:
    std::atomic<int>& count_;
};

// The calling thread's calls in progress, one entry a call.
thread_local std::vector<const CallGate*> ownCalls;

std::uint32_t ownDepth(const CallGate* gate) {
    return static_cast<std::uint32_t>(std::count(ownCalls.begin(), ownCalls.end(), gate));
}

}  // namespace

void CallGate::lock() {
    if (lock_.try_lock()) return;
    const Addition::AtGate here(closed_);
    // Taken out of the list too: a handler that the wait lets in may come here once more.
    const auto own = static_cast<std::uint32_t>(std::erase(ownCalls, this));
    busyCount_ -= own;
    if (ApartmentMode::isSingleThreaded()) {
        while (!lock_.try_lock()) sleepTakingCalls(kLockWait);
    } else {
        lock_.lock();
    }
    busyCount_ += own;
    ownCalls.insert(ownCalls.end(), own, this);
}

void CallGate::enter() {
    ownCalls.push_back(this);
    ++busyCount_;
}

void CallGate::leave() noexcept {
    const auto last = std::find(ownCalls.rbegin(), ownCalls.rend(), this);
    ownCalls.erase(std::next(last).base());
    --busyCount_;
}

bool CallGate::waitUntilQuiet(std::chrono::milliseconds limit) {
    const Addition::AtGate here(closed_);
    std::optional<Closed> closed;
    if (limit == limit.max()) closed.emplace(closed_);
    const std::uint32_t own = ownDepth(this);
    for (auto waited = limit.zero(); busyCount_ != own; waited += kBusyWait) {
        if (waited >= limit) return false;
        sleepTakingCalls(kBusyWait);
    }
    return true;
}

}  // namespace OpxOpc
