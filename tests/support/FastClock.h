// A clock that runs ahead of the time.
#pragma once

#include <chrono>

#include "threads/Clock.h"

namespace Korvex::Testing {

// For the watch-dogs that are made while it lives; they must have ended when it dies. With `speed` 100,
// a period of two seconds takes 20 ms.
class FastClock final : public OpxOpc::Clock {
public:
    explicit FastClock(int speed) : speed_(speed), start_(std::chrono::steady_clock::now()) { replace(this); }
    ~FastClock() override { replace(nullptr); }

    std::int64_t now() override {
        using std::chrono::microseconds;
        const auto passed = std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start_);
        return passed.count() * speed_ / 1000;
    }
    void wait(std::chrono::milliseconds duration, const OpxOpc::StopFlag& stop,
              OpxOpc::Signal::Messages messages) override {
        stop.waitFor(std::chrono::microseconds(duration) / speed_, messages);
    }

private:
    const int speed_;
    const std::chrono::steady_clock::time_point start_;
};

}  // namespace Korvex::Testing
