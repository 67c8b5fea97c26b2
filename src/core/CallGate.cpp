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

// The gate is a lock by what it counts, which the analysis cannot see here.
void CallGate::lock() NO_THREAD_SAFETY_ANALYSIS {
    const auto self = std::this_thread::get_id();
    if (changed_.look([&]() REQUIRES(changed_) { return take(self); })) return;
    const Addition::AtGate here(*this);
    // Set aside and not only left uncounted: a handler that the wait lets in may come here once more.
    std::uint32_t own = 0;
    changed_.change([&]() REQUIRES(changed_) { own = setAside(self); });
    changed_.wait([&]() REQUIRES(changed_) {
        if (!take(self)) return false;
        if (own != 0) callsOf(self) += own;
        return true;
    });
}

bool CallGate::take(std::thread::id thread) {
    if (depth_ > 0 && owner_ != thread) return false;
    owner_ = thread;
    ++depth_;
    return true;
}

void CallGate::unlock() NO_THREAD_SAFETY_ANALYSIS {
    changed_.change([this]() REQUIRES(changed_) { --depth_; });
}

void CallGate::enter() {
    changed_.look([this]() REQUIRES(changed_) { ++callsOf(std::this_thread::get_id()); });
}

std::thread::id CallGate::owner() const {
    return changed_.look([this]() REQUIRES(changed_) { return depth_ > 0 ? owner_ : std::thread::id(); });
}

// The gate may be gone as soon as the count is given back.
void CallGate::leave() noexcept {
    changed_.change([this, self = std::this_thread::get_id()]() REQUIRES(changed_) {
        if (--callsOf(self) == 0) setAside(self);
    });
}

bool CallGate::waitUntilQuiet(Signal::Duration limit) {
    std::optional<Closed> closed;
    if (limit == Signal::kForever) closed.emplace(*this, closed_);
    const auto isQuiet = [this, self = std::this_thread::get_id()]() REQUIRES(changed_) {
        return std::ranges::all_of(calls_, [self](const ThreadCalls& each) { return each.thread == self; });
    };
    return changed_.wait(isQuiet, limit);
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
