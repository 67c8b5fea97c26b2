// Connections that are lost and come back, as an application of the facade sees it.
#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tests/core/RecoveryFixture.h"
#include "tests/support/expected_lines.h"

namespace OpxOpc {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

using RecoveryTest = RecoveryFixture;

std::vector<std::string> expected(const std::string& name) {
    return Korvex::Testing::linesOf("core/expected.trace", name);
}

class StressTest : public RecoveryTest {
protected:
    StressTest() : RecoveryTest(1000) {}

private:
    Korvex::Testing::TraceOff noTrace_;
};

// ---- Each way to lose a server -------------------------------------------------------------------

TEST_F(RecoveryTest, ADeadServerIsReportedAndComesBackWithEverySetting) {
    connectAndSubscribe();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.clearJournal();
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));

    EXPECT_THAT(story.lines(),
                ElementsAre("state 3", "7: 1 good 2 good", "state 2", "7: 1 bad 2 bad", "state 3", "7: 1 good 2 good"));
    EXPECT_THAT(callsOf("IOPCServer::AddGroup"),
                Contains(::testing::AllOf(HasSubstr("active=1"), HasSubstr("rate=100"), HasSubstr("deadband=2.5"))));
    EXPECT_TRUE(trace.has("Lost connection to OPC Server  on "));
    EXPECT_TRUE(trace.has("Successfully reconnected to OPC Server  on "));
    EXPECT_TRUE(trace.hasInOrder(expected("ADeadServerIsReportedAndComesBackWithEverySetting")));
    EXPECT_THAT(callsOf("IOPCCommon::SetLocaleID"), ElementsAre()) << "no further locale call";
}

TEST_F(RecoveryTest, AServerThatAsksToLeaveIsLeftInOrderAndTriedAgainAMinuteLater) {
    connectAndSubscribe();
    sim.clearJournal();
    const std::int64_t asked = clock.now();
    sim.execute("shutdown maintenance");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    EXPECT_GE(clock.now() - asked, 57'000) << "a minute from the last check, which was a period ago at most";

    EXPECT_THAT(story.lines(),
                ElementsAre("state 3", "7: 1 good 2 good", "state 1", "7: 1 bad 2 bad", "state 3", "7: 1 good 2 good"));
    EXPECT_EQ(callsOf("IOPCServer::RemoveGroup").size(), 2u) << "the groups of the server that goes";
}

TEST_F(RecoveryTest, ACallThatHangsIsWaitedForBeforeTheLossIsReported) {
    connectAndSubscribe();
    sim.execute("hang IOPCSyncIO2::ReadMaxAge");
    auto reading = std::async(std::launch::async, [&] {
        auto read = named({OLESTR("Constant.Int32")});
        std::vector<OpxItemValue> values;
        std::vector<std::int32_t> codes;
        return server.read(1000, read, values, codes);
    });
    while (callsOf("IOPCSyncIO2::ReadMaxAge").empty()) std::this_thread::sleep_for(1ms);
    sim.fault("IOPCServer::GetStatus", E_FAIL);
    std::this_thread::sleep_for(100ms);  // of the watch-dog's time: ten seconds
    EXPECT_THAT(story.lines(), Not(Contains("state 2")));
    sim.reset();
    EXPECT_EQ(reading.get(), S_OK);
    ASSERT_TRUE(story.reaches("state 2"));
    ASSERT_TRUE(story.reaches("7: 1 good 2 good")) << "and it comes back";
}

TEST_F(RecoveryTest, AnInitialConnectionIsRetriedAndTakesSubscriptionsMeanwhile) {
    info.retryInitialConnect = true;
    sim.execute("dead");
    ASSERT_EQ(connect(), S_FALSE);
    ASSERT_EQ(subscribe(), S_OK);
    EXPECT_EQ(rate, 100u);
    EXPECT_EQ(server.subscriptionModify(handle, 250u, &rate), S_FALSE);
    std::uint32_t cancelled = 0;
    auto others = named({OLESTR("Constant.Boolean")});
    ASSERT_EQ(server.subscribe(8, true, 100, 0, others, &rate, &cancelled, errors), S_OK);
    EXPECT_EQ(server.subscriptionCancel(cancelled), S_OK);

    sim.clearJournal();
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    EXPECT_THAT(story.lines(), ElementsAre("state 2", "state 3", "7: 1 good 2 good"));
    EXPECT_THAT(callsOf("IOPCServer::AddGroup"), ElementsAre(HasSubstr("name=Main"), HasSubstr("rate=250")));
}

TEST_F(RecoveryTest, WithoutReconnectingTheLossIsReportedOnceAndCallsAreRefused) {
    info.reconnectAfterConnectionError = false;
    connectAndSubscribe();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    EXPECT_EQ(server.subscriptionModify(handle, true), E_FAIL);
    sim.execute("alive");
    std::this_thread::sleep_for(150ms);  // fifteen seconds for the watch-dog
    EXPECT_THAT(story.lines(), ElementsAre("state 3", "7: 1 good 2 good", "state 2", "7: 1 bad 2 bad"));
    EXPECT_TRUE(trace.has("<-- WatchDog::run"));
}

TEST_F(RecoveryTest, AShutdownRightAfterConnectIsNotLost) {
    sim.execute("shutdown");  // nobody is there yet
    story.onState = [&](ServerStatus status) {
        if (status == SERVERSTATUS_CONNECTED && story.lines().size() == 1) sim.execute("shutdown");
    };
    ASSERT_EQ(connect(), S_OK);
    ASSERT_TRUE(story.reaches("state 1"));
    EXPECT_THAT(story.lines(), ElementsAre("state 3", "state 1"));
}

TEST_F(RecoveryTest, AShutdownInTheMiddleOfConnectingOrReconnectingComesAfterIt) {
    sim.execute("welcome shutdown");
    ASSERT_EQ(connect(), S_OK);
    ASSERT_TRUE(story.reaches("state 1"));
    EXPECT_THAT(story.lines(), ElementsAre("state 3", "state 1"));
    story.forget();
    ASSERT_TRUE(story.reaches("state 3"));  // a minute later
    ASSERT_TRUE(story.reaches("state 1"));
    sim.execute("welcome usual");
    ASSERT_TRUE(story.reaches("state 3"));
    EXPECT_EQ(subscribe(), S_OK);
    EXPECT_TRUE(story.reaches("7: 1 good 2 good"));
}

TEST_F(RecoveryTest, ASingleThreadedApartmentLosesAndRegainsItsServerToo) {
    inSingleThreadedApartment([&] {
        connectAndSubscribe();
        sim.execute("dead");
        ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
        sim.execute("alive");
        ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
        EXPECT_EQ(server.subscriptionModify(handle, 300u, &rate), S_OK);
        EXPECT_EQ(server.disconnect(), S_OK);
    });
}

TEST_F(RecoveryTest, ASingleThreadedApartmentStaysOneWhileItsFirstConnectionIsRetried) {
    info.retryInitialConnect = true;
    inSingleThreadedApartment([&] {
        sim.execute("dead");
        ASSERT_EQ(connect(), S_FALSE);
        ASSERT_TRUE(story.reaches("state 2"));
        sim.execute("alive");
        ASSERT_TRUE(story.reaches("state 3"));
        EXPECT_EQ(subscribe(), S_OK);
        EXPECT_TRUE(story.reaches("7: 1 good 2 good"));
        EXPECT_EQ(server.disconnect(), S_OK);
    });
    EXPECT_FALSE(trace.has("Ctor DaServerMgtPrivate - initialized COM as MTA"));
    EXPECT_EQ(trace.count("Ctor DaServerMgtPrivate - COM is already initialized as STA"), 1u);
}

TEST_F(RecoveryTest, AMutexAroundCallsAndInTheHandlerStopsNobody) {
    std::mutex own;
    std::atomic<int> waitingIn = -1;
    connectAndSubscribe();
    story.onState = [&](ServerStatus status) {
        waitingIn = status;
        const std::lock_guard guard(own);
        waitingIn = -1;
    };
    for (const ServerStatus last : {SERVERSTATUS_WATCHDOG_ERROR, SERVERSTATUS_CONNECTED}) {
        {
            const std::lock_guard guard(own);
            sim.execute(last == SERVERSTATUS_CONNECTED ? "alive" : "dead");
            while (waitingIn != last) std::this_thread::sleep_for(1ms);
            EXPECT_GE(server.subscriptionModify(handle, true), 0);
        }
        while (waitingIn != -1) std::this_thread::sleep_for(1ms);
    }
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    story.onState = nullptr;
}

// ---- What a reconnect does not get at once -------------------------------------------------------

TEST_F(RecoveryTest, AGroupThatIsRefusedOnceIsBackAfterTheNextGoodProbe) {
    connectAndSubscribe();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.fault("IOPCServer::AddGroup", E_OUTOFMEMORY, 2);  // after "Main"
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("state 3"));
    const int probesBefore = std::stoi(sim.execute("calls IOPCServer::GetStatus"));
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    EXPECT_GE(std::stoi(sim.execute("calls IOPCServer::GetStatus")), probesBefore + 1);
    EXPECT_EQ(trace.count("<-- DaServerMgt::addGroup [hr=0x8007000e]"), 1u);
}

TEST_F(RecoveryTest, ItemsThatCannotBeAddedAtAllAreTriedAgainToo) {
    connectAndSubscribe();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.fault("IOPCItemMgt::AddItems", E_OUTOFMEMORY, 1);
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    EXPECT_EQ(sim.counts()["groups"], 2) << "the incomplete group was removed";
}

TEST_F(RecoveryTest, AnItemThatIsRefusedDoesNotKeepTheOthersBack) {
    connectAndSubscribe();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.execute("item Constant.Int32 addresult 0xC0040007");
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 2 good"));

    // It is not on the server, so that removing it asks nobody.
    sim.clearJournal();
    std::vector<OpxItemIdentifier> refused = {items[0]};
    EXPECT_EQ(server.subscriptionRemoveItems(handle, refused, errors), S_OK);
    EXPECT_TRUE(callsOf("IOPCItemMgt::RemoveItems").empty());
}

TEST_F(RecoveryTest, ItemsThatANewServerRefusesAreToldOnceARecovery) {
    connectAndSubscribe();
    std::vector<OpxItemIdentifier> more = named({OLESTR("Constant.Boolean")});
    more[0].clientHandle = 3;
    std::uint32_t inactive = 0;
    ASSERT_EQ(server.subscribe(8, false, 100, 0, more, &rate, &inactive, errors), S_OK);
    sim.execute("item Constant.Int32 addresult 0xC0040007");
    sim.execute("item Constant.Boolean addresult 0xC0040008");
    for (int recovery = 0; recovery < 2; ++recovery) {
        sim.execute("dead");
        ASSERT_TRUE(story.reaches("8: 3 bad"));
        story.forget();
        sim.execute("alive");
        ASSERT_TRUE(story.reaches("8: 3 bad"));
        EXPECT_THAT(story.lines(), Contains("7: 1 bad"));
        EXPECT_EQ(story.codes(8), (std::vector<std::int32_t>{S_FALSE, hresult(0xC0040008u)}));
        EXPECT_EQ(story.codes(7), (std::vector<std::int32_t>{S_FALSE, hresult(0xC0040007u)}));
    }
}

TEST_F(RecoveryTest, ItemsThatAreTriedAgainAreToldOnceACode) {
    connectAndSubscribe();
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.fault("IOPCItemMgt::AddItems", E_OUTOFMEMORY);
    story.forget();
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    const auto triedAgain = callsOf("IOPCItemMgt::AddItems").size() + 3;
    while (callsOf("IOPCItemMgt::AddItems").size() < triedAgain) std::this_thread::sleep_for(1ms);
    EXPECT_THAT(story.lines(), ElementsAre("state 3", "7: 1 bad 2 bad"));
    EXPECT_EQ(story.codes(7), (std::vector<std::int32_t>{S_FALSE, E_OUTOFMEMORY, E_OUTOFMEMORY}));
    EXPECT_EQ(story.failedDataChanges(), 1u);
}

TEST_F(RecoveryTest, AGroupThatCannotBeUsedDoesNotStayOnTheServer) {
    connectAndSubscribe();
    const int before = sim.counts()["groups"];
    sim.refuse("IOPCSyncIO");
    auto others = named({OLESTR("Constant.Boolean")});
    std::uint32_t none = 0;
    EXPECT_EQ(server.subscribe(8, true, 100, 0, others, &rate, &none, errors), E_NOINTERFACE);
    EXPECT_EQ(sim.counts()["groups"], before);

    sim.accept("IOPCSyncIO");
    sim.fault("IOPCItemMgt::QueryInterface (IID_IOPCSyncIO)", E_NOINTERFACE, 2);  // after "Main"
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("7: 1 good 2 good"));
    EXPECT_EQ(trace.count("<-- DaServerMgt::addGroup [hr=0x80004002]"), 2u) << "the fault was met";
    EXPECT_EQ(sim.counts()["groups"], before);
}

TEST_F(RecoveryTest, ALocaleThatCouldNotBeAskedForAtFirstIsAskedForLater) {
    for (const bool serverIsThere : {false, true}) {
        SCOPED_TRACE(serverIsThere);
        if (serverIsThere)
            sim.fault("IOPCServer::AddGroup", hresult(0x800706BAu), 1);
        else
            sim.execute("dead");
        Story own;
        OpxDaServer german;
        OpxServerConnectInfo asking;
        asking.retryInitialConnect = true;
        asking.localId = OLESTR("de");
        ASSERT_EQ(german.connect(Korvex::Testing::simulationUrl(), asking, 1, &own), S_FALSE);
        sim.clearJournal();
        sim.execute("alive");
        ASSERT_TRUE(own.reaches("state 3"));
        EXPECT_EQ(callsOf("IOPCCommon::SetLocaleID").size(), serverIsThere ? 0u : 1u);
        EXPECT_THAT(callsOf("IOPCServer::AddGroup"), ElementsAre(HasSubstr("locale=1031")));
    }
}

TEST_F(RecoveryTest, ALocaleThatIsRefusedLaterKeepsNobodyFromReconnecting) {
    info.retryInitialConnect = true;
    sim.execute("dead");
    ASSERT_EQ(connect(), S_FALSE);
    sim.fault("IOPCCommon::SetLocaleID", E_FAIL);
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("state 3"));
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("state 2"));
    sim.clearJournal();
    sim.execute("alive");
    ASSERT_TRUE(story.reaches("state 3"));
    EXPECT_TRUE(callsOf("IOPCCommon::SetLocaleID").empty()) << "it was asked once";
}

TEST_F(RecoveryTest, ASubscriptionThatIsLostBetweenItsItemsAndItsStartIsActiveWhenTheServerIsBack) {
    ASSERT_EQ(connect(), S_OK);
    for (const std::uint32_t code : {0x800706BAu, 0x800706BEu, 0x800706BFu, 0x80010108u, 0x80010012u, 0x80010007u}) {
        SCOPED_TRACE(code);
        sim.fault("IOPCGroupStateMgt::SetState", static_cast<HRESULT>(code), 1);
        ASSERT_EQ(subscribe(), S_OK);
        EXPECT_TRUE(story.reaches("7: 1 good 2 good"));
        EXPECT_EQ(server.subscriptionCancel(handle), S_OK);
        story.forget();
    }
    sim.fault("IOPCGroupStateMgt::SetState", E_OUTOFMEMORY, 1);
    ASSERT_EQ(subscribe(), S_OK);
    sim.execute("dead");
    ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
    sim.execute("alive");
    sim.clearJournal();
    ASSERT_TRUE(story.reaches("state 3"));
    while (callsOf("IOPCItemMgt::AddItems").empty()) std::this_thread::sleep_for(1ms);
    EXPECT_THAT(callsOf("IOPCServer::AddGroup"), Contains(HasSubstr("active=0 rate=100")))
        << "refused by the server, it stays inactive";
}

// ---- Disconnecting at the wrong moment -----------------------------------------------------------

TEST_F(RecoveryTest, DisconnectWaitsForAServerThatHangsAndThenNothingFollows) {
    connectAndSubscribe();
    sim.execute("hang IOPCServer::GetStatus");
    while (callsOf("IOPCServer::GetStatus").empty()) std::this_thread::sleep_for(1ms);
    auto leaving = std::async(std::launch::async, [&] { return server.disconnect(); });
    EXPECT_EQ(leaving.wait_for(600ms), std::future_status::timeout);  // a minute for the watch-dog
    sim.reset();
    EXPECT_EQ(leaving.get(), S_OK);
    EXPECT_THAT(story.lines(), ElementsAre("state 3", "7: 1 good 2 good", "state 0"));
    EXPECT_EQ(sim.counts(), idle);
}

TEST_F(RecoveryTest, AnAttemptThatHangsKeepsNobodyWaitingAndLeavesNothingBehind) {
    for (const bool isSingleThreaded : {false, true}) {
        SCOPED_TRACE(isSingleThreaded);
        auto leave = [&] {
            connectAndSubscribe();
            sim.execute("dead");
            ASSERT_TRUE(story.reaches("7: 1 bad 2 bad"));
            sim.clearJournal();
            sim.execute("delay IOPCServer::AddGroup 2000");
            sim.execute("alive");
            while (callsOf("IOPCServer::AddGroup").empty()) std::this_thread::sleep_for(1ms);
            EXPECT_EQ(server.subscriptionModify(handle, 300u, &rate), S_FALSE) << "noted";
            auto read = named({OLESTR("Constant.Int32")});
            std::vector<OpxItemValue> values;
            EXPECT_EQ(server.read(0, read, values, errors), E_FAIL);
            EXPECT_EQ(server.disconnect(), S_OK);
            sim.execute("delay IOPCServer::AddGroup 0");
        };
        isSingleThreaded ? inSingleThreadedApartment(leave) : leave();
        EXPECT_EQ(story.lines().back(), "state 0");
        EXPECT_EQ(connect(), S_OK);
        EXPECT_EQ(callsOf("IOPCServer::AddGroup").size(), 2u);
        EXPECT_THAT(callsOf("IOPCServer::AddGroup")[0], HasSubstr("running")) << "the attempt still hangs";
        EXPECT_EQ(server.disconnect(), S_OK);
        for (int i = 0; i < 20'000 && sim.counts() != idle; ++i) std::this_thread::sleep_for(1ms);
        EXPECT_EQ(sim.counts(), idle);
        story.forget();
    }
}

TEST_F(RecoveryTest, AHandlerMayDisconnectInEveryState) {
    for (const ServerStatus last : {SERVERSTATUS_WATCHDOG_ERROR, SERVERSTATUS_CONNECTED}) {
        SCOPED_TRACE(last);
        std::promise<std::int32_t> disconnected;
        std::atomic<bool> lost = false;
        story.onState = [&](ServerStatus status) {
            lost = lost || status == SERVERSTATUS_WATCHDOG_ERROR;
            if (lost && status == last) disconnected.set_value(server.disconnect());
        };
        connectAndSubscribe();
        sim.execute("dead");
        ASSERT_TRUE(story.reaches("state 2"));
        sim.execute("alive");
        ASSERT_TRUE(story.reaches("state 0"));
        EXPECT_EQ(disconnected.get_future().get(), S_OK);
        EXPECT_EQ(server.disconnect(), E_FAIL);
        story.onState = nullptr;
    }
}

TEST_F(RecoveryTest, AHandlerInsideACallMayCallWhileAnotherThreadDisconnects) {
    ASSERT_EQ(connect(), S_OK);
    sim.execute("deliver inside");
    std::future<std::int32_t> leaving;
    std::int32_t inside = S_OK;
    bool first = true;
    story.onData = [&, caller = std::this_thread::get_id()] {
        if (std::this_thread::get_id() != caller || !std::exchange(first, false)) return;
        leaving = std::async(std::launch::async, [&] { return server.disconnect(); });
        std::this_thread::sleep_for(120ms);  // until it waits for this very call
        inside = server.subscriptionModify(1, 300u, &rate);
    };
    EXPECT_EQ(subscribe(), E_FAIL) << "its connection has gone meanwhile";
    EXPECT_EQ(inside, E_FAIL);
    EXPECT_EQ(leaving.get(), S_OK);
    EXPECT_EQ(sim.counts(), idle);
}

// ---- Everything at once --------------------------------------------------------------------------

// One of four threads that use subscriptions while the server dies and comes back.
class Worker {
public:
    Worker(OpxDaServer& server, std::uint32_t firstId) : server_(server), nextId_(firstId) {}

    void work(const std::atomic<bool>& stop) {
        for (unsigned turn = 0; !stop; ++turn) {
            if (own_.size() < 4) subscribe();
            if (own_.empty()) continue;
            const auto one = std::next(own_.begin(), static_cast<std::ptrdiff_t>(turn % own_.size()));
            const bool isAsItWas = change(one->second, turn);
            if (isAsItWas && turn % 7 != 0) continue;
            // One that the dying server refused to cancel delivers nothing any more either.
            server_.subscriptionCancel(one->second);
            own_.erase(one);
        }
    }

    // The application's number and the handle of each living subscription.
    const std::vector<std::pair<std::uint32_t, std::uint32_t>>& own() const { return own_; }

private:
    void subscribe() {
        auto items = named({OLESTR("Constant.Int32"), OLESTR("Constant.Double"), OLESTR("Constant.Boolean")});
        std::uint32_t rate = 0;
        std::uint32_t handle = 0;
        if (server_.subscribe(nextId_, true, 100, 0, items, &rate, &handle, codes_) >= 0)
            own_.emplace_back(nextId_++, handle);
    }
    // False where an item was added that the dying server refused to remove.
    bool change(std::uint32_t handle, unsigned turn) {
        std::uint32_t rate = 0;
        server_.subscriptionModify(handle, turn % 2 == 0);
        server_.subscriptionModify(handle, 100 + turn % 5, &rate);
        auto more = named({OLESTR("Constant.String")});
        if (server_.subscriptionAddItems(handle, more, codes_) < 0) return true;
        return server_.subscriptionRemoveItems(handle, more, codes_) >= 0;
    }

    OpxDaServer& server_;
    std::uint32_t nextId_;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> own_;
    std::vector<std::int32_t> codes_;
};

TEST_F(StressTest, EverySubscriptionDeliversAfterTheServerDiedTwoHundredTimesUnderLoad) {
    ASSERT_EQ(connect(), S_OK);
    std::vector<Worker> workers;
    for (std::uint32_t n = 1; n <= 4; ++n) workers.emplace_back(server, n * 1'000'000);
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    for (Worker& worker : workers) threads.emplace_back([&] { worker.work(stop); });
    for (int round = 0; round < 200; ++round) {
        sim.execute("dead");
        EXPECT_TRUE(story.reaches("state 2")) << round;
        sim.execute("alive");
        EXPECT_TRUE(story.reaches("state 3")) << round;
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();

    std::size_t living = 0;
    for (const Worker& worker : workers) {
        for (const auto& [id, subscription] : worker.own()) {
            ++living;
            story.forget();
            server.subscriptionModify(subscription, false);
            server.subscriptionModify(subscription, true);
            EXPECT_TRUE(story.reaches(std::to_string(id) + ": 1 good 2 good 3 good")) << "one of " << living;
        }
    }
    EXPECT_GT(living, 0u);
    EXPECT_EQ(server.disconnect(), S_OK);
    EXPECT_EQ(sim.counts(), idle) << "groups, items, sinks and references of the server";
}

}  // namespace
}  // namespace OpxOpc
