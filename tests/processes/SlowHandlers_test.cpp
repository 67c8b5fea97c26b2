// Handlers that take longer than the server does: COM calls the client's sinks on several threads at once, and
// goes on with calls that are under way when their subscription, connection or client ends.
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/processes/ProcessFixture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using namespace std::chrono_literals;

constexpr int kSubscriptions = 4;
constexpr auto kSleep = 150ms;

// Counts the calls of a handler that sleeps, by subscription. Lives as long as the last call.
struct Sleeper {
    struct Counts {
        std::atomic<int> entered{0};
        std::atomic<int> inside{0};
    };

    void sleep(std::int32_t subscription) {
        Counts& of = counts.at(static_cast<std::size_t>(subscription));
        ++of.entered;
        ++of.inside;
        if (const int now = ++inside; now > most) most = now;
        std::this_thread::sleep_for(kSleep);
        --inside;
        --of.inside;
    }
    int entered() const {
        int sum = 0;
        for (const Counts& each : counts) sum += each.entered;
        return sum;
    }

    std::array<Counts, kSubscriptions> counts;
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
};

class SlowHandlers : public Testing::ProcessFixture {
protected:
    SlowHandlers() {
        server.add_DataChanged(
            [sleeper = sleeper](std::int32_t subscription, bool, bool, const std::vector<ItemValueCallback>&) {
                sleeper->sleep(subscription);
            });
        connectAndSubscribe();
    }

    void connectAndSubscribe() {
        bool connectFailed = true;
        server.Connect(kUrl, 7, &info, connectFailed);
        EXPECT_FALSE(connectFailed);
        for (std::int32_t i = 0; i < kSubscriptions; ++i) {
            NullableArray<ItemIdentifier> items = {ItemIdentifier("Signal.Ramp", "")};
            std::int32_t rate = 0;
            EXPECT_EQ(server.Subscribe(i, true, 10, rate, 0, items, handles.at(static_cast<std::size_t>(i))),
                      ReturnCode::SUCCEEDED);
        }
    }

    bool waitFor(const std::function<bool()>& condition) const {
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }
    bool isInMiddleOfSeveral() const {
        return waitFor([&] { return sleeper->inside >= 2; });
    }
    // No handler is entered any more, but by a thread that stood right before it at that moment.
    void expectSilence(int enteredBefore) const {
        std::this_thread::sleep_for(4 * kSleep);
        EXPECT_LE(sleeper->entered(), enteredBefore + kSubscriptions);
        EXPECT_EQ(sleeper->inside, 0);
    }

    const std::shared_ptr<Sleeper> sleeper = std::make_shared<Sleeper>();
    ConnectInfo info;
    DaServerMgt server;
    std::array<std::int32_t, kSubscriptions> handles = {};
};

TEST_F(SlowHandlers, RunAtTheSameTimeForDifferentSubscriptions) {
    EXPECT_TRUE(isInMiddleOfSeveral());
    for (const auto& each : sleeper->counts) EXPECT_TRUE(waitFor([&] { return each.entered >= 3; }));
    EXPECT_GE(sleeper->most, 2);
}

TEST_F(SlowHandlers, OfASubscriptionThatIsCancelledAreNotCalledAgain) {
    EXPECT_TRUE(isInMiddleOfSeveral());
    auto& cancelled = sleeper->counts[0];
    EXPECT_TRUE(waitFor([&] { return cancelled.inside > 0; }));
    server.SubscriptionCancel(handles[0]);
    const int entered = cancelled.entered;
    const int others = sleeper->entered() - entered;
    std::this_thread::sleep_for(6 * kSleep);
    EXPECT_LE(cancelled.entered, entered + 1);
    EXPECT_EQ(cancelled.inside, 0);
    EXPECT_GT(sleeper->entered() - cancelled.entered, others) << "the others deliver";
}

TEST_F(SlowHandlers, AreNotCalledAgainAfterDisconnecting) {
    for (int round = 0; round < 5; ++round) {
        EXPECT_TRUE(isInMiddleOfSeveral());
        server.Disconnect();
        expectSilence(sleeper->entered());
        connectAndSubscribe();
    }
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
