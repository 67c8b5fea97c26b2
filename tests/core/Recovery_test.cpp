// Connections that are lost and come back, where a session of steps does not do; the others stand in sessions.
#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/core/RecoveryFixture.h"
#include "tests/support/RecordingCallback.h"

namespace OpxOpc {
namespace {

using ::testing::ElementsAre;

using RecoveryTest = RecoveryFixture;

class StressTest : public RecoveryTest {
protected:
    StressTest() : RecoveryTest(1000) {}

private:
    Korvex::Testing::TraceOff noTrace_;
};

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

TEST_F(RecoveryTest, TheLossComesAsEmptyBadValuesOfNow) {
    Korvex::Testing::RecordingCallback client;
    OpxDaServer other;
    ASSERT_EQ(other.connect(Korvex::Testing::simulationUrl(), info, 1, &client), S_OK);
    auto one = itemsNamed({"Constant.Int32"});
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

TEST_F(RecoveryTest, AMutexAroundCallsAndInTheHandlerStopsNobody) {
    std::mutex own;
    std::atomic<bool> isWaiting = false;
    story.onLine = [&](const std::string& line) {
        if (line.rfind("state", 0) != 0) return;
        isWaiting = true;
        const std::lock_guard guard(own);
        isWaiting = false;
    };
    connectAndSubscribe();
    for (const std::string command : {"dead", "alive"}) {
        std::unique_lock guard(own);
        sim.execute(command);
        while (!isWaiting) std::this_thread::yield();
        EXPECT_GE(server.subscriptionModify(handle, true), 0);
        guard.unlock();
        EXPECT_TRUE(story.reaches(command == "dead" ? "7: 1 bad 2 bad" : "7: 1 good 2 good"));
    }
    EXPECT_EQ(server.disconnect(), S_OK);  // before what the handler uses goes
}

TEST_F(RecoveryTest, AHandlerInsideACallMayCallWhileAnotherThreadDisconnects) {
    ASSERT_EQ(connect(), S_OK);
    sim.execute("deliver inside");
    std::future<std::int32_t> leaving;
    story.onLine = [&, caller = std::this_thread::get_id()](const std::string&) {
        if (std::this_thread::get_id() != caller || leaving.valid()) return;
        leaving = std::async(std::launch::async, [&] { return server.disconnect(); });
        // Refused as soon as the other one waits for this very call.
        while (server.subscriptionModify(1, 300u, &rate) != E_FAIL) std::this_thread::yield();
    };
    EXPECT_EQ(subscribe(), E_FAIL) << "its connection has gone meanwhile";
    EXPECT_EQ(leaving.get(), S_OK);
    EXPECT_EQ(sim.counts(), idle);
}

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
        auto items = itemsNamed({"Constant.Int32", "Constant.Double", "Constant.Boolean"});
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
        auto more = itemsNamed({"Constant.String"});
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
