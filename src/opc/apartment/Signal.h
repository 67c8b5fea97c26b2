// A condition that threads wait for and others make true.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

#include "com/platform.h"

namespace OpxOpc {

// Guards whatever the conditions depend on: it is changed and looked at through one of these. A waiting
// thread of a single-threaded apartment takes the calls that COM brings it, as soon as they come: without
// them the object that it waits for could not answer.
class Signal {
public:
    using Duration = std::chrono::microseconds;
    static constexpr Duration kForever = Duration::max();

    enum class Messages { Take, Leave };
    // Take where the process is single-threaded.
    static Messages messagesOfApartment() noexcept;

    template <typename Change>
    void change(Change&& change) {
        const std::lock_guard guard(lock_);
        change();
        changed_.notify_all();
        for (Korvex::Com::WakeEvent* waiting : takingMessages_) waiting->set();
    }

    template <typename Look>
    auto look(Look&& look) const {
        const std::lock_guard guard(lock_);
        return look();
    }

    // Returns true as soon as `isTrue` answers so, or false after `limit`. `isTrue` is called under the
    // signal's lock and may change what it guards, in a way that nobody else waits for.
    template <typename IsTrue>
    bool wait(IsTrue&& isTrue, Duration limit = kForever, Messages messages = messagesOfApartment()) {
        std::unique_lock guard(lock_);
        if (isTrue()) return true;
        if (messages == Messages::Take) return waitTakingMessages(guard, std::ref(isTrue), limit);
        if (limit != kForever) return changed_.wait_for(guard, limit, isTrue);
        changed_.wait(guard, isTrue);
        return true;
    }

private:
    bool waitTakingMessages(std::unique_lock<std::mutex>& guard, const std::function<bool()>& isTrue, Duration limit);

    mutable std::mutex lock_;
    std::condition_variable changed_;
    std::vector<Korvex::Com::WakeEvent*> takingMessages_;
};

}  // namespace OpxOpc
