#include "api/ClientEvents.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "com/com.h"
#include "tests/api/Story.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using OpxOpc::OpxItemValue;

constexpr std::uint32_t kSubscription = 0;
constexpr std::uint32_t kCall = 4;

using Keys = std::vector<std::uint32_t>;

template <typename T>
OpxItemValue nativeValue(const T& value, std::int32_t quality = 0xC0) {
    OpxItemValue result;
    result.value = value;
    result.quality = quality;
    result.timestamp = OpxOpc::OpxDate(1'204'374'896, 789);  // 2008-03-01 12:34:56.789
    return result;
}

// A value that has no VARIANT.
OpxItemValue inconvertible() {
    return nativeValue(OpxOpc::OpxVariant::unknown());
}

// Of a subscription with the items "one" (key 1), 2.5 (key 2) and one without handle (key 0), and of calls with the
// first two.
class ClientEventsTest : public ::testing::Test {
protected:
    ClientEventsTest() {
        events->subscriptions.add(5, kSubscription, 70, {{1, "one"}, {2, 2.5}, {0, nullptr}});
        events->reads.add(kCall, 40, {{1, "one"}, {2, 2.5}});
        events->writes.add(kCall, 41, {{1, "one"}, {2, 2.5}});
        events->m_DataChanged.add([this](std::int32_t subscription, bool qualities, bool errors,
                                         const std::vector<ItemValueCallback>& items) {
            story->put(lineOf<ItemValueCallback>(std::to_string(subscription), qualities, errors, items));
            last = items;
        });
        events->m_ReadCompleted.add(toldReads(story));
        events->m_WriteCompleted.add(toldWrites(story));
        events->m_ServerStateChanged.add(toldStates(story));
    }

    void change(const Keys& keys, const std::vector<OpxItemValue>& values, std::int32_t masterQuality = 0,
                std::int32_t masterError = 0, const std::vector<std::int32_t>& codes = {},
                std::uint32_t subscription = kSubscription) {
        callback->DataChange(subscription, masterQuality, masterError, static_cast<std::uint32_t>(keys.size()), keys,
                             values, codes);
    }
    void read(const Keys& keys, const std::vector<OpxItemValue>& values, std::int32_t quality, std::int32_t error,
              const std::vector<std::int32_t>& codes, std::uint32_t call = kCall) {
        callback->ReadComplete(call, quality, error, static_cast<std::uint32_t>(keys.size()), keys, values, codes);
    }
    void write(const Keys& keys, std::int32_t error, const std::vector<std::int32_t>& codes,
               std::uint32_t call = kCall) {
        callback->WriteComplete(call, error, static_cast<std::uint32_t>(keys.size()), keys, codes);
    }
    std::string told() { return story->isEmpty() ? "nothing" : story->next(); }

    const std::shared_ptr<Story> story = std::make_shared<Story>();
    std::shared_ptr<ClientEvents> events = std::make_shared<ClientEvents>();
    std::shared_ptr<CallbackWrapper> callback = ClientEvents::makeCallback(events);
    std::vector<ItemValueCallback> last;
};

TEST_F(ClientEventsTest, CallbacksBecomeEventsWithTheApplicationsOwnHandles) {
    const OpxItemValue good = nativeValue(1.5);
    const OpxItemValue bad = inconvertible();
    constexpr std::int32_t kOther = 0x00040404;
    const auto badRights = hresult(0xC0040006u);
    struct Row {
        std::function<void()> callback;
        std::string event;
    };
    const Row table[] = {
        {[&] {
             change({2, 99, 0, 1}, {nativeValue(std::int32_t{-5}), good, nativeValue(true, 0x40), bad});
         },
         "70: 2.5=-5, = no quality no result, =true OPC_QUALITY_UNCERTAIN, one= DISP_E_TYPEMISMATCH"},
        {[&] {
             change({1, 2}, {good, bad}, 0, 0, {E_FAIL, E_FAIL});
         },
         "70: one=1.5, 2.5= DISP_E_TYPEMISMATCH"},
        {[&] {
             change({1, 2}, {good, bad}, 1, 1, {E_FAIL, S_OK});
         },
         "70, not all good, with errors: one=1.5 E_FAIL, 2.5="},
        {[&] {
             change({1, 2}, {good, bad}, 2, 2, {E_FAIL, E_FAIL});
         },
         "70: one=1.5 E_FAIL, 2.5= E_FAIL"},
        {[&] {
             change({1, 2}, {good, bad}, -1, 1);
         },
         "70, with errors: one=1.5, 2.5="},
        {[&] { change({1}, {good}, 0, 0, {}, kSubscription + 1); }, "nothing"},  // unknown subscription
        {[&] { change({98}, {good}); }, "nothing"},                              // unknown item
        {[&] { change({1}, {good}, 0, E_FAIL); }, "nothing"},                    // failed as a whole
        {[&] { change({}, {}); }, "nothing"},
        {[&] { change({1}, {}); }, "nothing"},  // fewer values,
        {[&] {
             change({1, 2}, {good, good}, 0, 1, {0});
         },
         "nothing"},                                           // or codes, than items
        {[&] { read({1}, {good}, 0, 0, {}, 9); }, "nothing"},  // unknown calls,
        {[&] { write({1}, 0, {}, 9); }, "nothing"},
        {[&] { read({3}, {good}, 0, 0, {}); }, "nothing"},  // and items of them
        {[&] { write({3}, 0, {}); }, "nothing"},
    };
    for (const auto& row : table) {
        row.callback();
        EXPECT_EQ(told(), row.event) << &row - table;
    }
    change({1}, {good});
    EXPECT_EQ(told(), "70: one=1.5");
    EXPECT_EQ(toUtf8(last.at(0).TimeStamp().toText()), "2008-03-01T12:34:56.789Z");

    const Row completions[] = {
        // A value that does not convert makes its own and later items take the server's codes.
        {[&] {
             read({1, 2}, {bad, good}, 0, 0, {E_FAIL, badRights});
         },
         "read 40, with errors: one= E_FAIL, 2.5=1.5 OPC_E_BADRIGHTS"},
        {[&] {
             read({1, 2}, {good, good}, 0, kOther, {});
         },
         "read 40: one=1.5, 2.5=1.5"},
        {[&] {
             read({1, 2}, {good, good}, 1, E_FAIL, {E_FAIL, E_FAIL});
         },
         "read 40, not all good: null"},
        {[&] {
             write({1, 2}, kOther, {});
         },
         "write 41: one=S_OK, 2.5=S_OK"},
        {[&] {
             write({1, 2}, 1, {S_OK, badRights});
         },
         "write 41, with errors: one=S_OK, 2.5=OPC_E_BADRIGHTS"},
        {[&] {
             write({1, 2}, E_FAIL, {});
         },
         "write 41: null"},
    };
    for (const auto& row : completions) {
        events->reads.add(kCall, 40, {{1, "one"}, {2, 2.5}});
        events->writes.add(kCall, 41, {{1, "one"}, {2, 2.5}});
        row.callback();
        EXPECT_EQ(told(), row.event);
    }
    read({1}, {good}, 0, E_FAIL, {});
    EXPECT_TRUE(events->reads.takeItems(kCall)) << "items of a call that failed as a whole stay registered";
}

TEST_F(ClientEventsTest, OfTwoItemsWithTheSameKeyTheFirstOnesHandleIsReported) {
    using Adding = SubscriptionHandles::Adding;
    SubscriptionHandles& subscriptions = events->subscriptions;
    const std::vector<OpxItemValue> two = {nativeValue(1.5), nativeValue(1.5)};
    subscriptions.add(6, kSubscription + 1, 71, {{3, "of another subscription"}});
    {
        Adding failing(subscriptions, 5, {{1, "second"}, {3, "of a call that fails"}});
        Adding added(subscriptions, 5, {{3, "three"}});
        Adding(subscriptions, 7, {{1, "of no subscription"}}).keep();
        change({1, 3}, two);  // before the calls have returned
        EXPECT_EQ(told(), "70: one=1.5, of a call that fails=1.5");
        added.keep();
    }
    change({1, 3}, two);
    EXPECT_EQ(told(), "70: one=1.5, three=1.5");

    Adding late(subscriptions, 5, {{4, "four"}});
    subscriptions.remove(5);
    subscriptions.add(5, kSubscription, 70, {});
    late.keep();
    change({4}, {two[0]});
    EXPECT_EQ(told(), "nothing") << "what was added to a subscription goes with it";
}

TEST_F(ClientEventsTest, StatusesBecomeStatesAndAnUnknownOneKeepsTheState) {
    std::string states;
    for (const std::int32_t status : {3, 77, 2, -1, 1, 0}) {
        callback->ServerStatusChange(9, static_cast<OpxOpc::ServerStatus>(status));
        states += told() + "; ";
    }
    EXPECT_EQ(states, "9: state 4; 9: state 4; 9: state 3; 9: state 3; 9: state 2; 9: state 1; ");
}

TEST_F(ClientEventsTest, ACallbackThatComesAfterTheEndFindsNobody) {
    events->clear();
    events.reset();
    change({1}, {nativeValue(1.5)});
    callback->ServerStatusChange(9, OpxOpc::SERVERSTATUS_CONNECTED);
    EXPECT_EQ(told(), "nothing");
}

TEST(CallbackWrapper, HandsAllArgumentsOnAndKeepsExceptionsToItself) {
    CallbackWrapper wrapper;
    Keys seen;
    wrapper.ConnectReadComplete([&](std::uint32_t transaction, std::int32_t quality, std::int32_t error,
                                    std::uint32_t count, const Keys& handles, const auto& values, const auto& errors) {
        seen = {
            transaction,   static_cast<std::uint32_t>(quality),       static_cast<std::uint32_t>(error),       count,
            handles.at(0), static_cast<std::uint32_t>(values.size()), static_cast<std::uint32_t>(errors.at(0))};
        throw 5;
    });
    wrapper.ReadComplete(1, 2, 3, 4, {5}, std::vector<OpxItemValue>(6), {7});
    EXPECT_EQ(seen, (Keys{1, 2, 3, 4, 5, 6, 7}));
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
