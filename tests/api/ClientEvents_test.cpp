#include "api/ClientEvents.h"

#include <string>

#include <gtest/gtest.h>

#include "com/com.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using OpxOpc::OpxItemValue;

constexpr std::uint32_t kSubscription = 0;
constexpr std::int32_t kClientSubscription = 70;
constexpr std::int32_t kTypeMismatch = hresult(0x80020005u);

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

// Events of a subscription with the items "one" (key 1), 2.5 (key 2) and one without handle (key 0).
class ClientEventsTest : public ::testing::Test {
protected:
    struct Event {
        std::int32_t clientSubscription;
        bool allQualitiesGood;
        bool noErrors;
        std::vector<ItemValueCallback> items;
    };

    ClientEventsTest() {
        events->subscriptions.add(5, kSubscription, kClientSubscription, {{1, "one"}, {2, 2.5}, {0, nullptr}});
        events->m_DataChanged.add([this](std::int32_t subscription, bool qualities, bool errors,
                                         const std::vector<ItemValueCallback>& items) {
            raised.push_back({subscription, qualities, errors, items});
        });
    }

    void dataChange(const std::vector<std::uint32_t>& keys, const std::vector<OpxItemValue>& values,
                    std::int32_t masterQuality = 0, std::int32_t masterError = 0,
                    const std::vector<std::int32_t>& codes = {}, std::uint32_t subscription = kSubscription) {
        callback->DataChange(subscription, masterQuality, masterError, static_cast<std::uint32_t>(keys.size()), keys,
                             values, codes);
    }

    std::shared_ptr<ClientEvents> events = std::make_shared<ClientEvents>();
    std::shared_ptr<CallbackWrapper> callback = ClientEvents::makeCallback(events);
    std::vector<Event> raised;
};

TEST_F(ClientEventsTest, ADataChangeBringsTheApplicationsOwnHandles) {
    dataChange({2, 99, 0, 1},
               {nativeValue(std::int32_t{-5}), nativeValue(1.5), nativeValue(true, 0x40), inconvertible()});
    ASSERT_EQ(raised.size(), 1u);
    EXPECT_EQ(raised[0].clientSubscription, kClientSubscription);
    const auto& items = raised[0].items;
    ASSERT_EQ(items.size(), 4u);

    EXPECT_EQ(items[0].ClientHandle(), Object(2.5));
    EXPECT_EQ(items[0].Value(), Object(-5));
    EXPECT_EQ(items[0].Quality(), QualityID::OPC_QUALITY_GOOD);
    EXPECT_EQ(toUtf8(items[0].TimeStamp().toText()), "2008-03-01T12:34:56.789Z");
    EXPECT_EQ(items[0].ResultID(), ResultID::WIN_S_OK);

    EXPECT_TRUE(items[1].Value().isNull()) << "an item that was never subscribed is left out";
    EXPECT_FALSE(items[1].Quality());
    EXPECT_FALSE(items[1].ResultID());

    EXPECT_TRUE(items[2].ClientHandle().isNull());
    EXPECT_EQ(items[2].Value(), Object(true));
    EXPECT_EQ(items[2].Quality(), QualityID::OPC_QUALITY_UNCERTAIN);

    EXPECT_EQ(items[3].ClientHandle(), Object("one"));
    EXPECT_TRUE(items[3].Value().isNull());
    EXPECT_EQ(items[3].ResultID(), ResultID(kTypeMismatch));
}

TEST_F(ClientEventsTest, MastersBecomeFlagsAndDecideWhetherTheServersCodesCount) {
    struct Case {
        std::int32_t masterQuality;
        std::int32_t masterError;
        std::vector<std::int32_t> codes;
        bool allQualitiesGood;
        bool noErrors;
        std::int32_t code;
        std::int32_t codeOfInconvertible;
    };
    const Case table[] = {
        {0, 0, {}, true, true, S_OK, kTypeMismatch},
        {0, 0, {E_FAIL, E_FAIL}, true, true, S_OK, kTypeMismatch},
        {1, 1, {E_FAIL, S_OK}, false, false, E_FAIL, S_OK},
        {2, 2, {E_FAIL, E_FAIL}, true, true, E_FAIL, E_FAIL},
        {-1, 1, {}, true, false, S_OK, S_OK},
    };
    for (const Case& expected : table) {
        SCOPED_TRACE(&expected - table);
        raised.clear();
        dataChange({1, 2}, {nativeValue(1.5), inconvertible()}, expected.masterQuality, expected.masterError,
                   expected.codes);
        ASSERT_EQ(raised.size(), 1u);
        EXPECT_EQ(raised[0].allQualitiesGood, expected.allQualitiesGood);
        EXPECT_EQ(raised[0].noErrors, expected.noErrors);
        EXPECT_EQ(raised[0].items[0].ResultID(), ResultID(expected.code));
        EXPECT_EQ(raised[0].items[1].ResultID(), ResultID(expected.codeOfInconvertible));
    }
}

TEST_F(ClientEventsTest, WhatTellsTheApplicationNothingRaisesNoEvent) {
    const std::vector<OpxItemValue> one = {nativeValue(1.5)};
    dataChange({1}, one, 0, 0, {}, kSubscription + 1);  // unknown subscription
    dataChange({98}, one);                              // unknown item
    dataChange({1}, one, 0, E_FAIL);                    // failed as a whole
    dataChange({}, {});
    dataChange({1}, {});                              // fewer values,
    dataChange({1, 2}, {one[0], one[0]}, 0, 1, {0});  // or codes, than items
    EXPECT_TRUE(raised.empty());
}

TEST_F(ClientEventsTest, OfTwoItemsWithTheSameKeyTheFirstOnesHandleIsReported) {
    using Adding = SubscriptionHandles::Adding;
    SubscriptionHandles& subscriptions = events->subscriptions;
    subscriptions.add(6, kSubscription + 1, 71, {{3, "of another subscription"}});
    {
        Adding failing(subscriptions, 5, {{1, "second"}, {3, "of a call that fails"}});
        Adding added(subscriptions, 5, {{3, "three"}});
        Adding(subscriptions, 7, {{1, "of no subscription"}}).keep();
        dataChange({1, 3}, {nativeValue(1.5), nativeValue(1.5)});  // before the calls have returned
        added.keep();
    }
    dataChange({1, 3}, {nativeValue(1.5), nativeValue(1.5)});
    ASSERT_EQ(raised.size(), 2u);
    EXPECT_EQ(raised[0].items[0].ClientHandle(), Object("one"));
    EXPECT_EQ(raised[0].items[1].ClientHandle(), Object("of a call that fails"));
    EXPECT_EQ(raised[1].items[0].ClientHandle(), Object("one"));
    EXPECT_EQ(raised[1].items[1].ClientHandle(), Object("three"));

    Adding late(subscriptions, 5, {{4, "four"}});
    subscriptions.remove(5);
    subscriptions.add(5, kSubscription, kClientSubscription, {});
    late.keep();
    dataChange({4}, {nativeValue(1.5)});
    EXPECT_EQ(raised.size(), 2u) << "what was added to a subscription goes with it";
}

TEST_F(ClientEventsTest, StatusesBecomeStatesAndAnUnknownOneKeepsTheState) {
    std::vector<std::pair<std::int32_t, ServerState>> states;
    events->m_ServerStateChanged.add(
        [&](std::int32_t clientHandle, ServerState state) { states.emplace_back(clientHandle, state); });
    for (const std::int32_t status : {3, 77, 2, -1, 1, 0}) {
        callback->ServerStatusChange(9, static_cast<OpxOpc::ServerStatus>(status));
    }
    EXPECT_EQ(states, (std::vector<std::pair<std::int32_t, ServerState>>{{9, ServerState::CONNECTED},
                                                                         {9, ServerState::CONNECTED},
                                                                         {9, ServerState::ERRORWATCHDOG},
                                                                         {9, ServerState::ERRORWATCHDOG},
                                                                         {9, ServerState::ERRORSHUTDOWN},
                                                                         {9, ServerState::DISCONNECTED}}));
}

TEST_F(ClientEventsTest, ACallbackThatComesAfterTheEndFindsNobody) {
    events->clear();
    events.reset();
    dataChange({1}, {nativeValue(1.5)});
    callback->ServerStatusChange(9, OpxOpc::SERVERSTATUS_CONNECTED);
    EXPECT_TRUE(raised.empty());
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
