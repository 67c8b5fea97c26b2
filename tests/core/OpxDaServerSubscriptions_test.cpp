// What the engine promises of single subscriptions.
#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <vector>

#include "tests/core/RecoveryFixture.h"
#include "tests/support/RecordingCallback.h"

namespace OpxOpc {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class SubscriptionsTest : public RecoveryFixture {
protected:
    // Another subscription beside the fixture's, with one item.
    std::uint32_t subscribeAs(std::uint32_t clientSubscription, bool active = true) {
        auto one = named({OLESTR("Constant.Boolean")});
        std::uint32_t made = 0;
        EXPECT_EQ(server.subscribe(clientSubscription, active, 100, 0, one, &rate, &made, errors), S_OK);
        return made;
    }
};

TEST_F(SubscriptionsTest, HandlesThatBecameFreeAreGivenOutTheLongestFreeFirst) {
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(subscribeAs(1), 1u);
    EXPECT_EQ(subscribeAs(2), 2u);
    EXPECT_EQ(subscribeAs(3), 3u);
    EXPECT_EQ(server.subscriptionCancel(2), S_OK);
    EXPECT_EQ(server.subscriptionCancel(1), S_OK);
    EXPECT_EQ(server.subscriptionCancel(1), E_INVALIDARG);
    EXPECT_EQ(server.subscriptionCancel(4), hresult(0xC0040001u));
    EXPECT_TRUE(trace.has("<-- DaServerCom::subscriptionCancel [OPC_E_INVALIDHANDLE] - invalid hServerSubscription=4"));
    EXPECT_EQ(subscribeAs(4), 2u);
    EXPECT_EQ(subscribeAs(5), 1u);
    EXPECT_EQ(server.disconnect(), S_OK);
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(subscribeAs(6), 1u) << "a connection begins anew";
}

TEST_F(SubscriptionsTest, TheWrapperIsGoneBeforeCancellingHasReturned) {
    ASSERT_EQ(connect(), S_OK);
    ASSERT_EQ(subscribe(), S_OK);
    EXPECT_EQ(server.subscriptionCancel(handle), S_OK);
    EXPECT_TRUE(trace.hasInOrder({"DONE IOPCServer::RemoveGroup [hr=0x0]", "--> Dtor DaGroupWrapper",
                                  "<-- Dtor DaGroupWrapper", "<-- DaServerCom::subscriptionCancel [hr=0x0]"}));
}

TEST_F(SubscriptionsTest, OneThatTheServerWillNotActivateStaysWithoutCallback) {
    ASSERT_EQ(connect(), S_OK);
    sim.fault("IOPCGroupStateMgt::SetState", E_ACCESSDENIED);
    EXPECT_EQ(subscribe(), S_OK);
    EXPECT_EQ(handle, 1u);
    EXPECT_EQ(sim.counts()["sinks"], 1) << "that of Main";
    sim.execute("fault IOPCGroupStateMgt::SetState 0x0");
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("state 2"));
    sim.reset();
    ASSERT_TRUE(story.reaches("state 3"));
    EXPECT_EQ(sim.counts()["sinks"], 1);
}

TEST_F(SubscriptionsTest, OneThatTheServerWillNotEndIsSilentAndNeverMadeAgain) {
    connectAndSubscribe();
    subscribeAs(8);
    ASSERT_TRUE(story.reaches("8: 1 good"));
    sim.fault("IOPCServer::RemoveGroup", E_ACCESSDENIED, 1);
    EXPECT_EQ(server.subscriptionCancel(handle), E_ACCESSDENIED);
    story.forget();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("8: 1 bad"));
    sim.clearJournal();
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("8: 1 good"));
    EXPECT_THAT(story.lines(), ElementsAre("state 2", "8: 1 bad", "state 3", "8: 1 good"));
    EXPECT_EQ(callsOf("IOPCServer::AddGroup").size(), 2u) << "Main and 8";
    EXPECT_EQ(server.subscriptionCancel(handle), S_OK);
    EXPECT_EQ(server.subscriptionCancel(handle), E_INVALIDARG);
}

TEST_F(SubscriptionsTest, OneThatIsCancelledWhileTheLossIsReportedIsNotReportedAnyMore) {
    std::atomic<std::uint32_t> second = 0;
    std::atomic<std::int32_t> cancelled = E_FAIL;
    story.onData = [&] {
        const auto lines = story.lines();  // none when they are forgotten meanwhile
        if (!lines.empty() && lines.back() == "7: 1 bad 2 bad") cancelled = server.subscriptionCancel(second);
    };
    connectAndSubscribe();
    second = subscribeAs(8);
    ASSERT_TRUE(story.reaches("8: 1 good"));
    story.forget();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    EXPECT_EQ(cancelled, S_OK);
    EXPECT_THAT(story.lines(), ElementsAre("state 2", "7: 1 bad 2 bad", "state 3", "7: 1 good 2 good"));
    EXPECT_EQ(sim.counts()["groups"], 2);
}

TEST_F(SubscriptionsTest, OneThatIsCancelledInTheMiddleOfTheRecoveryIsNotMadeAgain) {
    std::atomic<std::uint32_t> second = 0;
    story.onState = [&](ServerStatus status) {
        if (status != SERVERSTATUS_CONNECTED || second == 0) return;
        EXPECT_EQ(server.subscriptionCancel(second), S_OK);
    };
    connectAndSubscribe();
    second = subscribeAs(8);
    ASSERT_TRUE(story.reaches("8: 1 good"));
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("8: 1 bad"));
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    EXPECT_EQ(sim.counts()["groups"], 2);
    EXPECT_EQ(sim.counts()["sinks"], 2);
}

TEST_F(SubscriptionsTest, TheLossComesAsEmptyBadValuesOfNow) {
    Korvex::Testing::RecordingCallback client;
    OpxDaServer other;
    ASSERT_EQ(other.connect(Korvex::Testing::simulationUrl(), info, 1, &client), S_OK);
    auto one = named({OLESTR("Constant.Int32")});
    ASSERT_EQ(other.subscribe(9, true, 100, 0, one, &rate, &handle, errors), S_OK);
    ASSERT_TRUE(client.waitForDataChanges(1));
    const std::int64_t before = OpxDate::now().time();
    sim.execute("dead");
    const auto isLoss = [](const auto& change) { return change.masterQuality == S_FALSE; };
    ASSERT_TRUE(client.waitForDataChange(isLoss));
    const auto changes = client.dataChanges();
    const auto& loss = *std::find_if(changes.begin(), changes.end(), isLoss);
    EXPECT_EQ(loss.masterError, S_OK);
    EXPECT_THAT(loss.errors, ElementsAre(S_OK));
    ASSERT_EQ(loss.values.size(), 1u);
    EXPECT_EQ(loss.values[0].value.type(), Opx::VType::Empty);
    EXPECT_EQ(loss.values[0].quality, 0);
    EXPECT_GE(loss.values[0].timestamp.time(), before);
    sim.execute("alive");
    EXPECT_EQ(other.disconnect(), S_OK);
}

TEST_F(SubscriptionsTest, TheNewConnectionKeepsTheLocaleThatWasAccepted) {
    info.localId = OLESTR("de-de");
    connectAndSubscribe();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.clearJournal();
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    const auto groups = callsOf("IOPCServer::AddGroup");
    ASSERT_EQ(groups.size(), 2u);
    for (const std::string& line : groups) EXPECT_THAT(line, HasSubstr("locale=1031"));
    EXPECT_THAT(callsOf("IOPCCommon::SetLocaleID"), IsEmpty());
}

TEST_F(SubscriptionsTest, ADeadServerIsAskedForNothingWhenItIsGivenUp) {
    connectAndSubscribe();
    sim.clearJournal();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    EXPECT_THAT(callsOf("IOPCServer::RemoveGroup"), IsEmpty());
}

TEST_F(SubscriptionsTest, ADeadbandThatIsNotANumberIsTheServersToJudge) {
    ASSERT_EQ(connect(), S_OK);
    items = named({OLESTR("Constant.Int32")});
    sim.clearJournal();
    server.subscribe(7, true, 100, std::numeric_limits<float>::quiet_NaN(), items, &rate, &handle, errors);
    EXPECT_THAT(callsOf("IOPCServer::AddGroup"), Contains(HasSubstr("deadband=nan")));
    EXPECT_EQ(server.subscribe(7, true, 100, 100.0f, items, &rate, &handle, errors), S_OK);
    EXPECT_EQ(server.subscribe(7, true, 100, 100.5f, items, &rate, &handle, errors), E_INVALIDARG);
}

}  // namespace
}  // namespace OpxOpc
