// The facade where a session of steps does not do; the others stand in sessions.
#include <korvex/native/OpxDaServer.h>

#include <atomic>
#include <system_error>
#include <thread>

#include "tests/core/RecoveryFixture.h"
#include "tests/support/RecordingCallback.h"
#include "tests/support/SimulationSteps.h"
#include "tests/support/rows.h"
#include "threads/OpxThread.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::simulationUrl;
using ::testing::ElementsAre;

class OpxDaServerTest : public RecoveryFixture {
protected:
    OpxDaServerTest() : RecoveryFixture(1) {}
};

TEST_F(OpxDaServerTest, TheDestructorDisconnectsAndReleasesTheServer) {
    {
        OpxDaServer other;
        ASSERT_EQ(other.connect(simulationUrl(), info, kClient, &story), S_OK);
    }
    EXPECT_THAT(story.lines(), ElementsAre("state 3", "state 0"));
    EXPECT_EQ(sim.counts(), idle);
    EXPECT_TRUE(trace.hasInOrder({"-> Ctor DaServer", "<- Ctor DaServer", "Ctor DaServerCom", "--> Dtor DaServer",
                                  "--> Dtor DaServerCom", "<-- Dtor DaServerCom", "<-- Dtor DaServer"}));
}

TEST_F(OpxDaServerTest, ConnectsWithAWatchDogOrNotAtAll) {
    OpxThread::replaceMaker([](auto&&) -> std::thread { throw std::system_error(EAGAIN, std::generic_category()); });
    for (const bool reachable : {true, false}) {
        info.retryInitialConnect = !reachable;
        if (!reachable) sim.execute("dead");
        EXPECT_EQ(connect(), E_OUTOFMEMORY);
        EXPECT_TRUE(story.lines().empty());
        EXPECT_FALSE(trace.has("Continue to try connect"));
        sim.execute("alive");
        EXPECT_EQ(sim.counts()["groups"], 0);
        EXPECT_EQ(server.disconnect(), E_FAIL);
    }
    EXPECT_EQ(sim.journal("IOPCServer::RemoveGroup").size(), 1u);
    OpxThread::replaceMaker(nullptr);
    EXPECT_EQ(connect(), S_OK);
}

TEST_F(OpxDaServerTest, EveryValueArrivesAsItsItemsType) {
    for (const auto& row : Korvex::Testing::rowsOf("core/writes.txt", 5)) {
        SCOPED_TRACE(row[0] + " " + row[2] + " " + row[3]);
        server.disconnect();
        info.localId = fromUtf8(row[3]);
        ASSERT_EQ(connect(), S_OK);
        items = itemsNamed({row[0]});
        OpxItemValue value;
        const auto type = Korvex::Testing::typeNumbered(row[1]);
        if (type != Opx::VType::Empty) value.value = OpxVariant::of(fromUtf8(row[2]));
        value.value.changeType(type);
        server.write(items, {value}, errors);
        const std::string written = sim.execute("written " + row[0]);
        EXPECT_EQ(written.substr(0, written.find_last_not_of(' ') + 1), row[4]);
    }
}

TEST_F(OpxDaServerTest, FirstReadsOnSeveralThreadsAtOnceFindEveryItem) {
    const Korvex::Testing::TraceOff noTrace;
    ASSERT_EQ(connect(), S_OK);
    std::atomic<int> wrong = 0;
    const auto readAll = [&] {
        for (int n = 0; n < 500; ++n) {
            auto own = itemsNamed({"Load." + std::to_string(n), "No.Such.Item"});
            std::vector<OpxItemValue> values;
            std::vector<std::int32_t> codes;
            const auto hr = server.read(0, own, values, codes);
            if (hr != S_FALSE || codes != std::vector<std::int32_t>{S_OK, hresult(0xC0040007u)}) ++wrong;
        }
    };
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n) threads.emplace_back(readAll);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

// Counts completions and lets only so many be under way.
class Counter final : public Korvex::Testing::RecordingCallback {
public:
    void ReadComplete(std::uint32_t id, std::int32_t, std::int32_t error, std::uint32_t,
                      const std::vector<std::uint32_t>&, const std::vector<OpxItemValue>&,
                      const std::vector<std::int32_t>&) override {
        complete(id, error);
    }
    void WriteComplete(std::uint32_t id, std::int32_t error, std::uint32_t, const std::vector<std::uint32_t>&,
                       const std::vector<std::int32_t>&) override {
        complete(id, error);
    }
    void takePlace() {
        std::unique_lock guard(lock_);
        ended_.wait(guard, [&] { return underWay_ < kMostUnderWay; });
        ++underWay_;
    }
    bool waitForAll() {
        std::unique_lock guard(lock_);
        return ended_.wait_for(guard, std::chrono::seconds(60), [&] { return underWay_ == 0; });
    }
    std::vector<int> completions = std::vector<int>(100'000);
    int failures = 0;

private:
    static constexpr int kMostUnderWay = 64;

    void complete(std::uint32_t id, std::int32_t error) {
        const std::lock_guard guard(lock_);
        ++completions[id];
        if (error != S_OK) ++failures;
        --underWay_;
        ended_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable ended_;
    int underWay_ = 0;
};

TEST_F(OpxDaServerTest, AHundredThousandCallsFromFourThreadsCompleteOnceEach) {
    const Korvex::Testing::TraceOff noTrace;
    Counter counter;
    ASSERT_EQ(server.connect(simulationUrl(), info, 1, &counter), S_OK);
    items = itemsNamed({"Register.Int32", "Register.Double"});
    std::vector<OpxItemValue> values(2);
    ASSERT_EQ(server.read(0, items, values, errors), S_OK);

    const auto run = [&](std::uint32_t first) {
        auto own = items;
        std::vector<std::int32_t> codes;
        for (std::uint32_t id = first; id < counter.completions.size(); id += 4) {
            counter.takePlace();
            const std::int32_t hr =
                id % 8 < 4 ? server.readAsync(id, 0, own, codes) : server.writeAsync(id, own, values, codes);
            if (hr != S_OK) ADD_FAILURE() << hr;
        }
    };
    std::vector<std::thread> threads;
    for (std::uint32_t first = 0; first < 4; ++first) threads.emplace_back(run, first);
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(counter.waitForAll());
    EXPECT_EQ(std::count(counter.completions.begin(), counter.completions.end(), 1), 100'000);
    EXPECT_EQ(counter.failures, 0);
    EXPECT_EQ(server.disconnect(), S_OK);
}

}  // namespace
}  // namespace OpxOpc
