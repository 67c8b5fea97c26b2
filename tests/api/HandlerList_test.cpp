#include "api/HandlerList.h"

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/TraceCapture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using Handlers = HandlerList<std::function<void(int)>>;

constexpr const char* kEvent = "Happened";

TEST(HandlerList, CallsInTheOrderOfRegistrationUntilAHandlerIsTakenBack) {
    Handlers handlers;
    std::string calls;
    const auto first = handlers.add([&](int) { calls += 'a'; });
    handlers.add([&](int) { calls += 'b'; });
    handlers.invoke(kEvent, 1);
    handlers.remove(first);
    handlers.remove(first);
    handlers.invoke(kEvent, 2);
    EXPECT_EQ(calls, "abb");
}

TEST(HandlerList, IgnoresAnEmptyHandlerAndAnUnknownToken) {
    Handlers handlers;
    EXPECT_EQ(handlers.add({}), 0u);
    EXPECT_TRUE(handlers.empty());
    handlers.add([](int) {});
    handlers.remove(0);
    handlers.remove(77);
    EXPECT_FALSE(handlers.empty());
}

TEST(HandlerList, AHandlerMayChangeTheListItIsCalledFrom) {
    Handlers handlers;
    int late = 0;
    std::uint64_t self = 0;
    self = handlers.add([&](int) {
        handlers.remove(self);
        handlers.add([&](int) { ++late; });
    });
    handlers.invoke(kEvent, 1);
    EXPECT_EQ(late, 0);
    handlers.invoke(kEvent, 2);
    EXPECT_EQ(late, 1);
}

TEST(HandlerList, AHandlerThatThrowsStopsTheLaterOnesOfThatEventOnly) {
    Handlers handlers;
    int calls = 0;
    bool angry = true;
    handlers.add([&](int) {
        if (angry) throw std::runtime_error("angry");
    });
    handlers.add([&](int) { ++calls; });
    EXPECT_THROW(handlers.invoke(kEvent, 1), std::runtime_error);
    EXPECT_EQ(calls, 0);
    angry = false;
    handlers.invoke(kEvent, 2);
    EXPECT_EQ(calls, 1);
}

// A clock that is set by hand.
class SetClock final : public OpxOpc::Clock {
public:
    SetClock() { replace(this); }
    ~SetClock() override { replace(nullptr); }
    std::int64_t now() override { return time; }
    void wait(std::chrono::milliseconds, const OpxOpc::StopFlag&, OpxOpc::Signal::Messages) override {}

    std::int64_t time = 1'000'000;
};

TEST(HandlerList, WhatAHandlerThrowsIsTracedOnceAHandlerAndMinute) {
    const std::string line = "Error: MCPP::DaServerMgt::Happened - A handler has thrown an exception: ";
    Testing::TraceCapture trace;
    SetClock clock;
    Handlers handlers;
    const auto first = handlers.add([](int number) {
        if (number == 0) throw std::runtime_error("angry");
        throw number;
    });
    const struct {
        std::int64_t time;
        int number;
        const char* told;
    } table[] = {
        {1'000'000, 0, "angry"}, {1'000'001, 0, ""}, {1'059'999, 1, ""}, {1'060'000, 1, "of an unknown kind"},
        {100, 0, "angry"},  // set back
    };
    for (const auto& each : table) {
        SCOPED_TRACE(each.time);
        trace.clear();
        clock.time = each.time;
        EXPECT_ANY_THROW(handlers.invoke(kEvent, each.number));
        EXPECT_EQ(trace.texts(), *each.told ? std::vector{line + each.told} : std::vector<std::string>());
    }
    handlers.remove(first);
    handlers.add([](int) { throw std::runtime_error("too"); });
    trace.clear();
    EXPECT_ANY_THROW(handlers.invoke(kEvent, 1));
    EXPECT_ANY_THROW(handlers.invoke(kEvent, 1));
    EXPECT_EQ(trace.texts(), std::vector{line + "too"}) << "each handler has its own line";
}

TEST(HandlerList, AHandlerKeepsWhatItRemembersFromEventToEvent) {
    Handlers handlers;
    std::string calls;
    handlers.add([&calls, count = 0](int) mutable { calls += std::to_string(++count); });
    handlers.invoke(kEvent, 1);
    handlers.invoke(kEvent, 1);
    EXPECT_EQ(calls, "12");
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
