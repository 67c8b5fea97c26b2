// A connection that is lost and comes back, and the story that its client is told.
#pragma once

#include <algorithm>
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
#include "tests/support/SimulationSteps.h"
#include "tests/support/simulation_url.h"

namespace OpxOpc {

using Korvex::Testing::itemsNamed;

inline constexpr std::int32_t kGood = 0xC0;

inline constexpr std::uint32_t kClient = 4711;

// Keeps one story of all that it is told: "state 3", "7: 1 good 2 bad 0xc0040007 (0x1)" (client handles of a data
// change of subscription 7, codes of items, the master error), "read 70: 1=5", "write 71: 1=ok". Good values that
// follow each other are told once.
class Story final : public OpxDataCallback {
public:
    using Handles = std::vector<std::uint32_t>;
    using Values = std::vector<OpxItemValue>;
    using Codes = std::vector<std::int32_t>;

    void DataChange(std::uint32_t subscription, std::int32_t, std::int32_t masterError, std::uint32_t,
                    const Handles& handles, const Values& values, const Codes& errors) override {
        std::string line = std::to_string(subscription) + ":";
        for (std::size_t i = 0; i < handles.size(); ++i) {
            line += " " + std::to_string(handles[i]) + (values[i].quality == kGood ? " good" : " bad");
            if (i < errors.size() && errors[i] != S_OK) line += " " + Korvex::Testing::hex(errors[i]);
        }
        tell(line + (masterError == S_OK ? "" : " (" + Korvex::Testing::hex(masterError) + ")"));
    }
    void ReadComplete(std::uint32_t id, std::int32_t, std::int32_t, std::uint32_t, const Handles& handles,
                      const Values& values, const Codes& errors) override {
        tellItems("read " + std::to_string(id), handles, errors,
                  [&](std::size_t i) { return toUtf8(values[i].value.toString()); });
    }
    void WriteComplete(std::uint32_t id, std::int32_t, std::uint32_t, const Handles& handles,
                       const Codes& errors) override {
        tellItems("write " + std::to_string(id), handles, errors, [](std::size_t) { return "ok"; });
    }
    void ServerStatusChange(std::uint32_t client, ServerStatus status) override {
        EXPECT_EQ(client, kClient);
        tell("state " + std::to_string(status));
    }

    std::vector<std::string> lines() const {
        const std::lock_guard guard(lock_);
        return lines_;
    }
    // Waits until the story has gone on to `line` since the last such wait.
    ::testing::AssertionResult reaches(const std::string& line) {
        std::unique_lock guard(lock_);
        const bool reached = told_.wait_for(guard, std::chrono::seconds(20), [&] {
            const auto found = std::find(lines_.begin() + read_, lines_.end(), line);
            if (found != lines_.end()) read_ = found + 1 - lines_.begin();
            return found != lines_.end();
        });
        if (reached) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "waited for \"" << line << "\" after line " << read_ << " of " << ::testing::PrintToString(lines_);
    }
    void forget() {
        const std::lock_guard guard(lock_);
        lines_.clear();
        read_ = 0;
    }

    // Called inside of every callback with its line.
    std::function<void(const std::string& line)> onLine;

private:
    template <typename Text>
    void tellItems(std::string line, const Handles& handles, const Codes& errors, Text textOf) {
        line += ":";
        for (std::size_t i = 0; i < handles.size(); ++i) {
            const bool isRefused = i < errors.size() && errors[i] != S_OK;
            line += " " + std::to_string(handles[i]) + "=" + (isRefused ? Korvex::Testing::hex(errors[i]) : textOf(i));
        }
        tell(line);
    }
    void tell(const std::string& line) {
        {
            const std::lock_guard guard(lock_);
            const bool isRepeated = !lines_.empty() && lines_.back() == line && line.find(" bad") == line.npos;
            if (!isRepeated) lines_.push_back(line);
            told_.notify_all();
        }
        if (onLine) onLine(line);
    }

    mutable std::mutex lock_;
    std::condition_variable told_;
    std::vector<std::string> lines_;
    std::ptrdiff_t read_ = 0;
};

// A connection whose watch-dog runs a hundred times as fast as the time.
class RecoveryFixture : public Korvex::Testing::SimulationFixture {
protected:
    static constexpr std::uint32_t kSubscription = 7;

    explicit RecoveryFixture(int speed = 100) : clock(speed), idle(sim.counts()) { info.keepAliveTime = 2000; }
    ~RecoveryFixture() override {
        sim.reset();
        server.disconnect();
    }

    std::int32_t connect() { return server.connect(Korvex::Testing::simulationUrl(), info, kClient, &story); }

    std::int32_t subscribe() {
        items = itemsNamed({"Constant.Int32", "Constant.Double"});
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
