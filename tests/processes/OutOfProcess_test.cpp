// What an application does with a server that is another process.
#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <korvex/opc_cmn/OpcServerEnum.h>

#include "tests/processes/ProcessFixture.h"
#include "tests/processes/ServerProgram.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Testing::Mailbox;

std::string textOf(const NullableText& text) {
    return text.isNull() ? "null" : toUtf8(text.value());
}

ItemValue value(Object content) {
    ItemValue result;
    result.Value(std::move(content));
    return result;
}

class OutOfProcess : public Testing::ProcessFixture {
protected:
    ~OutOfProcess() override { server.Dispose(); }

    void connect() {
        server.Connect(kUrl, 7, &info, connectFailed);
        ASSERT_FALSE(connectFailed);
    }
    // The items' values, "bad" or the result's name where there is none.
    std::vector<std::string> read() {
        NullableArray<ItemValue> values;
        server.Read(0, items, values);
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const bool isGood = items[i].ResultID().Succeeded() && values[i].Quality()->IsGood();
            texts.push_back(isGood ? toUtf8(values[i].Value().toText()) : toUtf8(items[i].ResultID().Name()));
        }
        return texts;
    }
    std::vector<std::string> namesOf(const char* branch) {
        NullableArray<BrowseElement> elements;
        NullableText point = "";
        bool more = false;
        server.Browse(branch, nullptr, point, 0, BrowseFilter::ITEM, nullptr, false, false, elements, more);
        std::vector<std::string> names;
        for (const BrowseElement& element : elements.value()) names.push_back(textOf(element.ItemName()));
        return names;
    }

    ConnectInfo info;
    bool connectFailed = true;
    NullableArray<ItemIdentifier> items;
    DaServerMgt server;
};

// By the interfaces of data access 2.0, and of 3.0.
class OutOfProcessProfile : public OutOfProcess, public ::testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        sim().profile(GetParam());
        connect();
    }
};
INSTANTIATE_TEST_SUITE_P(DataAccess, OutOfProcessProfile, ::testing::Values(2, 3));

TEST_P(OutOfProcessProfile, ValuesOfEveryTypeAreReadAndWritten) {
    std::vector<ItemIdentifier> all;
    for (const std::string& name : namesOf("Constant")) all.emplace_back(name, "", Object());
    ASSERT_GT(all.size(), 20u);
    items = all;
    const std::vector<std::string> values = read();
    EXPECT_THAT(values, Contains("-320000"));
    EXPECT_THAT(values, Contains("Constant text"));
    EXPECT_THAT(items.value(),
                Each(::testing::ResultOf([](const auto& item) { return item.ResultID().Code(); }, S_OK)));

    items = {ItemIdentifier("Register.Int32", ""), ItemIdentifier("Register.String", ""),
             ItemIdentifier("Register.DoubleArray", ""), ItemIdentifier("Access.ReadOnly", ""),
             ItemIdentifier("No.Such.Item", "")};
    const std::vector<double> array = {1.5, -2.25};
    EXPECT_EQ(server.Write(items, {value(42), value("Ölstand"), value(array), value(1), value(1)}),
              ReturnCode::ITEMERROR);
    EXPECT_EQ(toUtf8(items[3].ResultID().Name()), "OPC_E_BADRIGHTS");
    EXPECT_EQ(toUtf8(items[4].ResultID().Name()), "OPC_E_UNKNOWNITEMID");
    items = {items[0], items[1], items[2]};
    EXPECT_THAT(read(), ElementsAre("42", "Ölstand", toUtf8(Object(array).toText())));
}

TEST_P(OutOfProcessProfile, SubscriptionsDeliverUntilTheyAreCancelled) {
    const auto changes = std::make_shared<Mailbox<std::string>>();
    server.add_DataChanged(
        [changes](std::int32_t subscription, bool, bool, const std::vector<ItemValueCallback>& told) {
            for (const ItemValueCallback& item : told)
                changes->put(std::to_string(subscription) + ": " + toUtf8(item.ClientHandle().toText()) + "=" +
                             toUtf8(item.Value().toText()));
        });
    NullableArray<ItemIdentifier> subscribed = {ItemIdentifier("Register.Int32", "", "register"),
                                                ItemIdentifier("Constant.String", "", "text")};
    std::int32_t rate = 0;
    std::int32_t handle = 0;
    ASSERT_EQ(server.Subscribe(70, true, 100, rate, 0, subscribed, handle), ReturnCode::SUCCEEDED);
    EXPECT_TRUE(changes->reaches("70: text=Constant text"));
    items = {ItemIdentifier("Register.Int32", "")};
    server.Write(items, {value(4711)});
    EXPECT_TRUE(changes->reaches("70: register=4711"));
    EXPECT_EQ(server.SubscriptionModify(handle, false), ReturnCode::SUCCEEDED);
    EXPECT_EQ(server.SubscriptionRemoveItems(handle, subscribed), ReturnCode::SUCCEEDED);
    const int groups = sim().counts()["groups"];
    server.SubscriptionCancel(handle);
    EXPECT_EQ(sim().counts()["groups"], groups - 1);
    EXPECT_EQ(sim().counts()["sinks"], 1) << "the one for asynchronous calls";
}

TEST_P(OutOfProcessProfile, AsynchronousCallsComplete) {
    const auto completions = std::make_shared<Mailbox<std::string>>();
    server.add_ReadCompleted(
        [completions](std::int32_t transaction, bool, bool, const NullableArray<ItemValueCallback>& told) {
            std::string line = std::to_string(transaction) + " read";
            for (const ItemValueCallback& item : told.value()) line += " " + toUtf8(item.Value().toText());
            completions->put(line);
        });
    server.add_WriteCompleted(
        [completions](std::int32_t transaction, bool, const NullableArray<ItemResultCallback>& told) {
            std::string line = std::to_string(transaction) + " written";
            for (const ItemResultCallback& item : told.value()) line += " " + toUtf8(item.ResultID()->Name());
            completions->put(line);
        });
    sim().execute("item Register.Double writeerror 0xC0040006");
    items = {ItemIdentifier("Register.Int32", ""), ItemIdentifier("Register.Double", "")};
    EXPECT_EQ(server.WriteAsync(5, items, {value(12), value(1.5)}), ReturnCode::SUCCEEDED);
    EXPECT_TRUE(completions->reaches("5 written S_OK OPC_E_BADRIGHTS"));
    items = {ItemIdentifier("Register.Int32", ""), ItemIdentifier("Constant.String", "")};
    EXPECT_EQ(server.ReadAsync(6, 0, items), ReturnCode::SUCCEEDED);
    EXPECT_TRUE(completions->reaches("6 read 12 Constant text"));
}

TEST_P(OutOfProcessProfile, AddressSpaceAndPropertiesAreShown) {
    EXPECT_THAT(namesOf("Analog.Level"), ElementsAre("Analog.Level.High", "Analog.Level.Low", "Analog.Level.Units"));
    NullableArray<BrowseElement> elements;
    NullableText point = "";
    bool more = false;
    server.Browse("", nullptr, point, 0, BrowseFilter::BRANCH, nullptr, false, false, elements, more);
    EXPECT_GT(elements.size(), 3u);

    items = {ItemIdentifier("Analog.Level", ""), ItemIdentifier("No.Such.Item", "")};
    NullableArray<ItemProperties> properties;
    EXPECT_EQ(server.GetProperties(items, nullptr, true, true, properties), ReturnCode::ITEMERROR);
    const auto& level = properties[0].RequestedItemProperties();
    const auto high = std::find_if(level.begin(), level.end(),
                                   [](const auto& property) { return property.PropertyID() == PropertyID::HIGHEU; });
    ASSERT_NE(high, level.end());
    EXPECT_EQ(textOf(high->Description()), "High EU");
    EXPECT_EQ(high->Value(), Object(100.0));
    EXPECT_EQ(toUtf8(items[1].ResultID().Name()), "OPC_E_UNKNOWNITEMID");
}

TEST_F(OutOfProcess, AClientThatComesSoonAfterTheLastFindsTheSameProcess) {
    const auto process = Testing::serverProcesses();
    ASSERT_EQ(process.size(), 1u);
    leave();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    steerAgain();
    EXPECT_EQ(Testing::serverProcesses(), process);
}

TEST_F(OutOfProcess, ARequestToLeaveIsTold) {
    const auto states = std::make_shared<Mailbox<OpcDaClient::ServerState>>();
    server.add_ServerStateChanged([states](std::int32_t, OpcDaClient::ServerState state) { states->put(state); });
    connect();
    sim().execute("shutdown for maintenance");
    EXPECT_TRUE(states->reaches(OpcDaClient::ServerState::ERRORSHUTDOWN));
}

TEST_F(OutOfProcess, TheServerGetsTheClientsLocale) {
    sim().execute("locales 1031,1033");
    info.LocalId("de");
    connect();
    EXPECT_THAT(sim().journal("IOPCCommon::SetLocaleID"), Contains(HasSubstr("1031")));
}

TEST_F(OutOfProcess, ServersAreFoundThroughAListInAnotherProcess) {
    OpcCmn::OpcServerEnum finder;
    std::vector<OpcCmn::ServerIdentifier> found;
    finder.EnumComServer("", true, nullptr, found);
    std::vector<std::string> names;
    for (const auto& each : found) names.push_back(textOf(each.ProgID()));
    EXPECT_THAT(names, Contains("Korvex.Simulation.1"));
    OpxString clsid;
    finder.ClsidFromProgId("", "Korvex.Simulation.1", clsid);
    EXPECT_EQ(toUtf8(clsid), "{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}");
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
