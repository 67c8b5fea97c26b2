#include "opc/apartment/Signal.h"

#include "opc/apartment/ApartmentMode.h"

namespace OpxOpc {
namespace {

using Time = std::chrono::steady_clock;

Signal::Duration untilThe(Time::time_point end) {
    return std::chrono::ceil<Signal::Duration>(end - Time::now());
}

}  // namespace

Signal::Messages Signal::messagesOfApartment() noexcept {
    return ApartmentMode::isSingleThreaded() ? Messages::Take : Messages::Leave;
}

// A call that is taken may wait here once more, for the same condition or another.
bool Signal::waitTakingMessages(const std::function<bool()>& isTrue, Duration limit) {
    const auto begun = Time::now();
    Korvex::Com::WakeEvent wakeUp;
    Korvex::ScopedLock guard(lock_);
    takingMessages_.push_back(&wakeUp);
    bool reached = false;
    for (Duration rest = limit; rest > Duration::zero(); rest = limit == kForever ? limit : untilThe(begun + limit)) {
        guard.unlock();
        Korvex::Com::pumpMessages();
        guard.lock();
        reached = isTrue();
        if (reached) break;
        guard.unlock();
        wakeUp.waitForItOrMessages(rest);
        guard.lock();
    }
    std::erase(takingMessages_, &wakeUp);
    return reached || isTrue();
}

}  // namespace OpxOpc
