// Writes and asynchronous reads and writes, from the facade to the server and back.
#include <atomic>
#include <future>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <korvex/native/OpxDaServer.h>

#include "tests/support/RecordingCallback.h"
#include "tests/support/SimulationFixture.h"
#include "tests/support/simulation_url.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::RecordingCallback;
using Korvex::Testing::SimulationFixture;
using Korvex::Testing::simulationUrl;
using ::testing::ElementsAre;

constexpr std::int32_t kUnknownItemId = static_cast<std::int32_t>(0xC0040007u);
constexpr std::int32_t kBadRights = static_cast<std::int32_t>(0xC0040006u);
constexpr std::int32_t kClamp = 0x0004000E;

OpxItemValue valueOf(OpxVariant value) {
    OpxItemValue result;
    result.value = std::move(value);
    return result;
}
template <typename T>
OpxItemValue valueOf(T value) {
    return valueOf(OpxVariant::of(value));
}
template <typename T>
OpxVariant listOf(Opx::VType element, std::initializer_list<T> values) {
    std::vector<OpxVariant> elements;
    for (const T& value : values) elements.push_back(OpxVariant::of(value));
    return OpxVariant::arrayOf(element, std::move(elements));
}

class DataAccessTest : public SimulationFixture {
protected:
    // Items with the client handles 1, 2, ...
    void name(std::initializer_list<const OLECHAR*> names) {
        items.clear();
        for (const OLECHAR* each : names) {
            items.emplace_back();
            items.back().itemName = each;
            items.back().clientHandle = static_cast<std::uint32_t>(items.size());
        }
    }
    void connect(const OLECHAR* locale = OLESTR("en-us")) {
        server.disconnect();
        OpxServerConnectInfo info;
        info.localId = locale;
        ASSERT_EQ(server.connect(simulationUrl(), info, 1, &callback), S_OK);
    }
    std::string written(const OLECHAR* item) { return sim.execute("written " + toUtf8(item)); }

    RecordingCallback callback;
    std::vector<OpxItemIdentifier> items;
    std::vector<OpxItemValue> values;
    std::vector<std::int32_t> errors;
    OpxDaServer server;
};

// ---- Writing -------------------------------------------------------------------------------------

TEST_F(DataAccessTest, EveryValueArrivesAsItsItemsType) {
    using Opx::VType;
    const OLECHAR* const english = OLESTR("en-us");
    const OLECHAR* const german = OLESTR("de");
    const OLECHAR* const french = OLESTR("fr");
    const struct {
        const OLECHAR* item;
        OpxItemValue value;
        const OLECHAR* locale;
        const char* written;
    } rows[] = {
        {OLESTR("Register.Int32"), valueOf(std::int32_t{7}), english, "3 7"},
        {OLESTR("Register.Int32"), valueOf(2.5), english, "3 2"},
        {OLESTR("Register.Int32"), valueOf(OLESTR("1,234")), english, "3 1234"},
        {OLESTR("Register.Int32"), valueOf(OLESTR("1,234")), german, "3 1"},
        {OLESTR("Register.Int32"), OpxItemValue(), english, "3 0"},
        {OLESTR("Register.Int16"), valueOf(std::int32_t{70000}), english, "0 "},
        {OLESTR("Register.UInt64"), valueOf(std::uint8_t{255}), english, "21 255"},
        {OLESTR("Register.Double"), valueOf(OLESTR("1.5")), english, "5 1.5"},
        {OLESTR("Register.Double"), valueOf(OLESTR("1.5")), german, "5 15"},
        {OLESTR("Register.Double"), valueOf(OLESTR("1,5")), german, "5 1.5"},
        {OLESTR("Register.Double"), valueOf(OLESTR("1.5")), french, "0 "},
        {OLESTR("Register.Double"), valueOf(OLESTR("no number")), english, "0 "},
        {OLESTR("Register.String"), valueOf(1.5), english, "8 1.5"},
        {OLESTR("Register.String"), valueOf(1.5), german, "8 1,5"},
        {OLESTR("Register.String"), valueOf(true), english, "8 True"},
        {OLESTR("Register.Boolean"), valueOf(OLESTR("true")), english, "11 -1"},
        {OLESTR("Register.Date"), valueOf(OLESTR("3/1/2024 12:30:00")), english, "7 3/1/2024 12:30:00 PM"},
        {OLESTR("Register.Date"), valueOf(OLESTR("1.3.2024 12:30:00")), german, "7 3/1/2024 12:30:00 PM"},
        {OLESTR("Register.Date"), valueOf(OpxDate(1709296200, 0)), english, "7 3/1/2024 12:30:00 PM"},
        {OLESTR("Register.Currency"), valueOf(OLESTR("1,234.5")), english, "6 1234.5"},
        {OLESTR("Register.Currency"), valueOf(OLESTR("1.234,5")), german, "6 1234.5"},
        {OLESTR("Register.Decimal"), valueOf(1.5), english, "6 1.5"},
        {OLESTR("Register.Int8"), valueOf(std::int16_t{-128}), english, "16 -128"},
        {OLESTR("Register.Int32Array"), valueOf(listOf(VType::Int32, {1, 2, 3})), english, "8195 {1,2,3}"},
        {OLESTR("Register.Int32Array"), valueOf(listOf(VType::Double, {1.5, 2.0})), english, "8195 {2,2}"},
        {OLESTR("Register.Int32Array"), valueOf(OLESTR("{4|5}")), english, "8195 {4,5}"},
        {OLESTR("Register.FloatArray"), valueOf(listOf(VType::Double, {1.5})), english, "8196 {1.5}"},
        {OLESTR("Register.FloatArray"), valueOf(listOf(VType::Double, {1.5})), german, "8196 {15}"},
        {OLESTR("Register.FloatArray"), valueOf(listOf(VType::Double, {1.5})), french, "0 "},
        {OLESTR("Register.FloatArray"), valueOf(listOf(VType::Float, {1.5F})), german, "8196 {1.5}"},
        {OLESTR("Register.StringArray"), valueOf(listOf(VType::Double, {1.5})), german, "8200 {1.5}"},
        {OLESTR("Register.BooleanArray"), valueOf(listOf(VType::Int32, {0, 1})), english, "8203 {0,-1}"},
        {OLESTR("Register.CurrencyArray"), valueOf(listOf(VType::Double, {1.5})), german, "8198 {15}"},
        {OLESTR("Register.DateArray"), valueOf(OLESTR("{3/1/2024|3/2/2024}")), english, "8199 {3/1/2024,3/2/2024}"},
        {OLESTR("Register.DateArray"), valueOf(OLESTR("{no date}")), english, "0 "},
        {OLESTR("Register.VariantArray"), valueOf(listOf(VType::Int32, {1, 2})), english, "8204 {1,2}"},
    };
    const OLECHAR* locale = nullptr;
    for (const auto& row : rows) {
        SCOPED_TRACE(toUtf8(row.item) + " " + toUtf8(row.value.value.toString()) + " " + toUtf8(row.locale));
        if (locale != row.locale) connect(locale = row.locale);
        name({row.item});
        server.write(items, {row.value}, errors);
        EXPECT_EQ(written(row.item), row.written);
    }
}

TEST_F(DataAccessTest, AnItemThatIsRefusedDoesNotMoveTheOthersResults) {
    connect();
    name({OLESTR("Register.Int32"), OLESTR("No.Such.Item"), OLESTR("Access.ReadOnly"), OLESTR("Analog.Level")});
    for (int round = 0; round < 2; ++round) {
        const std::vector<OpxItemValue> sent = {valueOf(1), valueOf(2), valueOf(3), valueOf(500.0)};
        EXPECT_EQ(server.write(items, sent, errors), S_FALSE);
        EXPECT_THAT(errors, ElementsAre(S_OK, kUnknownItemId, kBadRights, kClamp));
    }
    EXPECT_EQ(written(OLESTR("Register.Int32")), "3 1");
    EXPECT_EQ(sim.journal("IOPCItemMgt::AddItems").size(), 2u) << "what is known is not added again";

    name({OLESTR("No.Such.Item")});
    sim.clearJournal();
    EXPECT_EQ(server.write(items, {valueOf(1)}, errors), S_FALSE);
    EXPECT_TRUE(sim.journal("IOPCSyncIO::Write").empty());
    EXPECT_THAT(errors, ElementsAre(kUnknownItemId));
}

TEST_F(DataAccessTest, AFailedCallFailsAndArgumentsAreTestedBeforeIt) {
    name({OLESTR("Register.Int32")});
    EXPECT_EQ(server.write(items, {valueOf(1)}, errors), E_FAIL);
    EXPECT_EQ(server.readAsync(1, 0, items, errors), E_FAIL);
    EXPECT_EQ(server.writeAsync(1, items, {valueOf(1)}, errors), E_FAIL);
    connect();
    EXPECT_EQ(server.write(items, {}, errors), E_INVALIDARG);
    EXPECT_EQ(server.writeAsync(1, items, {}, errors), E_INVALIDARG);
    EXPECT_TRUE(trace.has("<== DaServer::writeAsync [E_FAIL] - Item list has different length than value list"));

    sim.fault("IOPCSyncIO::Write", E_OUTOFMEMORY);
    sim.fault("IOPCAsyncIO2::Read", E_OUTOFMEMORY);
    sim.fault("IOPCAsyncIO2::Write", E_OUTOFMEMORY);
    EXPECT_EQ(server.write(items, {valueOf(1)}, errors), E_OUTOFMEMORY);
    EXPECT_EQ(server.readAsync(1, 0, items, errors), E_OUTOFMEMORY);
    EXPECT_EQ(server.writeAsync(1, items, {valueOf(1)}, errors), E_OUTOFMEMORY);
    EXPECT_EQ(trace.count("<-- Dtor ComAsyncTransaction"), 2u) << "nothing is left pending";
}

// ---- Items that several threads need -------------------------------------------------------------

TEST_F(DataAccessTest, AReadOfAnItemThatAnotherThreadIsAddingWaitsAndCountsAsACall) {
    connect();
    sim.execute("hang IOPCItemMgt::AddItems");
    const auto read = [&](std::initializer_list<const OLECHAR*> names) {
        return std::async(std::launch::async, [this, list = std::vector<const OLECHAR*>(names)] {
            std::vector<OpxItemIdentifier> own(list.size());
            for (std::size_t i = 0; i < own.size(); ++i) own[i].itemName = list[i];
            std::vector<OpxItemValue> ignored;
            std::vector<std::int32_t> codes;
            EXPECT_EQ(server.read(0, own, ignored, codes), S_FALSE);
            return codes;
        });
    };
    auto first = read({OLESTR("Register.Int32"), OLESTR("No.Such.Item")});
    while (sim.journal("IOPCItemMgt::AddItems").empty()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    auto second = read({OLESTR("No.Such.Item"), OLESTR("Register.Int32")});
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    auto leaving = std::async(std::launch::async, [this] { return server.disconnect(); });
    EXPECT_EQ(leaving.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    sim.execute("release IOPCItemMgt::AddItems");
    EXPECT_THAT(first.get(), ElementsAre(S_OK, kUnknownItemId));
    EXPECT_THAT(second.get(), ElementsAre(kUnknownItemId, S_OK));
    EXPECT_EQ(leaving.get(), S_OK);
    EXPECT_EQ(sim.journal("IOPCItemMgt::AddItems").size(), 1u);
}

TEST_F(DataAccessTest, FirstReadsOnSeveralThreadsAtOnceFindEveryItem) {
    const Korvex::Testing::TraceOff noTrace;
    connect();
    std::atomic<int> unknown = 0;
    const auto readAll = [&] {
        for (int n = 0; n < 500; ++n) {
            std::vector<OpxItemIdentifier> own(1);
            own[0].itemName = fromUtf8("Load." + std::to_string(n));
            std::vector<OpxItemValue> ignored;
            std::vector<std::int32_t> codes;
            if (server.read(0, own, ignored, codes) != S_OK) ++unknown;
        }
    };
    std::vector<std::thread> threads;
    for (int n = 0; n < 4; ++n) threads.emplace_back(readAll);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(unknown, 0);
}

// ---- Asynchronous calls --------------------------------------------------------------------------

TEST_F(DataAccessTest, CompletionsCarryTheClientsHandlesOnBothInterfaces) {
    for (const int profile : {2, 3}) {
        SCOPED_TRACE(profile);
        sim.profile(profile);
        connect();
        const std::size_t readsBefore = callback.reads().size();
        const std::size_t writesBefore = callback.writes().size();
        name({OLESTR("Register.Int32"), OLESTR("No.Such.Item"), OLESTR("Constant.Double")});
        ASSERT_EQ(server.readAsync(70, 1000, items, errors), S_FALSE);
        EXPECT_THAT(errors, ElementsAre(S_OK, kUnknownItemId, S_OK));
        ASSERT_TRUE(callback.waitForReads(readsBefore + 1));
        const auto read = callback.reads().back();
        EXPECT_EQ(read.id, 70u);
        EXPECT_THAT(read.clientHandles, ElementsAre(1u, 3u));
        EXPECT_EQ(read.values[1].value.toDouble(), -2.25);

        sim.execute("item Register.Double writeerror 0xC0040006");
        name({OLESTR("Register.Int32"), OLESTR("No.Such.Item"), OLESTR("Register.Double")});
        EXPECT_EQ(server.writeAsync(71, items, {valueOf(OLESTR("12")), valueOf(1), valueOf(1)}, errors), S_FALSE);
        EXPECT_THAT(errors, ElementsAre(S_OK, kUnknownItemId, S_OK));
        ASSERT_TRUE(callback.waitForWrites(writesBefore + 1));
        const auto write = callback.writes().back();
        EXPECT_EQ(write.id, 71u);
        EXPECT_THAT(write.clientHandles, ElementsAre(1u, 3u));
        EXPECT_THAT(write.errors, ElementsAre(S_OK, kBadRights));
        EXPECT_EQ(written(OLESTR("Register.Int32")), "3 12");
    }
}

TEST_F(DataAccessTest, ACompletionMayComeBeforeTheCallReturns) {
    connect();
    sim.execute("async early");
    name({OLESTR("Register.Int32")});
    ASSERT_EQ(server.readAsync(5, 0, items, errors), S_OK);
    EXPECT_EQ(callback.reads().size(), 1u);
    ASSERT_EQ(server.writeAsync(6, items, {valueOf(1)}, errors), S_OK);
    EXPECT_EQ(callback.writes().size(), 1u);
    EXPECT_EQ(trace.count("<-- Dtor ComAsyncTransaction"), 2u);
}

TEST_F(DataAccessTest, OfAnItemNamedTwiceTheLastHandleCounts) {
    connect();
    name({OLESTR("Constant.Int32"), OLESTR("Constant.Int32")});
    std::vector<OpxItemValue> ignored;
    server.read(0, items, ignored, errors);  // a request that adds an item does not find it a second time
    ASSERT_EQ(server.readAsync(5, 0, items, errors), S_OK);
    ASSERT_TRUE(callback.waitForReads(1));
    EXPECT_THAT(callback.reads()[0].clientHandles, ElementsAre(2u, 2u));
}

TEST_F(DataAccessTest, WithoutAnItemThatTheServerKnowsNothingIsStarted) {
    connect();
    name({OLESTR("No.Such.Item")});
    EXPECT_EQ(server.readAsync(5, 0, items, errors), S_FALSE);
    EXPECT_EQ(server.writeAsync(5, items, {valueOf(1)}, errors), S_FALSE);
    EXPECT_FALSE(trace.has("Ctor ComAsyncTransaction"));
    EXPECT_TRUE(sim.journal("IOPCAsyncIO2::Read").empty());
}

TEST_F(DataAccessTest, HeldAndDroppedCompletionsLeaveTheConnectionUsable) {
    connect();
    name({OLESTR("Constant.Int32")});
    sim.execute("async hold");
    ASSERT_EQ(server.readAsync(1, 0, items, errors), S_OK);
    ASSERT_EQ(server.readAsync(2, 0, items, errors), S_OK);
    EXPECT_TRUE(callback.reads().empty());
    sim.execute("async release");
    ASSERT_TRUE(callback.waitForReads(2));
    sim.execute("async drop");
    ASSERT_EQ(server.readAsync(3, 0, items, errors), S_OK);
    sim.execute("async normal");
    ASSERT_EQ(server.readAsync(4, 0, items, errors), S_OK);
    ASSERT_TRUE(callback.waitForReads(3));
    EXPECT_EQ(callback.reads()[2].id, 4u);
    EXPECT_EQ(server.disconnect(), S_OK);
    EXPECT_EQ(trace.count("Ctor ComAsyncTransaction"), 4u);
    EXPECT_EQ(trace.count("<-- Dtor ComAsyncTransaction"), 4u) << "the dropped one goes with its group";
}

// Counts completions and lets only so many be under way.
class Counter final : public OpxDataCallback {
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
    void DataChange(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const std::vector<std::uint32_t>&,
                    const std::vector<OpxItemValue>&, const std::vector<std::int32_t>&) override {}
    void ServerStatusChange(std::uint32_t, ServerStatus) override {}

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

TEST_F(DataAccessTest, AHundredThousandCallsFromFourThreadsCompleteOnceEach) {
    const Korvex::Testing::TraceOff noTrace;
    Counter counter;
    OpxServerConnectInfo info;
    ASSERT_EQ(server.connect(simulationUrl(), info, 1, &counter), S_OK);
    name({OLESTR("Register.Int32"), OLESTR("Register.Double")});
    ASSERT_EQ(server.read(0, items, values, errors), S_OK);

    const auto run = [&](std::uint32_t first) {
        auto own = items;
        std::vector<std::int32_t> codes;
        for (std::uint32_t id = first; id < counter.completions.size(); id += 4) {
            counter.takePlace();
            const std::int32_t hr = id % 8 < 4 ? server.readAsync(id, 0, own, codes)
                                               : server.writeAsync(id, own, {valueOf(1), valueOf(2.0)}, codes);
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
