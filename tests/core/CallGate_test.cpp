#include "core/CallGate.h"

#include <atomic>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "opc/apartment/ApartmentMode.h"
#include "tests/support/fastest.h"

namespace OpxOpc {
namespace {

using namespace std::chrono_literals;

// A call that began on the current thread.
class Call {
public:
    explicit Call(CallGate& gate) : gate_(gate) {
        const std::lock_guard guard(gate_);
        gate_.enter();
    }
    ~Call() { gate_.leave(); }

private:
    CallGate& gate_;
};

TEST(CallGate, WaitsForTheCallsOfOthersAndNotForItsOwn) {
    CallGate gate;
    const Call own(gate);
    std::promise<void> entered;
    std::promise<void> end;
    std::thread other([&] {
        const Call call(gate);
        entered.set_value();
        end.get_future().wait();
    });
    entered.get_future().wait();
    {
        const std::lock_guard guard(gate);
        EXPECT_FALSE(gate.waitUntilQuiet(100ms));
        end.set_value();
        EXPECT_TRUE(gate.waitUntilQuiet());
    }
    other.join();
}

TEST(CallGate, TheLastCallWakesWhoeverWaits) {
    const auto waitTwentyTimes = [] {
        CallGate gate;
        for (int i = 0; i < 20; ++i) {
            std::promise<void> entered;
            std::thread other([&] {
                const Call call(gate);
                entered.set_value();
                std::this_thread::sleep_for(1ms);
            });
            entered.get_future().wait();
            {
                const std::lock_guard guard(gate);
                EXPECT_TRUE(gate.waitUntilQuiet());
            }
            other.join();
        }
    };
    EXPECT_LT(Korvex::Testing::fastestOfFive(waitTwentyTimes), 500ms) << "looking every 50 ms would take a second";
}

// While a call stands at the lock, whoever waits for it goes on; afterwards it counts again.
TEST(CallGate, ACallInsideACallDoesNotKeepTheWaiterWaiting) {
    CallGate gate;
    std::promise<void> inCall;
    std::promise<void> locked;
    std::atomic<bool> through = false;
    std::thread caller([&] {
        const Call outer(gate);
        inCall.set_value();
        locked.get_future().wait();
        const Call inner(gate);
        through = true;
    });
    inCall.get_future().wait();
    gate.lock();
    locked.set_value();
    EXPECT_TRUE(gate.waitUntilQuiet(10s));
    EXPECT_FALSE(through);
    gate.unlock();
    caller.join();
    const std::lock_guard guard(gate);
    EXPECT_TRUE(gate.waitUntilQuiet(0ms)) << "every call is given back once";
}

}  // namespace
}  // namespace OpxOpc
