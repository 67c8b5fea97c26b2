// The clock of the library's own threads, which tests replace.
#pragma once

#include <chrono>
#include <cstdint>

#include "threads/StopFlag.h"

namespace OpxOpc {

// A test puts its own clock in the place of the system's, and minutes pass in no time.
class Clock {
public:
    virtual ~Clock() = default;

    // Wall clock time in milliseconds.
    virtual std::int64_t now() = 0;

    // Returns after `duration`, or as soon as `stop` is set.
    virtual void wait(std::chrono::milliseconds duration, const StopFlag& stop, Signal::Messages messages) = 0;

    // The clock that threads started from now on use. Any thread may call; a test that replaces it keeps
    // its own alive until those threads have ended.
    static Clock& current() noexcept;
    static void replace(Clock* clock) noexcept;  // null is the system's

protected:
    Clock() = default;
    Clock(const Clock&) = default;
    Clock& operator=(const Clock&) = default;
};

}  // namespace OpxOpc
