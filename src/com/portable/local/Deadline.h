// The moment until which something is waited for.
#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace Korvex::Com {

class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    static Deadline never() noexcept { return Deadline(Clock::time_point::max()); }
    static Deadline in(std::chrono::milliseconds time) { return Deadline(Clock::now() + time); }

    bool isNever() const noexcept { return moment_ == Clock::time_point::max(); }
    bool hasPassed() const { return !isNever() && Clock::now() >= moment_; }
    // Not to be asked of never().
    std::chrono::milliseconds left() const {
        using std::chrono::milliseconds;
        return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(moment_ - Clock::now()));
    }
    // As poll() takes it.
    int pollTime() const {
        if (isNever()) return -1;
        return static_cast<int>(
            std::min<std::chrono::milliseconds::rep>(left().count(), std::numeric_limits<int>::max()));
    }

private:
    explicit Deadline(Clock::time_point moment) noexcept : moment_(moment) {}

    Clock::time_point moment_;
};

}  // namespace Korvex::Com
