#include "api/HandlerList.h"

#include <functional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

using Handlers = HandlerList<std::function<void(int)>>;

TEST(HandlerList, CallsInTheOrderOfRegistrationUntilAHandlerIsTakenBack) {
    Handlers handlers;
    std::string calls;
    const auto first = handlers.add([&](int) { calls += 'a'; });
    handlers.add([&](int) { calls += 'b'; });
    handlers.invoke(1);
    handlers.remove(first);
    handlers.remove(first);
    handlers.invoke(2);
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
    handlers.invoke(1);
    EXPECT_EQ(late, 0);
    handlers.invoke(2);
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
    EXPECT_THROW(handlers.invoke(1), std::runtime_error);
    EXPECT_EQ(calls, 0);
    angry = false;
    handlers.invoke(2);
    EXPECT_EQ(calls, 1);
}

TEST(HandlerList, AHandlerKeepsWhatItRemembersFromEventToEvent) {
    Handlers handlers;
    std::string calls;
    handlers.add([&calls, count = 0](int) mutable { calls += std::to_string(++count); });
    handlers.invoke(1);
    handlers.invoke(1);
    EXPECT_EQ(calls, "12");
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
