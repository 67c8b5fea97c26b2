// Connections, and reading over them.
#include <map>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>

#include "api/ItemConversion.h"
#include "tests/api/ApiFixture.h"
#include "tests/support/rows.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using DaServerMgtTest = ApiFixture;

// ---- Connecting ----------------------------------------------------------------------------------

TEST_F(DaServerMgtTest, ConnectsOnceAndDisconnectsOnce) {
    EXPECT_EQ(server.ServerState(), State::DISCONNECTED);
    connect();
    EXPECT_TRUE(server.IsConnected());
    EXPECT_FALSE(connectFailed);
    EXPECT_EQ(server.ServerState(), State::CONNECTED);

    const auto again = thrownBy<OPCException>([&] { connect(); });
    EXPECT_EQ(again.ResultID().Code(), E_FAIL);
    EXPECT_EQ(toUtf8(again.Message()), "Unspecified error. - The server is already connected.");
    EXPECT_EQ(sim.counts()["groups"], 1);

    server.Disconnect();
    EXPECT_FALSE(server.IsConnected());
    EXPECT_EQ(server.ServerState(), State::DISCONNECTED);
    const auto once = thrownBy<OPCException>([&] { server.Disconnect(); });
    EXPECT_EQ(toUtf8(once.Message()), "Unspecified error. - The server is currently not connected.");
    EXPECT_TRUE(
        trace.has("EXC MCPP::DaServerMgt::Disconnect throwing OPCException - The server is currently not connected"));
    connect();
    EXPECT_TRUE(server.IsConnected());
}

TEST_F(DaServerMgtTest, EventsComeBeforeIsConnectedChanges) {
    server.add_ServerStateChanged([&](std::int32_t connection, State state) {
        toldStates(story)(connection, state);
        story->put(server.IsConnected() ? "connected" : "not connected");
        throw std::runtime_error("the application's own trouble");
    });
    connect();
    EXPECT_EQ(story->next(), "7: state 4");
    EXPECT_EQ(story->next(), "not connected");
    server.Disconnect();
    EXPECT_EQ(story->next(), "7: state 1");
    EXPECT_EQ(story->next(), "connected");
    EXPECT_TRUE(trace.hasInOrder({"==> MCPP::DaServerMgt::add_ServerStateChanged", "==> MCPP::DaServerMgt::Connect",
                                  "==> MCPP::DaServerMgt::ServerStateChanged",
                                  "CALL MCPP::DaServerMgt::m_ServerStateChanged->Invoke",
                                  "<== MCPP::DaServerMgt::Connect [hr=0x0]"}))
        << trace.dump();
}

TEST_F(DaServerMgtTest, ARequestToLeaveIsTold) {
    server.add_ServerStateChanged(toldStates(story));
    connect();
    EXPECT_EQ(story->next(), "7: state 4");
    sim.execute("shutdown for maintenance");
    EXPECT_EQ(story->next(), "7: state 2");
    EXPECT_THAT(trace.dump(), ::testing::HasSubstr("for maintenance"));
}

TEST_F(DaServerMgtTest, WritesBackWhatBecameOfTheLocale) {
    info.LocalId("de-de");
    connect();
    EXPECT_EQ(toUtf8(info.LocalId().value()), "de-de");
    items = {item("Constant.Double")};
    items[0].DataType(Type::of<OpxString>());
    server.Read(0, items, values);
    EXPECT_EQ(toUtf8(values[0].Value().get<OpxString>()), "-2,25");
    server.Disconnect();

    info = ConnectInfo("tlh", true, true, 10000);
    connect();
    EXPECT_EQ(toUtf8(info.LocalId().value()), "");
    EXPECT_TRUE(connectFailed);  // S_FALSE while the first connection may be retried
    EXPECT_EQ(server.ServerState(), State::CONNECTED);
}

TEST_F(DaServerMgtTest, AnUnreachableServerIsAFailureOrAStateToWaitIn) {
    constexpr std::int32_t kUnknown = hresult(0x80071234u);
    sim.fault("IOPCServer::AddGroup", kUnknown);
    for (const bool before : {false, true}) {
        connectFailed = before;
        info.LocalId("tlh");
        const auto failure = thrownBy<OPCException>([&] { connect(); });
        EXPECT_EQ(failure.ResultID().Code(), kUnknown);
        EXPECT_EQ(toUtf8(failure.Message()), "-unknown");
        EXPECT_EQ(connectFailed, before);
        EXPECT_EQ(info.LocalId(), NullableText("tlh")) << "a call that fails leaves its arguments alone";
    }
    EXPECT_TRUE(trace.has("EXC MCPP::DaServerMgt::HandleHResult throwing Exception for HRESULT 0x80071234 "));
    EXPECT_FALSE(server.IsConnected());

    info.RetryInitialConnection(true);
    connectFailed = false;
    connect();
    EXPECT_TRUE(connectFailed);
    EXPECT_TRUE(server.IsConnected());
    EXPECT_EQ(server.ServerState(), State::ERRORWATCHDOG);
    EXPECT_EQ(opcCodeOf([&] { read({item("Constant.Int32")}); }), E_FAIL);
    server.Disconnect();
    EXPECT_EQ(server.ServerState(), State::DISCONNECTED);
}

TEST_F(DaServerMgtTest, WithoutConnectInfoTheConnectionIsMadeAndThenRefused) {
    EXPECT_THROW(server.Connect(kUrl, 7, nullptr, connectFailed), NullReferenceException);
    EXPECT_FALSE(server.IsConnected());
    EXPECT_EQ(server.ServerState(), State::CONNECTED);
    EXPECT_EQ(sim.counts()["groups"], 1);
    subscribe({item("Constant.Int32")}, false);
    EXPECT_EQ(opcCodeOf([&] { connect(); }), E_FAIL);  // the native facade is connected already
    EXPECT_THROW(add({item("Constant.Double")}), KeyNotFoundException) << "connecting forgets the subscriptions";
    server.Dispose();
    EXPECT_EQ(sim.counts()["groups"], 0);
}

TEST_F(DaServerMgtTest, DisposingDisconnectsOnceAndEndsTheObjectsUse) {
    std::vector<State> states;
    server.add_ServerStateChanged([&](std::int32_t, State state) {
        states.push_back(state);
        EXPECT_EQ(server.IsConnected(), state == State::DISCONNECTED);
    });
    connect();
    sim.fault("IOPCServer::RemoveGroup", E_FAIL);
    server.Dispose(false);
    EXPECT_TRUE(server.IsConnected());
    server.Dispose(true);
    server.Dispose();
    EXPECT_EQ(states, (std::vector{State::CONNECTED, State::DISCONNECTED}));
    EXPECT_FALSE(server.IsConnected());
    EXPECT_EQ(trace.count("--> Dtor MCPP::DaServerMgt"), 1u);
    EXPECT_THROW(connect(), NullReferenceException);
    EXPECT_THROW(read({item("Constant.Int32")}), NullReferenceException);
}

TEST_F(DaServerMgtTest, DisposingAndDisconnectingTwiceWaitForNobodyAndFreeNothingInUse) {
    connect();
    sim.execute("hang IOPCServer::RemoveGroup");
    std::thread first([&] { server.Disconnect(); });
    while (sim.journal("IOPCServer::RemoveGroup").empty()) std::this_thread::yield();
    EXPECT_EQ(opcCodeOf([&] { server.Disconnect(); }), E_FAIL);
    EXPECT_EQ(opcCodeOf([&] { connect(); }), E_FAIL);
    server.Dispose();
    EXPECT_NE(sim.journal("IOPCServer::RemoveGroup").at(0).find("-> running"), std::string::npos);
    sim.execute("release IOPCServer::RemoveGroup");
    first.join();
    EXPECT_FALSE(server.IsConnected());
    EXPECT_EQ(sim.counts()["groups"], 0);
}

TEST_F(DaServerMgtTest, AHandlerThatConnectsWheneverItIsNotConnectedChangesNothing) {
    int refused = 0;
    server.add_ServerStateChanged([&](std::int32_t, State) {
        if (!server.IsConnected() && opcCodeOf([&] { connect(); }) == E_FAIL) ++refused;
    });
    connect();
    EXPECT_EQ(refused, 1);
    EXPECT_EQ(server.ServerState(), State::CONNECTED);
    EXPECT_EQ(sim.counts()["groups"], 1);
}

TEST_F(DaServerMgtTest, DisposingWhileConnectingLeavesNoConnection) {
    server.add_ServerStateChanged([&](std::int32_t, State) { server.Dispose(); });
    EXPECT_THROW(connect(), NullReferenceException);
    EXPECT_FALSE(server.IsConnected());
    EXPECT_EQ(sim.counts()["groups"], 0);
}

// ---- Reading -------------------------------------------------------------------------------------

// "Int32 -320000 OPC_QUALITY_GOOD S_OK", with the type that the identifier tells.
std::string told(const ItemIdentifier& item, const ItemValue& value) {
    return toUtf8(item.DataType().name()) + " " + (value.Value().isNull() ? "null" : toUtf8(value.Value().toText())) +
           " " + (value.Quality() ? toUtf8(value.Quality()->Name()) : "-") + " " + toUtf8(item.ResultID().Name());
}

TEST_F(DaServerMgtTest, AReadTellsItemsByValueResultAndQuality) {
    const std::map<std::string, Type> types = {{"String", Type::of<OpxString>()},
                                               {"Int16", Type::of<std::int16_t>()},
                                               {"Int32", Type::of<std::int32_t>()},
                                               {"Char", Type::scalar(Type::Kind::Character)},
                                               {"Char[]", Type::arrayOf(Type::Kind::Character)}};
    connect();
    sim.item("Register.Date", "value 7 1601-01-01");
    sim.item("Constant.Int16", "error 0x0004000e");
    for (const auto& row : Testing::rowsOf("api/reads.txt", 3)) {
        std::vector<ItemIdentifier> asked;
        std::istringstream names(row[0]);
        for (std::string name; names >> name;) {
            const auto colon = name.find(':');
            asked.push_back(item(name.substr(0, colon).c_str()));
            if (colon != std::string::npos) asked.back().DataType(types.at(name.substr(colon + 1)));
        }
        items = asked;
        EXPECT_EQ(std::to_string(static_cast<int>(server.Read(0, items, values))), row[1]) << row[0];
        std::string all;
        for (std::size_t i = 0; i < asked.size(); ++i) all += (i == 0 ? "" : ", ") + told(items[i], values[i]);
        EXPECT_EQ(all, row[2]) << row[0];
        EXPECT_EQ(values[0].TimeStamp() > DateTime(), !values[0].Value().isNull()) << row[0];
    }
    EXPECT_EQ(server.Write(items, values), ReturnCode::ITEMERROR) << "a date before 1970 is not written";
}

TEST(ItemConversion, AnInconvertibleValueHasItsQualityAndItsResult) {
    std::vector<OpxOpc::OpxItemValue> native(2);
    for (auto& each : native) each.value = OpxOpc::OpxVariant::unknown();
    native[1].quality = 0xC0;
    for (const std::size_t i : {std::size_t{0}, std::size_t{1}}) {
        std::vector<ItemIdentifier> identifiers(1);
        bool allGood = true;
        const auto read = ReadItemValues({native[i]}, ItemResults(S_OK, {}), identifiers, allGood);
        EXPECT_EQ(told(identifiers[0], read[0]),
                  std::string(" null ") + (i == 0 ? "OPC_QUALITY_BAD" : "OPC_QUALITY_GOOD") + " DISP_E_TYPEMISMATCH");
        EXPECT_EQ(allGood, i == 1);
    }
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
