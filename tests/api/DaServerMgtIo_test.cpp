// Writes and asynchronous calls as an application sees them.
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/api/ApiFixture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

class DaServerMgtIoTest : public ApiFixture {
protected:
    void listen() {
        server.add_ReadCompleted(toldReads(story));
        server.add_WriteCompleted(toldWrites(story));
    }
    ReturnCode write(std::initializer_list<ItemIdentifier> list, const NullableArray<ItemValue>& written) {
        items = list;
        return server.Write(items, written);
    }
    std::string written(const std::string& id) { return sim.execute("written " + id); }
};

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
    const std::vector<DateTime> dates = {DateTime::fromOleDate(40000.5)};
    EXPECT_EQ(
        write({item("Register.Double"), item("Register.DateArray"), item("Access.ReadOnly"), item("No.Such.Item")},
              {value("1.5"), value(dates), value(1), value(1)}),
        ReturnCode::ITEMERROR);
    EXPECT_EQ(written("Register.Double"), "5 1.5");
    EXPECT_EQ(written("Register.DateArray").substr(0, 6), "8199 {");
    EXPECT_EQ(items[0].DataType(), Type::of<double>());
    EXPECT_EQ(resultOf(0) + resultOf(2) + resultOf(3),
              "S_OK"
              "OPC_E_BADRIGHTS"
              "OPC_E_UNKNOWNITEMID");

    const std::vector<ItemValue> exact = {value(Decimal::fromText("123456789012345.6789")),
                                          value(DateTime(std::chrono::sys_seconds() + std::chrono::milliseconds(789)))};
    EXPECT_EQ(write({item("Register.Decimal"), item("Register.Date")}, exact), ReturnCode::SUCCEEDED);
    EXPECT_EQ(server.Read(0, items, values), ReturnCode::SUCCEEDED);
    for (std::size_t i = 0; i < exact.size(); ++i) EXPECT_EQ(values[i].Value(), exact[i].Value());

    EXPECT_EQ(write({item("Register.Int32")}, {ItemValue()}), ReturnCode::SUCCEEDED);
    EXPECT_EQ(written("Register.Int32"), "3 0") << "a null value is the type's zero";

    EXPECT_EQ(write({item("Register.Float")}, {value(Decimal::fromText("100000000000000000000"))}),
              ReturnCode::ITEMERROR);
    EXPECT_EQ(written("Register.Float"), "0 ") << "a value that cannot be carried is not written as zero";
}

TEST_F(DaServerMgtIoTest, CompletionsBringTheApplicationsNumbersAndHandles) {
    listen();
    connect();
    items = {item("Constant.Int32", "one"), item("No.Such.Item", 2), item("Constant.String", 3.0)};
    EXPECT_EQ(server.ReadAsync(-77, 0, items), ReturnCode::ITEMERROR);
    EXPECT_EQ(resultOf(1), "OPC_E_UNKNOWNITEMID");
    EXPECT_EQ(story->next(), "read -77: one=-320000, 3=Constant text");

    sim.execute("item Register.Double writeerror 0xC0040006");
    items = {item("Register.Int32", "one"), item("Register.Double", "two")};
    EXPECT_EQ(server.WriteAsync(78, items, {value(5), value(6.0)}), ReturnCode::SUCCEEDED);
    EXPECT_EQ(story->next(), "write 78, with errors: one=S_OK, two=OPC_E_BADRIGHTS");

    sim.execute("async early");  // before the call has returned
    EXPECT_EQ(server.ReadAsync(79, 0, items), ReturnCode::SUCCEEDED);
    EXPECT_FALSE(story->isEmpty());
}

TEST_F(DaServerMgtIoTest, HandlesOfCompletedCallsAreReusedAndOthersStayTaken) {
    connect();
    items = {item("Register.Int32")};
    server.ReadAsync(1, 0, items);  // nobody listens: never released
    const char* const kCompleted = "<== MCPP::DaServerMgt::ReadComplete";
    while (!trace.has(kCompleted)) std::this_thread::yield();
    EXPECT_EQ(trace.count("Read 0 is complete and there is no handler to tell"), 1u);
    server.WriteAsync(1, items, {ItemValue()});
    while (!trace.has("<== MCPP::DaServerMgt::WriteComplete")) std::this_thread::yield();
    EXPECT_EQ(trace.count("Write 0 is complete and there is no handler to tell"), 1u);
    listen();
    sim.fault("IOPCAsyncIO2::Read", E_OUTOFMEMORY, 1);
    EXPECT_THROW(server.ReadAsync(2, 0, items), Exception);  // a failed call keeps its handle too
    for (const char* expected : {"read 3: =0", "read 4: =0", "read 5: =0"}) {
        const std::size_t before = trace.count(kCompleted);
        server.ReadAsync(expected[5] - '0', 0, items);
        EXPECT_EQ(story->next(), expected);
        while (trace.count(kCompleted) == before) std::this_thread::yield();  // the handle goes back last
    }
    EXPECT_EQ(trace.count("CALL MCPP::DaServerMgt::m_ReadCompleted->Invoke"), 6u) << "before and after the handlers";
    EXPECT_EQ(trace.count("  TransactionHandle = 0"), 2u) << "a read and a write";
    EXPECT_EQ(trace.count("  TransactionHandle = 1"), 1u);
    EXPECT_EQ(trace.count("  TransactionHandle = 2"), 3u);
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
