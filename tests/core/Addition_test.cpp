#include "core/Addition.h"

#include <atomic>
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
    std::atomic<int> gaveUp = 0;
    one.inside([&] { gaveUp += other.addition().wait() ? 0 : 1; });
    other.inside([&] { gaveUp += one.addition().wait() ? 0 : 1; });
    one.join();
    other.join();
    EXPECT_EQ(gaveUp, 1);
}

// A thread that has the gate, or that is waited for, may need what a thread adds that waits for it.
TEST(Addition, AWaitOfWhomTheAddingThreadWaitsForIsGivenUp) {
    CallGate gate;
    std::promise<void> reached;
    {
        Adder adder;
        const std::lock_guard guard(gate);
        adder.inside([&] {
            reached.set_value();
            const std::lock_guard inside(gate);
        });
        reached.get_future().wait();
        EXPECT_FALSE(adder.addition().wait());
    }
    Adder adder;
    std::thread waiting([&] { EXPECT_FALSE(adder.addition().wait()); });
    adder.inside([&] {
        const Addition::AtThread here(waiting.get_id());
        waiting.join();
    });
    adder.join();
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
