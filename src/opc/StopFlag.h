// The request to a thread to end.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace OpxOpc {

// Any thread may call. (A wait with std::stop_token hangs now and then with mingw's threads.)
class StopFlag {
public:
    void set() {
        const std::lock_guard guard(lock_);
        set_ = true;
        changed_.notify_all();
    }
    bool isSet() const {
        const std::lock_guard guard(lock_);
        return set_;
    }
    // Returns after `duration`, or as soon as the flag is set.
    template <typename Rep, typename Period>
    void waitFor(std::chrono::duration<Rep, Period> duration) const {
        std::unique_lock guard(lock_);
        changed_.wait_for(guard, duration, [this] { return set_; });
    }

private:
    mutable std::mutex lock_;
    mutable std::condition_variable changed_;
    bool set_ = false;
};

}  // namespace OpxOpc
