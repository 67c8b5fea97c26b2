#include "threads/WatchDog.h"

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/support/TraceCapture.h"
#include "tests/support/expected_lines.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::TraceCapture;
using ::testing::ElementsAre;

std::vector<std::string> expected(const std::string& name) {
    return Korvex::Testing::linesOf("threads/expected.trace", name);
}

// Waiting takes no time, and the time passes all the same.
class InstantClock final : public Clock {
public:
    InstantClock() { replace(this); }
    ~InstantClock() override { replace(nullptr); }

    std::int64_t now() override { return time_; }
    void wait(std::chrono::milliseconds duration, const StopFlag&, Signal::Messages) override {
        time_ += duration.count() * scale;
    }

    void advance(std::int64_t milliseconds) { time_ += milliseconds; }

    int scale = 1;
    static constexpr std::int64_t kStart = 1'700'000'000'000;

private:
    std::atomic<std::int64_t> time_ = kStart;
};

// Writes down what the watch-dog does and when, in milliseconds since its start.
class ScriptedConnection final : public WatchedConnection {
public:
    explicit ScriptedConnection(InstantClock& clock) : clock_(clock) {}

    ServerStatus state() override { return current; }
    bool reconnectsAfterError() override { return reconnects; }
    HRESULT probe() override {
        note("probe");
        return onProbe ? onProbe() : S_OK;
    }
    void markLost(ServerStatus why) override {
        current = why;
        loss = why;
    }
    std::optional<ServerStatus> takeLoss() override { return std::exchange(loss, std::nullopt); }
    HRESULT internalDisconnect(bool shutdown) override {
        note(shutdown ? "drop after shutdown" : "drop");
        return S_OK;
    }
    void reportLoss(ServerStatus why) override { note("report " + std::to_string(why)); }
    void sendAllQualityBad() override { note("bad quality"); }
    HRESULT internalConnect() override {
        note("reconnect");
        const HRESULT hr = onReconnect ? onReconnect() : E_FAIL;
        if (succeeded(hr)) current = SERVERSTATUS_CONNECTED;
        return hr;
    }
    void recoverIncompleteSubscriptions() override {}

    // Stops the watch-dog when `count` lines are written, and returns them when it has ended.
    std::vector<std::string> watch(const std::shared_ptr<ScriptedConnection>& self, std::uint32_t period,
                                   std::size_t count) {
        const auto dog = std::make_shared<WatchDog>(self, period);
        count_ = count;
        stop_ = [&dog] { dog->requestStop(); };
        if (onStart) onStart(*dog);
        dog->create(dog);
        dog->start();
        dog->wait();
        return lines_;
    }

    std::atomic<ServerStatus> current = SERVERSTATUS_CONNECTED;
    std::optional<ServerStatus> loss;
    bool reconnects = true;
    std::function<void(WatchDog&)> onStart;
    std::function<HRESULT()> onProbe;
    std::function<HRESULT()> onReconnect;

private:
    void note(const std::string& what) {
        lines_.push_back(std::to_string(clock_.now() - InstantClock::kStart) + " " + what);
        if (lines_.size() >= count_) stop_();
    }

    InstantClock& clock_;
    std::size_t count_ = 0;
    std::function<void()> stop_;
    std::vector<std::string> lines_;
};

class WatchDogTest : public ::testing::Test {
protected:
    std::vector<std::string> watch(std::uint32_t period, std::size_t count) {
        return connection->watch(connection, period, count);
    }

    TraceCapture trace;
    InstantClock clock;
    std::shared_ptr<ScriptedConnection> connection = std::make_shared<ScriptedConnection>(clock);
};

TEST_F(WatchDogTest, ProbesWhenStrictlyMoreThanAPeriodHasPassed) {
    EXPECT_THAT(watch(2000, 3), ElementsAre("2200 probe", "4400 probe", "6600 probe"));
}

TEST_F(WatchDogTest, RaisesAShortPeriodAndTakesALongOneForWhatItIs) {
    EXPECT_THAT(watch(500, 2), ElementsAre("2200 probe", "4400 probe"));
    auto negative = std::make_shared<ScriptedConnection>(clock);
    const std::int64_t before = clock.now();
    clock.scale = 100'000;
    negative->watch(negative, static_cast<std::uint32_t>(-1), 1);
    EXPECT_GT(clock.now() - before, std::int64_t{0xFFFFFFFF}) << "a negative time is a long one";
}

TEST_F(WatchDogTest, BacksOffByAPeriodUpToTenAndStartsOverAfterASuccess) {
    int attempts = 0;
    connection->onProbe = [] { return E_FAIL; };
    connection->onReconnect = [&] { return ++attempts == 11 ? S_OK : E_FAIL; };
    EXPECT_EQ(watch(2000, 19), expected("BacksOffByAPeriodUpToTenAndStartsOverAfterASuccess"));
}

TEST_F(WatchDogTest, WaitsAMinuteAfterARequestToLeaveAndFallsBackToTenPeriods) {
    connection->onStart = [](WatchDog& dog) { dog.ServerStatusChange(0, SERVERSTATUS_CONNECTED); };
    EXPECT_THAT(watch(2000, 6), ElementsAre("200 drop after shutdown", "200 report 1", "200 bad quality",
                                            "60200 reconnect", "80400 reconnect", "100600 reconnect"));
}

TEST_F(WatchDogTest, WithALongPeriodTheMinuteGrowsByAPeriod) {
    connection->onStart = [](WatchDog& dog) { dog.ServerStatusChange(0, SERVERSTATUS_SHUTDOWN); };
    EXPECT_THAT(watch(10000, 6), ElementsAre("200 drop after shutdown", "200 report 1", "200 bad quality",
                                             "60200 reconnect", "130400 reconnect", "210600 reconnect"));
}

TEST_F(WatchDogTest, EndsAfterALossThatIsNotRepaired) {
    connection->reconnects = false;
    connection->onProbe = [] { return E_FAIL; };
    EXPECT_THAT(watch(2000, 100), ElementsAre("2200 probe", "2400 drop", "2400 report 2", "2400 bad quality"));
    EXPECT_EQ(clock.now() - InstantClock::kStart, 6400);
    EXPECT_TRUE(trace.hasInOrder({"Ctor WatchDog", "--> WatchDog::run", "<-- WatchDog::run"}));
}

TEST_F(WatchDogTest, ATimeThatIsSetBackCostsNoMoreThanAPeriod) {
    bool first = true;
    connection->onProbe = [&] {
        if (std::exchange(first, false)) clock.advance(-3'600'000);
        return S_OK;
    };
    EXPECT_THAT(watch(2000, 3), ElementsAre("2200 probe", "-3595400 probe", "-3593200 probe"));
}

TEST_F(WatchDogTest, WhatAReconnectLeftOutDoesNotLengthenTheWaitAfterTheNextLoss) {
    int probes = 0;
    connection->onProbe = [&] { return ++probes % 2 == 1 ? E_FAIL : S_OK; };
    connection->onReconnect = [&] {
        connection->current = SERVERSTATUS_CONNECTED;
        return E_FAIL;
    };
    EXPECT_EQ(watch(2000, 11), expected("WhatAReconnectLeftOutDoesNotLengthenTheWaitAfterTheNextLoss"));
}

TEST_F(WatchDogTest, AnExceptionCostsOnePassAndNotTheThread) {
    connection->onProbe = []() -> HRESULT { throw std::runtime_error("no probe"); };
    EXPECT_THAT(watch(2000, 2), ElementsAre("2200 probe", "4400 probe"));
    EXPECT_EQ(trace.count("Error: WatchDog::run - Error in watchdog function"), 2u);
}

}  // namespace
}  // namespace OpxOpc
