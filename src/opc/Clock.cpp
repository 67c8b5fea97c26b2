#include "opc/Clock.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "com/platform.h"

namespace OpxOpc {
namespace {

class SystemClock final : public Clock {
public:
    std::int64_t now() override {
        const Korvex::Com::ZonedTime time = Korvex::Com::currentTime();
        return time.seconds * 1000 + time.milliseconds;
    }

    void wait(std::chrono::milliseconds duration, const std::stop_token& stop) override {
        std::mutex lock;
        std::condition_variable_any stopped;
        std::unique_lock guard(lock);
        stopped.wait_for(guard, stop, duration, [] { return false; });
    }
};

std::atomic<Clock*> replacement = nullptr;

}  // namespace

Clock& Clock::current() noexcept {
    static SystemClock system;
    Clock* const other = replacement;
    return other ? *other : system;
}

void Clock::replace(Clock* clock) noexcept {
    replacement = clock;
}

}  // namespace OpxOpc
