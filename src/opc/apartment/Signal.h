// A condition that threads wait for and others make true.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

#include "com/Mutex.h"
#include "com/platform.h"

namespace OpxOpc {

// Guards whatever the conditions depend on: it is changed and looked at through one of these. A waiting
// thread of a single-threaded apartment takes the calls that COM brings it, as soon as they come: without
// them the object that it waits for could not answer.
class CAPABILITY("signal") Signal {
public:
    using Duration = std::chrono::microseconds;
    static constexpr Duration kForever = Duration::max();

    enum class Messages { Take, Leave };
    // Take where the process is single-threaded.
    static Messages messagesOfApartment() noexcept;

    // Fields under the signal are annotated with the signal, and so are the functions that these three call: they are
    // not checked themselves, for the lock that they hold then is another one to the compiler.

    template <typename Change>
    void change(Change&& change) NO_THREAD_SAFETY_ANALYSIS {
        const Korvex::ScopedLock guard(lock_);
        change();
        changed_.notifyAll();
        for (Korvex::Com::WakeEvent* waiting : takingMessages_) waiting->set();
    }

    template <typename Look>
    auto look(Look&& look) const NO_THREAD_SAFETY_ANALYSIS {
        const Korvex::ScopedLock guard(lock_);
        return look();
    }

    // Returns true as soon as `isTrue` answers so, or false after `limit`. `isTrue` is called under the
    // signal's lock and may change what it guards, in a way that nobody else waits for.
    template <typename IsTrue>
    bool wait(IsTrue&& isTrue, Duration limit = kForever,
              Messages messages = messagesOfApartment()) NO_THREAD_SAFETY_ANALYSIS {
        {
            const Korvex::ScopedLock guard(lock_);
            if (isTrue()) return true;
            if (messages == Messages::Leave) return waitLeavingMessages(isTrue, limit);
        }
        return waitTakingMessages(std::ref(isTrue), limit);
    }

private:
    template <typename IsTrue>
    bool waitLeavingMessages(IsTrue& isTrue, Duration limit) REQUIRES(lock_) {
        if (limit != kForever) return changed_.waitFor(lock_, limit, isTrue);
        changed_.wait(lock_, isTrue);
        return true;
    }
    bool waitTakingMessages(const std::function<bool()>& isTrue, Duration limit);

    mutable Korvex::Mutex lock_;
    Korvex::Condition changed_;
    std::vector<Korvex::Com::WakeEvent*> takingMessages_ GUARDED_BY(lock_);
};

}  // namespace OpxOpc
