#include "core/Addition.h"

#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "core/CallGate.h"
#include "opc/apartment/ApartmentMode.h"

namespace OpxOpc {
namespace {

using namespace std::chrono_literals;

// A thread that adds until it is told to end, and may be told to do something meanwhile.
class Adder {
public:
    Adder() : thread_([this] { run(); }) { begun_.get_future().wait(); }
    ~Adder() {
        if (thread_.joinable()) join();
    }

    const Addition& addition() const { return *addition_; }
    void inside(std::function<void()> work) { work_.set_value(std::move(work)); }
    void join() { thread_.join(); }

private:
    void run() {
        addition_ = std::make_unique<Addition>();
        begun_.set_value();
        work_.get_future().get()();
        addition_->end();
    }

    std::unique_ptr<Addition> addition_;
    std::promise<void> begun_;
    std::promise<std::function<void()>> work_;
    std::thread thread_;
};

std::future<bool> waitFor(const Addition& addition) {
    return std::async(std::launch::async, [&] { return addition.wait(); });
}

TEST(Addition, IsWaitedForByOtherThreads) {
    for (const DWORD apartment : {COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED}) {
        SCOPED_TRACE(apartment);
        std::thread application([&] {
            ASSERT_EQ(CoInitializeEx(nullptr, apartment), S_OK);
            {
                const ApartmentShare share;
                Adder adder;
                auto waiting = waitFor(adder.addition());
                EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
                adder.inside([&] { EXPECT_FALSE(adder.addition().wait()) << "its own thread does not wait"; });
                EXPECT_TRUE(adder.addition().wait());
                EXPECT_TRUE(waiting.get());
            }
            CoUninitialize();
        });
        application.join();
    }
}

// Handlers that two servers call from inside of additions, each in need of what the other thread adds.
TEST(Addition, OfTwoThatWaitForEachOtherOneGivesUp) {
    Adder one;
    Adder other;
    bool oneSucceeded = false;
    one.inside([&] { oneSucceeded = other.addition().wait(); });
    std::this_thread::sleep_for(50ms);
    other.inside([&] { EXPECT_FALSE(one.addition().wait()); });
    one.join();
    other.join();
    EXPECT_TRUE(oneSucceeded);
}

// Who waits for the calls in progress at a gate would wait for a call that waits for an addition whose own
// thread cannot pass the gate.
TEST(Addition, AWaitThatAClosedGateWouldHoldUpIsGivenUp) {
    for (const bool adderCloses : {false, true}) {
        SCOPED_TRACE(adderCloses);
        CallGate gate;
        const auto call = [&](const std::function<void()>& work) {
            std::unique_lock guard(gate);
            gate.enter();
            guard.unlock();
            work();
            gate.leave();
        };
        Adder adder;
        std::promise<void> counted;
        auto waiting = std::async(std::launch::async, [&] {
            bool ended = true;
            call([&] {
                counted.set_value();
                ended = adder.addition().wait();
            });
            return ended;
        });
        counted.get_future().wait();
        const auto close = [&] {
            const std::lock_guard guard(gate);
            EXPECT_TRUE(gate.waitUntilQuiet());
        };
        if (adderCloses) {
            adder.inside(close);
        } else {
            std::unique_lock guard(gate);
            adder.inside([&] { call([] {}); });
            EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout) << "the gate may open any time";
            close();
        }
        EXPECT_FALSE(waiting.get());
        adder.join();
    }
}

}  // namespace
}  // namespace OpxOpc
