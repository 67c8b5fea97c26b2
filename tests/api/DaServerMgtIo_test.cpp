// Writes and asynchronous calls as an application sees them.
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "api/ClientEvents.h"
#include "com/com.h"
#include "tests/api/ApiFixture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using OpxOpc::OpxItemValue;

ItemValue value(Object content) {
    ItemValue result;
    result.Value(std::move(content));
    return result;
}

// What a completion told; no items where it brought none.
struct Completion {
    std::int32_t transaction;
    bool allQualitiesGood;
    bool noErrors;
    bool isNull;
    std::vector<Object> handles;
    std::vector<std::int32_t> codes;
    std::vector<Object> values;
};

// Takes the completions of a server, or of nothing but its callback.
class Completions {
public:
    void read(std::int32_t transaction, bool qualities, bool errors, const NullableArray<ItemValueCallback>& items) {
        Completion told{transaction, qualities, errors, items.isNull(), {}, {}, {}};
        for (std::size_t i = 0; i < items.size(); ++i) {
            told.handles.push_back(items[i].ClientHandle());
            told.codes.push_back(items[i].ResultID() ? items[i].ResultID()->Code() : -1);
            told.values.push_back(items[i].Value());
        }
        tell(std::move(told));
    }
    void write(std::int32_t transaction, bool errors, const NullableArray<ItemResultCallback>& items) {
        Completion told{transaction, true, errors, items.isNull(), {}, {}, {}};
        for (std::size_t i = 0; i < items.size(); ++i) {
            told.handles.push_back(items[i].ClientHandle());
            told.codes.push_back(items[i].ResultID() ? items[i].ResultID()->Code() : -1);
        }
        tell(std::move(told));
    }

    // The next one; one without a transaction when none comes.
    Completion next() {
        std::unique_lock guard(lock_);
        if (!told_.wait_for(guard, std::chrono::seconds(10), [&] { return read_ < all_.size(); })) return {};
        return all_[read_++];
    }
    std::size_t count() {
        const std::lock_guard guard(lock_);
        return all_.size();
    }

private:
    void tell(Completion completion) {
        const std::lock_guard guard(lock_);
        all_.push_back(std::move(completion));
        told_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable told_;
    std::vector<Completion> all_;
    std::size_t read_ = 0;
};

class DaServerMgtIoTest : public ApiFixture {
protected:
    ~DaServerMgtIoTest() override { server.Dispose(); }

    void listen() {
        server.add_ReadCompleted([this](auto... told) { completions.read(told...); });
        server.add_WriteCompleted([this](auto... told) { completions.write(told...); });
    }
    std::string written(const std::string& id) { return sim.execute("written " + id); }

    Completions completions;
    NullableArray<ItemIdentifier> items;
    NullableArray<ItemValue> values;
};

TEST_F(DaServerMgtIoTest, BadArgumentsAreRefusedInTheirOrderBeforeTheServerIsAsked) {
    connect();
    sim.clearJournal();
    NullableArray<ItemIdentifier> none;
    NullableArray<ItemIdentifier> empty{std::vector<ItemIdentifier>()};
    NullableArray<ItemIdentifier> one{item("Register.Int32")};
    const NullableArray<ItemValue> noValues;
    const NullableArray<ItemValue> twoValues{value(1), value(2)};
    const struct {
        std::function<void()> call;
        const OLECHAR* parameter;
    } refusals[] = {
        {[&] { server.Write(none, noValues); }, OLESTR("itemIdentifiers")},
        {[&] { server.Write(empty, noValues); }, OLESTR("itemIdentifiers")},
        {[&] { server.ReadAsync(1, -1, none); }, OLESTR("itemIdentifiers")},
        {[&] { server.ReadAsync(1, -1, empty); }, OLESTR("itemIdentifiers")},
        {[&] { server.ReadAsync(1, -1, one); }, OLESTR("maxAge")},
        {[&] { server.WriteAsync(1, none, noValues); }, OLESTR("itemIdentifiers")},
        {[&] { server.WriteAsync(1, one, noValues); }, OLESTR("itemValues")},
        {[&] { server.WriteAsync(1, one, std::vector<ItemValue>()); }, OLESTR("itemValues")},
        {[&] { server.WriteAsync(1, one, twoValues); }, OLESTR("itemIdentifiers+itemValues")},
    };
    for (const auto& refusal : refusals) {
        EXPECT_EQ(toUtf8(thrownBy<ArgumentException>(refusal.call).ParamName()), toUtf8(refusal.parameter));
    }
    EXPECT_THROW(server.Write(one, noValues), NullReferenceException);
    EXPECT_EQ(opcCodeOf([&] { server.Write(one, twoValues); }), E_INVALIDARG);
    EXPECT_TRUE(sim.journal().empty());
}

TEST_F(DaServerMgtIoTest, AsynchronousCallsNeedTheServerAndOthersTryIt) {
    info.RetryInitialConnection(true);
    sim.execute("dead");
    connect();
    ASSERT_TRUE(connectFailed);
    items = {item("Register.Int32")};
    EXPECT_EQ(opcCodeOf([&] { server.ReadAsync(1, 0, items); }), E_FAIL);
    EXPECT_EQ(opcCodeOf([&] { server.WriteAsync(1, items, {value(1)}); }), E_FAIL);
    EXPECT_FALSE(trace.has("==> DaServer::readAsync"));
    EXPECT_EQ(opcCodeOf([&] { server.Write(items, {value(1)}); }), E_FAIL);
    EXPECT_TRUE(trace.has("<-- DaServerCom::write [E_FAIL] - serverState not connected"));
}

TEST_F(DaServerMgtIoTest, WritesValuesAndTellsEveryItemsResult) {
    connect();
    items = {item("Register.Double"), item("Register.DateArray"), item("Access.ReadOnly"), item("No.Such.Item")};
    const std::vector<DateTime> dates = {DateTime::fromOleDate(40000.5)};
    EXPECT_EQ(server.Write(items, {value("1.5"), value(dates), value(1), value(1)}), ReturnCode::ITEMERROR);
    EXPECT_EQ(written("Register.Double"), "5 1.5");
    EXPECT_EQ(written("Register.DateArray").substr(0, 6), "8199 {");
    EXPECT_EQ(items[0].ResultID().Code(), S_OK);
    EXPECT_EQ(items[0].DataType(), Type::of<double>());
    EXPECT_EQ(toUtf8(items[2].ResultID().Name()), "OPC_E_BADRIGHTS");
    EXPECT_EQ(toUtf8(items[3].ResultID().Name()), "OPC_E_UNKNOWNITEMID");

    items = {item("Register.Decimal"), item("Register.Date")};
    const std::vector<ItemValue> exact = {value(Decimal::fromText("123456789012345.6789")),
                                          value(DateTime(std::chrono::sys_seconds() + std::chrono::milliseconds(789)))};
    EXPECT_EQ(server.Write(items, exact), ReturnCode::SUCCEEDED);
    EXPECT_EQ(server.Read(0, items, values), ReturnCode::SUCCEEDED);
    for (std::size_t i = 0; i < exact.size(); ++i) EXPECT_EQ(values[i].Value(), exact[i].Value());

    items = {item("Register.Int32")};
    EXPECT_EQ(server.Write(items, {ItemValue()}), ReturnCode::SUCCEEDED);
    EXPECT_EQ(written("Register.Int32"), "3 0") << "a null value is the type's zero";

    items = {item("Register.Double")};
    EXPECT_EQ(server.Write(items, {value(Decimal::fromText("100000000000000000000"))}), ReturnCode::ITEMERROR);
    EXPECT_EQ(written("Register.Double"), "0 ") << "a value that cannot be carried is not written as zero";
    EXPECT_EQ(server.Write(items, {value(2.5)}), ReturnCode::SUCCEEDED);
}

TEST_F(DaServerMgtIoTest, CompletionsBringTheApplicationsNumbersAndHandles) {
    listen();
    connect();
    items = {item("Constant.Int32", "one"), item("No.Such.Item", 2), item("Constant.String", 3.0)};
    EXPECT_EQ(server.ReadAsync(-77, 0, items), ReturnCode::ITEMERROR);
    EXPECT_EQ(toUtf8(items[1].ResultID().Name()), "OPC_E_UNKNOWNITEMID");
    const Completion read = completions.next();
    EXPECT_EQ(read.transaction, -77);
    EXPECT_TRUE(read.noErrors && read.allQualitiesGood);
    EXPECT_EQ(read.handles, (std::vector<Object>{"one", 3.0}));
    EXPECT_EQ(toUtf8(read.values[1].toText()), "Constant text");

    sim.execute("item Register.Double writeerror 0xC0040006");
    items = {item("Register.Int32", "one"), item("Register.Double", "two")};
    EXPECT_EQ(server.WriteAsync(78, items, {value(5), value(6.0)}), ReturnCode::SUCCEEDED);
    const Completion write = completions.next();
    EXPECT_EQ(write.transaction, 78);
    EXPECT_FALSE(write.noErrors);
    EXPECT_EQ(write.handles, (std::vector<Object>{"one", "two"}));
    EXPECT_EQ(write.codes, (std::vector<std::int32_t>{S_OK, hresult(0xC0040006u)}));

    sim.execute("async early");  // before the call has returned
    EXPECT_EQ(server.ReadAsync(79, 0, items), ReturnCode::SUCCEEDED);
    EXPECT_EQ(completions.count(), 3u);
}

TEST_F(DaServerMgtIoTest, HandlesOfCompletedCallsAreReusedAndOthersStayTaken) {
    connect();
    items = {item("Constant.Int32")};
    server.ReadAsync(1, 0, items);  // nobody listens: never released
    const char* const kCompleted = "<== MCPP::DaServerMgt::ReadComplete";
    while (!trace.has(kCompleted)) std::this_thread::yield();
    EXPECT_EQ(trace.count("Read 0 is complete and there is no handler to tell"), 1u);
    items = {item("Register.Int32")};
    server.WriteAsync(1, items, {ItemValue()});
    while (!trace.has("<== MCPP::DaServerMgt::WriteComplete")) std::this_thread::yield();
    EXPECT_EQ(trace.count("Write 0 is complete and there is no handler to tell"), 1u);
    items = {item("Constant.Int32")};
    listen();
    sim.fault("IOPCAsyncIO2::Read", E_OUTOFMEMORY, 1);
    EXPECT_THROW(server.ReadAsync(2, 0, items), Exception);  // a failed call keeps its handle too
    for (int transaction = 3; transaction < 6; ++transaction) {
        const std::size_t before = trace.count(kCompleted);
        server.ReadAsync(transaction, 0, items);
        EXPECT_EQ(completions.next().transaction, transaction);
        while (trace.count(kCompleted) == before) std::this_thread::yield();  // the handle goes back last
    }
    EXPECT_EQ(trace.count("CALL MCPP::DaServerMgt::m_ReadCompleted->Invoke"), 6u) << "before and after the handlers";
    EXPECT_EQ(trace.count("  TransactionHandle = 0"), 2u) << "a read and a write";
    EXPECT_EQ(trace.count("  TransactionHandle = 1"), 1u);
    EXPECT_EQ(trace.count("  TransactionHandle = 2"), 3u);
}

// ---- What the engine may bring -------------------------------------------------------------------

class CompletionEventsTest : public ::testing::Test {
protected:
    static constexpr std::uint32_t kCall = 4;

    CompletionEventsTest() {
        events->m_ReadCompleted.add([this](auto... told) { completions.read(told...); });
        events->m_WriteCompleted.add([this](auto... told) { completions.write(told...); });
        events->reads.add(kCall, 40, {{1, "one"}, {2, "two"}});
        events->writes.add(kCall, 41, {{1, "one"}, {2, "two"}});
    }
    static OpxItemValue good(std::int32_t number) {
        OpxItemValue result;
        result.value = number;
        result.quality = 0xC0;
        return result;
    }
    // A value that has no VARIANT.
    static OpxItemValue inconvertible() {
        OpxItemValue result = good(0);
        result.value = OpxOpc::OpxVariant::unknown();
        return result;
    }

    Completions completions;
    std::shared_ptr<ClientEvents> events = std::make_shared<ClientEvents>();
    std::shared_ptr<CallbackWrapper> callback = ClientEvents::makeCallback(events);
};

TEST_F(CompletionEventsTest, AValueThatDoesNotConvertMakesItsOwnAndLaterItemsTakeTheServersCodes) {
    callback->ReadComplete(kCall, 0, 0, 2, {1, 2}, {inconvertible(), good(5)}, {7, 8});
    const Completion told = completions.next();
    EXPECT_FALSE(told.noErrors);
    EXPECT_EQ(told.codes, (std::vector<std::int32_t>{7, 8}));
    EXPECT_TRUE(told.values[0].isNull());
    EXPECT_EQ(told.values[1], Object(5));
}

TEST_F(CompletionEventsTest, AReadThatFailedAsAWholeIsToldWithoutItemsWhichStayRegistered) {
    callback->ReadComplete(kCall, 1, E_FAIL, 2, {1, 2}, {good(1), good(2)}, {E_FAIL, E_FAIL});
    const Completion told = completions.next();
    EXPECT_EQ(told.transaction, 40);
    EXPECT_TRUE(told.isNull);
    EXPECT_TRUE(told.noErrors);
    EXPECT_FALSE(told.allQualitiesGood);
    EXPECT_TRUE(events->reads.takeItems(kCall));

    callback->WriteComplete(kCall, E_FAIL, 2, {1, 2}, {});
    EXPECT_TRUE(completions.next().isNull);
}

TEST_F(CompletionEventsTest, AnotherSuccessComesWithoutCodesAndMeansThatEveryItemSucceeded) {
    constexpr std::int32_t kOtherSuccess = 0x00040404;
    callback->ReadComplete(kCall, 0, kOtherSuccess, 2, {1, 2}, {good(1), good(2)}, {});
    callback->WriteComplete(kCall, kOtherSuccess, 2, {1, 2}, {});
    for (int i = 0; i < 2; ++i) {
        const Completion told = completions.next();
        EXPECT_TRUE(told.noErrors);
        EXPECT_EQ(told.codes, (std::vector<std::int32_t>{S_OK, S_OK}));
    }
}

TEST_F(CompletionEventsTest, AnUnknownCallOrItemRaisesNoEvent) {
    callback->ReadComplete(9, 0, 0, 1, {1}, {good(1)}, {});
    callback->WriteComplete(9, 0, 1, {1}, {});
    callback->ReadComplete(kCall, 0, 0, 1, {3}, {good(1)}, {});
    callback->WriteComplete(kCall, 0, 1, {3}, {});
    EXPECT_EQ(completions.count(), 0u);
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
