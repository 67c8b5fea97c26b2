#include "threads/Clock.h"

#include <atomic>

#include "com/platform.h"

namespace OpxOpc {
namespace {

class SystemClock final : public Clock {
public:
    std::int64_t now() override {
        const Korvex::Com::ZonedTime time = Korvex::Com::currentTime();
        return time.seconds * 1000 + time.milliseconds;
    }

    void wait(std::chrono::milliseconds duration, const StopFlag& stop, Signal::Messages messages) override {
        stop.waitFor(duration, messages);
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
