#include <thread>

#include <gtest/gtest.h>

#include "api/HandleHResult.h"
#include "tests/api/ApiFixture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

class DaServerMgtTest : public ApiFixture {
protected:
    ReturnCode read(std::initializer_list<ItemIdentifier> names, std::int32_t maxAge = 0) {
        items = NullableArray<ItemIdentifier>(names);
        return server.Read(maxAge, items, values);
    }

    std::int32_t resultOf(std::size_t i) const { return items[i].ResultID().Code(); }

    NullableArray<ItemIdentifier> items;
    NullableArray<ItemValue> values;
};

ItemIdentifier typed(const char* id, Type type) {
    ItemIdentifier result = item(id);
    result.DataType(type);
    return result;
}

// ---- Connecting ----------------------------------------------------------------------------------

TEST_F(DaServerMgtTest, RefusesABadUrlBeforeAnythingElse) {
    const auto nullUrl = [&] { server.Connect(nullptr, 7, &info, connectFailed); };
    const auto emptyUrl = [&] { server.Connect("", 7, &info, connectFailed); };
    EXPECT_EQ(toUtf8(thrownBy<ArgumentNullException>(nullUrl).ParamName()), "url");
    EXPECT_EQ(toUtf8(thrownBy<ArgumentException>(emptyUrl).Message()), "String must not be empty.");
    connect();
    EXPECT_THROW(nullUrl(), ArgumentNullException);
    EXPECT_THROW(emptyUrl(), ArgumentException);
    EXPECT_EQ(opcCodeOf([&] { server.Connect("opcda:x", 7, &info, connectFailed); }), E_FAIL);
    EXPECT_TRUE(server.IsConnected());
}

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
    struct Event {
        std::int32_t handle;
        State state;
        bool connected;
        bool operator==(const Event&) const = default;
    };
    std::vector<Event> events;
    server.add_ServerStateChanged([&](std::int32_t handle, State state) {
        events.push_back({handle, state, server.IsConnected()});
        throw std::runtime_error("the application's own trouble");
    });
    connect();
    server.Disconnect();
    EXPECT_EQ(events, (std::vector<Event>{{7, State::CONNECTED, false}, {7, State::DISCONNECTED, true}}));
    EXPECT_TRUE(trace.hasInOrder({"==> MCPP::DaServerMgt::add_ServerStateChanged", "==> MCPP::DaServerMgt::Connect",
                                  "==> MCPP::DaServerMgt::ServerStateChanged",
                                  "CALL MCPP::DaServerMgt::m_ServerStateChanged->Invoke",
                                  "<== MCPP::DaServerMgt::Connect [hr=0x0]"}))
        << trace.dump();
}

TEST_F(DaServerMgtTest, WritesBackWhatBecameOfTheLocale) {
    info.LocalId("de-de");
    connect();
    EXPECT_EQ(toUtf8(info.LocalId().value()), "de-de");
    read({typed("Constant.Double", Type::of<OpxString>())});
    EXPECT_EQ(toUtf8(values[0].Value().get<OpxString>()), "-2,25");
    server.Disconnect();

    info = ConnectInfo("tlh", true, true, 10000);
    connect();
    EXPECT_EQ(toUtf8(info.LocalId().value()), "");
    EXPECT_TRUE(connectFailed);  // S_FALSE while the first connection may be retried
    EXPECT_EQ(server.ServerState(), State::CONNECTED);
}

TEST_F(DaServerMgtTest, AnUnreachableServerIsAFailureOrAStateToWaitIn) {
    sim.fault("IOPCServer::AddGroup", hresult(0x800706BAu));
    EXPECT_EQ(opcCodeOf([&] { connect(); }), hresult(0x800706BAu));
    EXPECT_FALSE(server.IsConnected());

    info.RetryInitialConnection(true);
    connect();
    EXPECT_TRUE(connectFailed);
    EXPECT_TRUE(server.IsConnected());
    EXPECT_EQ(server.ServerState(), State::ERRORWATCHDOG);
    EXPECT_EQ(opcCodeOf([&] { read({item("Constant.Int32")}); }), E_FAIL);
    server.Disconnect();
    EXPECT_EQ(server.ServerState(), State::DISCONNECTED);
}

TEST_F(DaServerMgtTest, AnUnknownCodeIsAnExceptionWithTheNameUnknown) {
    sim.fault("IOPCServer::AddGroup", hresult(0x80071234u));
    const auto exception = thrownBy<OPCException>([&] { connect(); });
    EXPECT_EQ(toUtf8(exception.Message()), "-unknown");
    EXPECT_TRUE(trace.has("EXC MCPP::DaServerMgt::HandleHResult throwing Exception for HRESULT 0x80071234 "))
        << trace.dump();
    HandleHResult(S_FALSE);
}

TEST_F(DaServerMgtTest, WithoutConnectInfoTheConnectionIsMadeAndThenRefused) {
    EXPECT_THROW(server.Connect(kUrl, 7, nullptr, connectFailed), NullReferenceException);
    EXPECT_FALSE(server.IsConnected());
    EXPECT_EQ(server.ServerState(), State::CONNECTED);
    EXPECT_EQ(sim.counts()["groups"], 1);
    EXPECT_EQ(opcCodeOf([&] { connect(); }), E_FAIL);  // the native facade is connected already
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
    sim.execute("delay IOPCServer::RemoveGroup 300");
    std::thread first([&] { server.Disconnect(); });
    while (sim.journal("IOPCServer::RemoveGroup").empty()) std::this_thread::yield();
    EXPECT_EQ(opcCodeOf([&] { server.Disconnect(); }), E_FAIL);
    EXPECT_EQ(opcCodeOf([&] { connect(); }), E_FAIL);
    server.Dispose();
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

TEST_F(DaServerMgtTest, ADateBefore1970IsReadAsItIsAndNotWritten) {
    connect();
    sim.item("Register.Date", "value 7 1601-01-01");
    EXPECT_EQ(read({item("Register.Date")}), ReturnCode::SUCCEEDED);
    EXPECT_EQ(items[0].ResultID(), ResultID::WIN_S_OK);
    EXPECT_EQ(values[0].Value(), Object(DateTime::fromFileTimeTicks(0)));
    EXPECT_EQ(values[0].Quality(), QualityID::OPC_QUALITY_GOOD);
    EXPECT_EQ(server.Write(items, values), ReturnCode::ITEMERROR);
}

// ---- Reading -------------------------------------------------------------------------------------

TEST_F(DaServerMgtTest, ReadNamesTheArgumentItRefuses) {
    const auto refused = [&](NullableArray<ItemIdentifier> list, std::int32_t maxAge) {
        const auto exception = thrownBy<ArgumentException>([&] { server.Read(maxAge, list, values); });
        return toUtf8(exception.ParamName()) + ": " + toUtf8(exception.Message());
    };
    EXPECT_EQ(refused(nullptr, -1), "itemIdentifiers: Value must not be null.");
    EXPECT_EQ(refused(std::vector<ItemIdentifier>(), -1), "itemIdentifiers: Array must not be empty.");
    EXPECT_EQ(refused({item("x")}, -1), "maxAge: The value must be positive.");
    EXPECT_EQ(opcCodeOf([&] { read({item("x")}); }), E_FAIL);  // not connected: the facade's answer
}

TEST_F(DaServerMgtTest, ReadsValuesOfEveryKind) {
    connect();
    ASSERT_EQ(read({item("Constant.Boolean"), item("Constant.Int64"), item("Constant.UInt8"), item("Constant.Float"),
                    item("Constant.String"), item("Constant.Date"), item("Constant.Currency"),
                    item("Constant.Int16Array"), item("Constant.VariantArray"), item("Constant.EmptyArray")}),
              ReturnCode::SUCCEEDED);
    EXPECT_TRUE(values[0].Value().get<bool>());
    EXPECT_EQ(values[1].Value().get<std::int64_t>(), -6400000000);
    EXPECT_EQ(values[2].Value().get<std::uint8_t>(), 8);
    EXPECT_EQ(values[3].Value().get<float>(), 1.5F);
    EXPECT_EQ(toUtf8(values[4].Value().get<OpxString>()), "Constant text");
    EXPECT_EQ(toUtf8(values[5].Value().get<DateTime>().toText()), "2008-03-01T12:34:56.000Z");
    EXPECT_EQ(toUtf8(values[6].Value().toText()), "12.3456");
    EXPECT_EQ(values[7].Value().get<std::vector<std::int16_t>>(), (std::vector<std::int16_t>{-32768, -1600, 32767}));
    EXPECT_EQ(values[8].Value().get<std::vector<Object>>(), (std::vector<Object>{1, OLESTR("two"), 3.5, true}));
    EXPECT_TRUE(values[9].Value().get<std::vector<std::int32_t>>().empty());
    for (std::size_t i = 0; i < items.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(items[i].ResultID(), ResultID::WIN_S_OK);
        EXPECT_EQ(items[i].DataType(), values[i].Value().type());
        EXPECT_EQ(values[i].Quality(), QualityID::OPC_QUALITY_GOOD);
        EXPECT_GT(values[i].TimeStamp(), DateTime());
        EXPECT_NE(items[i].ServerHandle(), 0);
    }
}

TEST_F(DaServerMgtTest, TellsTroubleOfItemsByResultAndQuality) {
    connect();
    EXPECT_EQ(read({item("Constant.Int32"), item("No.Such.Item")}), ReturnCode::ITEMERROR);
    EXPECT_EQ(resultOf(0), S_OK);
    EXPECT_EQ(items[1].ResultID(), ResultID::OPC_E_UNKNOWNITEMID);
    EXPECT_EQ(values[0].Value().get<std::int32_t>(), -320000);
    EXPECT_TRUE(values[1].Value().isNull());
    EXPECT_FALSE(values[1].Quality());

    EXPECT_EQ(read({item("Constant.Int32"), item("Quality.Uncertain")}), ReturnCode::QUALITYNOTGOOD);
    EXPECT_EQ(values[1].Value().get<std::int32_t>(), 42);
    EXPECT_EQ(read({item("Quality.Bad"), item("Error.Read")}), ReturnCode::ITEMERRORANDQUALITYBAD);
    EXPECT_EQ(values[0].Quality(), QualityID::OPC_QUALITY_BAD);
    EXPECT_EQ(resultOf(1), E_FAIL);
}

TEST_F(DaServerMgtTest, APositiveItemErrorLeavesTheValueOutToo) {
    connect();
    sim.item("Constant.Int32", "error 0x0004000e");
    EXPECT_EQ(read({item("Constant.Int32"), item("Error.Read")}), ReturnCode::ITEMERROR);
    EXPECT_EQ(items[0].ResultID(), ResultID::OPC_S_CLAMP);
    EXPECT_TRUE(values[0].Value().isNull());
}

TEST_F(DaServerMgtTest, ConvertsToTheTypeAskedForAndReportsTheItemsOwnOtherwise) {
    connect();
    const Type characters = Type::arrayOf(Type::Kind::Character);
    EXPECT_EQ(
        read({typed("Constant.Int32", Type::of<OpxString>()), typed("Constant.Double", Type::of<std::int16_t>()),
              typed("Constant.Int8Array", characters), typed("Constant.UInt32", Type::scalar(Type::Kind::Character))}),
        ReturnCode::SUCCEEDED);
    EXPECT_EQ(toUtf8(values[0].Value().get<OpxString>()), "-320000");
    EXPECT_EQ(values[1].Value().get<std::int16_t>(), -2);
    // An array of characters is asked for as the tag that is reported as an array of Int8.
    EXPECT_EQ(items[2].DataType(), Type::of<std::vector<std::int8_t>>());
    EXPECT_EQ(items[3].DataType(), Type::of<std::uint32_t>());

    EXPECT_EQ(read({typed("Constant.String", Type::of<std::int32_t>())}), ReturnCode::ITEMERROR);
    EXPECT_EQ(items[0].ResultID(), ResultID::WIN_DISP_E_TYPEMISMATCH);
}

TEST_F(DaServerMgtTest, AServersNonsenseCostsTheItemOnly) {
    connect();
    for (const char* nonsense : {"value 0 x", "value 1 x", "value 10 5", "array2d", "time 0xFFFFFFFFFFFFFFFF"}) {
        SCOPED_TRACE(nonsense);
        sim.reset();
        sim.item("Constant.Int32", nonsense);
        read({item("Constant.Int32"), item("Constant.Double")});
        ASSERT_EQ(values.size(), 2u);
        EXPECT_EQ(resultOf(1), S_OK);
        EXPECT_EQ(values[1].Value().get<double>(), -2.25);
    }
}

TEST_F(DaServerMgtTest, SurvivesArraysThatAServerLeavesOut) {
    connect();
    read({item("Constant.Int32")});
    sim.answer("IOPCSyncIO::Read", "null");
    EXPECT_EQ(read({item("Constant.Int32")}), ReturnCode::ITEMERROR);
    EXPECT_LT(resultOf(0), 0);
    EXPECT_TRUE(values[0].Value().isNull());
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
