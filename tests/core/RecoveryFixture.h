// A connection that is lost and comes back, and the story that its client is told.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <korvex/native/OpxDaServer.h>

#include "tests/support/FastClock.h"
#include "tests/support/SimulationFixture.h"
#include "tests/support/simulation_url.h"

namespace OpxOpc {

inline constexpr std::int32_t kGood = 0xC0;

// Keeps one story of all that it is told: "state 3", "7: 1 good, 2 bad" (client handles of a data
// change of subscription 7). Good values that follow each other are told once.
class Story final : public OpxDataCallback {
public:
    void DataChange(std::uint32_t subscription, std::int32_t, std::int32_t masterError, std::uint32_t,
                    const std::vector<std::uint32_t>& handles, const std::vector<OpxItemValue>& values,
                    const std::vector<std::int32_t>& errors) override {
        if (masterError != S_OK) noteCodes(subscription, masterError, errors);
        std::string line = std::to_string(subscription) + ":";
        for (std::size_t i = 0; i < handles.size(); ++i) {
            line += " " + std::to_string(handles[i]) + (values[i].quality == kGood ? " good" : " bad");
        }
        tell(line);
        if (onData) onData();
    }
    void ReadComplete(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const std::vector<std::uint32_t>&,
                      const std::vector<OpxItemValue>&, const std::vector<std::int32_t>&) override {}
    void WriteComplete(std::uint32_t, std::int32_t, std::uint32_t, const std::vector<std::uint32_t>&,
                       const std::vector<std::int32_t>&) override {}
    void ServerStatusChange(std::uint32_t, ServerStatus status) override {
        tell("state " + std::to_string(status));
        if (onState) onState(status);
    }

    std::vector<std::string> lines() const {
        const std::lock_guard guard(lock_);
        return lines_;
    }
    // Waits until the story has gone on to `line` since the last such wait.
    ::testing::AssertionResult reaches(const std::string& line) {
        std::unique_lock guard(lock_);
        const bool reached = told_.wait_for(guard, std::chrono::seconds(20), [&] {
            for (std::size_t i = read_; i < lines_.size(); ++i) {
                if (lines_[i] != line) continue;
                read_ = i + 1;
                return true;
            }
            return false;
        });
        if (reached) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "waited for \"" << line << "\" after line " << read_ << " of " << ::testing::PrintToString(lines_);
    }

    // Master error and item errors of the subscription's last data change that had some.
    std::vector<std::int32_t> codes(std::uint32_t subscription) const {
        const std::lock_guard guard(lock_);
        return codes_.at(subscription);
    }
    std::size_t failedDataChanges() const {
        const std::lock_guard guard(lock_);
        return failedDataChanges_;
    }

    void forget() {
        const std::lock_guard guard(lock_);
        lines_.clear();
        read_ = 0;
        failedDataChanges_ = 0;
    }

    std::function<void()> onData;
    std::function<void(ServerStatus)> onState;

private:
    void noteCodes(std::uint32_t subscription, std::int32_t masterError, std::vector<std::int32_t> errors) {
        errors.insert(errors.begin(), masterError);
        const std::lock_guard guard(lock_);
        codes_[subscription] = std::move(errors);
        ++failedDataChanges_;
    }
    void tell(const std::string& line) {
        const std::lock_guard guard(lock_);
        if (!lines_.empty() && lines_.back() == line) return;
        lines_.push_back(line);
        told_.notify_all();
    }

    mutable std::mutex lock_;
    std::condition_variable told_;
    std::vector<std::string> lines_;
    std::size_t read_ = 0;
    std::map<std::uint32_t, std::vector<std::int32_t>> codes_;
    std::size_t failedDataChanges_ = 0;
};

// Items with the client handles 1, 2, ...
inline std::vector<OpxItemIdentifier> named(std::initializer_list<const OLECHAR*> names) {
    std::vector<OpxItemIdentifier> items;
    for (const OLECHAR* name : names) {
        items.emplace_back();
        items.back().itemName = name;
        items.back().clientHandle = static_cast<std::uint32_t>(items.size());
    }
    return items;
}

// A connection whose watch-dog runs a hundred times as fast as the time.
class RecoveryFixture : public Korvex::Testing::SimulationFixture {
protected:
    static constexpr std::uint32_t kSubscription = 7;

    explicit RecoveryFixture(int speed = 100) : clock(speed), idle(sim.counts()) { info.keepAliveTime = 2000; }
    ~RecoveryFixture() override {
        sim.reset();
        server.disconnect();
    }

    std::int32_t connect() { return server.connect(Korvex::Testing::simulationUrl(), info, 1, &story); }

    std::int32_t subscribe(std::initializer_list<const OLECHAR*> names = {OLESTR("Constant.Int32"),
                                                                          OLESTR("Constant.Double")}) {
        items = named(names);
        return server.subscribe(kSubscription, true, 100, 2.5f, items, &rate, &handle, errors);
    }
    void connectAndSubscribe() {
        ASSERT_EQ(connect(), S_OK);
        ASSERT_EQ(subscribe(), S_OK);
        ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    }

    std::vector<std::string> callsOf(const std::string& method) { return sim.journal(method); }

    Korvex::Testing::FastClock clock;
    const std::map<std::string, int> idle;
    Story story;
    OpxServerConnectInfo info;
    std::vector<OpxItemIdentifier> items;
    std::vector<std::int32_t> errors;
    std::uint32_t rate = 0;
    std::uint32_t handle = 0;
    OpxDaServer server;
};

}  // namespace OpxOpc
