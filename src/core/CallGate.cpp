#include "core/CallGate.h"

#include <algorithm>
#include <optional>

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

}  // namespace

void CallGate::lock() {
    const auto self = std::this_thread::get_id();
    const auto take = [this, self] {
        if (depth_ > 0 && owner_ != self) return false;
        owner_ = self;
        ++depth_;
        return true;
    };
    if (changed_.look(take)) return;
    const Addition::AtGate here(*this);
    // Set aside and not only left uncounted: a handler that the wait lets in may come here once more.
    std::uint32_t own = 0;
    changed_.change([&] { own = setAside(self); });
    changed_.wait([&] {
        if (!take()) return false;
        if (own != 0) callsOf(self) += own;
        return true;
    });
}

void CallGate::unlock() {
    changed_.change([this] { --depth_; });
}

void CallGate::enter() {
    changed_.look([this] { ++callsOf(std::this_thread::get_id()); });
}

std::thread::id CallGate::owner() const {
    return changed_.look([this] { return depth_ > 0 ? owner_ : std::thread::id(); });
}

// The gate may be gone as soon as the count is given back.
void CallGate::leave() noexcept {
    changed_.change([this, self = std::this_thread::get_id()] {
        if (--callsOf(self) == 0) setAside(self);
    });
}

bool CallGate::waitUntilQuiet(Signal::Duration limit) {
    std::optional<Closed> closed;
    if (limit == Signal::kForever) closed.emplace(*this, closed_);
    const auto self = std::this_thread::get_id();
    return changed_.wait(
        [this, self] {
            return std::ranges::all_of(calls_, [self](const ThreadCalls& each) { return each.thread == self; });
        },
        limit);
}

std::uint32_t& CallGate::callsOf(std::thread::id thread) {
    const auto found = std::ranges::find(calls_, thread, &ThreadCalls::thread);
    return found == calls_.end() ? calls_.emplace_back(ThreadCalls{thread, 0}).count : found->count;
}

std::uint32_t CallGate::setAside(std::thread::id thread) noexcept {
    const auto found = std::ranges::find(calls_, thread, &ThreadCalls::thread);
    if (found == calls_.end()) return 0;
    const std::uint32_t count = found->count;
    *found = calls_.back();
    calls_.pop_back();
    return count;
}

}  // namespace OpxOpc
