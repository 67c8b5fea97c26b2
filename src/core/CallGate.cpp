#include "core/CallGate.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "core/Addition.h"

namespace OpxOpc {
namespace {

// While it stands, the calling thread waits for calls in progress for as long as they take.
class Closed {
public:
    Closed(const CallGate& gate, std::atomic<int>& count) : here_(gate), count_(count) {
        ++count_;
        Addition::gateClosed();
    }
    ~Closed() { --count_; }
    Closed(const Closed&) = delete;
    Closed& operator=(const Closed&) = delete;

private:
    const Addition::AtGate here_;
    std::atomic<int>& count_;
};

// The calling thread's calls in progress, one entry a call.
thread_local std::vector<const CallGate*> ownCalls;

std::uint32_t ownDepth(const CallGate* gate) {
    return static_cast<std::uint32_t>(std::count(ownCalls.begin(), ownCalls.end(), gate));
}

}  // namespace

void CallGate::lock() {
    const auto take = [this, self = std::this_thread::get_id()] {
        if (depth_ > 0 && owner_ != self) return false;
        owner_ = self;
        ++depth_;
        return true;
    };
    if (changed_.look(take)) return;
    const Addition::AtGate here(*this);
    // Taken out of the list too: a handler that the wait lets in may come here once more.
    const auto own = static_cast<std::uint32_t>(std::erase(ownCalls, this));
    changed_.change([&] { busyCount_ -= own; });
    changed_.wait([&] {
        if (!take()) return false;
        busyCount_ += own;
        return true;
    });
    ownCalls.insert(ownCalls.end(), own, this);
}

void CallGate::unlock() {
    changed_.change([this] { --depth_; });
}

void CallGate::enter() {
    ownCalls.push_back(this);
    changed_.look([this] { ++busyCount_; });
}

std::thread::id CallGate::owner() const {
    return changed_.look([this] { return depth_ > 0 ? owner_ : std::thread::id(); });
}

// The gate may be gone as soon as the count is given back.
void CallGate::leave() noexcept {
    const auto last = std::find(ownCalls.rbegin(), ownCalls.rend(), this);
    ownCalls.erase(std::next(last).base());
    changed_.change([this] { --busyCount_; });
}

bool CallGate::waitUntilQuiet(Signal::Duration limit) {
    std::optional<Closed> closed;
    if (limit == Signal::kForever) closed.emplace(*this, closed_);
    return changed_.wait([this, own = ownDepth(this)] { return busyCount_ == own; }, limit);
}

}  // namespace OpxOpc
