#include "opc/server/DaServerMgt.h"

#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "opc/callbacks/unowned.h"
#include "tests/opc/apartment/ComFakes.h"
#include "tests/opc/group/GroupFixture.h"
#include "tests/support/expected_lines.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::DaGroupMgt;
using OpxOpc::DaServerMgt;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> expected(const std::string& name) {
    return linesOf("opc/expected.trace", name);
}

class DaServerMgtTest : public SimulationFixture {
protected:
    void connect() { ASSERT_EQ(server.connectOPCServer(OpxString(), CLSID_KorvexSimulation), S_OK); }

    RecordingCallback client;
    DaServerMgt server;
};

// ---- Connecting

struct Activation {
    DWORD context;
    bool remote;
    OpxString node;
};
Activation lastActivation;

TEST_F(DaServerMgtTest, AnyNodeNameMeansARemoteServer) {
    const ComCallsGuard guard;
    Com::comCalls().coCreateInstanceEx = [](REFCLSID clsid, DWORD context, COSERVERINFO* info, DWORD count,
                                            MULTI_QI* results) -> HRESULT {
        lastActivation = {context, info != nullptr, info ? OpxString(info->pwszName) : OpxString()};
        return Com::platformComCalls().coCreateInstanceEx(clsid, CLSCTX_ALL, nullptr, count, results);
    };
    for (const OLECHAR* node : {OLESTR(""), OLESTR("localhost"), OLESTR("plant7")}) {
        EXPECT_EQ(server.connectOPCServer(node, CLSID_KorvexSimulation), S_OK);
        EXPECT_EQ(server.disconnectOPCServer(), S_OK);
        const bool remote = *node != 0;
        EXPECT_EQ(lastActivation.context, remote ? 16u : 23u);
        EXPECT_EQ(lastActivation.remote, remote);
        EXPECT_EQ(lastActivation.node, node);
    }
}

TEST_F(DaServerMgtTest, AServerThatCannotBeCreatedLeavesTheObjectUnconnected) {
    const ComCallsGuard guard;
    Com::comCalls().coCreateInstanceEx = [](REFCLSID, DWORD, COSERVERINFO*, DWORD, MULTI_QI*) -> HRESULT {
        return REGDB_E_CLASSNOTREG;
    };
    EXPECT_EQ(server.connectOPCServer(OpxString(), CLSID_KorvexSimulation), REGDB_E_CLASSNOTREG);
    Com::comCalls().coCreateInstanceEx = [](REFCLSID, DWORD, COSERVERINFO*, DWORD, MULTI_QI* results) -> HRESULT {
        results->hr = E_ACCESSDENIED;
        return S_OK;
    };
    EXPECT_EQ(server.connectOPCServer(OpxString(), CLSID_KorvexSimulation), E_ACCESSDENIED);
    Com::comCalls().coCreateInstanceEx = [](REFCLSID, DWORD, COSERVERINFO*, DWORD, MULTI_QI*) -> HRESULT {
        return S_OK;
    };
    EXPECT_EQ(server.connectOPCServer(OpxString(), CLSID_KorvexSimulation), E_NOINTERFACE);

    EXPECT_FALSE(server.isConnected());
    EXPECT_TRUE(trace.hasInOrder(expected("AServerThatCannotBeCreatedLeavesTheObjectUnconnected")));
    EXPECT_FALSE(trace.has("--> DaServerMgtPrivate::SetIOPCServer"));
}

TEST_F(DaServerMgtTest, TheBrowsingInterfacesAreAskedForByTheServersGeneration) {
    struct Case {
        const char* name;
        std::vector<std::string> commands;
        HRESULT result;
        std::vector<std::string> queries;
        std::size_t organizations;
    };
    const std::vector<std::string> all = {"IOPCBrowse", "IOPCItemProperties", "IOPCBrowseServerAddressSpace"};
    const Case cases[] = {
        {"data access 3", {}, S_OK, {"IOPCBrowse"}, 0},
        {"data access 2", {"profile 2"}, S_OK, all, 1},
        {"no address space", {"profile 2", "refuse IOPCBrowseServerAddressSpace"}, S_OK, all, 0},
        {"no properties", {"profile 2", "refuse IOPCItemProperties"}, E_NOINTERFACE, all, 1},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        sim.reset();
        for (const std::string& command : each.commands) sim.execute(command);
        trace.clear();
        EXPECT_EQ(hex(server.connectOPCServer(OpxString(), CLSID_KorvexSimulation)), hex(each.result));
        EXPECT_EQ(server.isConnected(), each.result == S_OK);
        std::vector<std::string> expected;
        for (const std::string& name : each.queries) {
            expected.push_back("CALL IOPCServer::QueryInterface (IID_" + name + ")");
        }
        EXPECT_EQ(trace.textsWith("CALL IOPCServer::QueryInterface"), expected);
        EXPECT_EQ(sim.journal("IOPCBrowseServerAddressSpace::QueryOrganization").size(), each.organizations);
        EXPECT_TRUE(trace.hasInOrder({"--> DaServerMgtPrivate::SetIOPCServer",
                                      "<-- DaServerMgtPrivate::SetIOPCServer [hr=" + hex(each.result) + "]"}));
        server.disconnectOPCServer();
        EXPECT_EQ(sim.counts()["servers"], 0);
    }
}

// ---- Disconnecting

TEST_F(DaServerMgtTest, DisconnectingGivesEverythingUpWhateverTheServerAnswers) {
    for (const bool faulty : {false, true}) {
        SCOPED_TRACE(faulty);
        sim.reset();
        connect();
        ASSERT_EQ(server.connectCallback(OpxOpc::unowned(&client)), S_OK);
        auto group = std::make_unique<DaGroupMgt>(OLESTR("Attached"), 100, false, 1, 0.0F);
        ASSERT_EQ(server.addGroup(group.get()), S_OK);
        server.attachGroup(std::move(group));
        if (faulty) {
            sim.fault("IConnectionPoint::Unadvise", E_FAIL);
            sim.fault("IOPCServer::RemoveGroup", E_FAIL);
        }
        trace.clear();
        EXPECT_EQ(server.disconnectOPCServer(), S_OK);
        EXPECT_FALSE(server.isConnected());
        EXPECT_TRUE(trace.hasInOrder(expected("DisconnectingGivesEverythingUpWhateverTheServerAnswers")))
            << trace.dump();
        EXPECT_TRUE(trace.has("Reference count = 0 of OPCServer object after last release"));
        EXPECT_EQ(server.disconnectOPCServer(), E_FAIL);
        EXPECT_TRUE(trace.has("<-- DaServerMgt::disconnectOPCServer [hr=E_FAIL] - Server not connected"));
    }
}

TEST_F(DaServerMgtTest, TheDestructorDisconnects) {
    {
        DaServerMgt shortLived;
        ASSERT_EQ(shortLived.connectOPCServer(OpxString(), CLSID_KorvexSimulation), S_OK);
        EXPECT_EQ(sim.counts()["servers"], 1);
    }
    EXPECT_EQ(sim.counts()["servers"], 0);
    EXPECT_TRUE(trace.hasInOrder({"Ctor DaServerMgt", "--> Dtor DaServerMgt",
                                  "<-- DaServerMgt::disconnectOPCServer [hr=S_OK]", "<-- Dtor DaServerMgt"}));
}

// ---- Locales

TEST_F(DaServerMgtTest, EveryKnownLocaleIsAskedForInAnyCase) {
    struct Case {
        const OLECHAR* locale;
        const char* code;
    };
    const Case cases[] = {{OLESTR("EN"), "0x409"},    {OLESTR("en-US"), "0x409"}, {OLESTR("de"), "0x407"},
                          {OLESTR("de-de"), "0x407"}, {OLESTR("en-gb"), "0x809"}, {OLESTR("fr"), "0x40c"},
                          {OLESTR("FR-fr"), "0x40c"}, {OLESTR("it"), "0x410"},    {OLESTR("it-it"), "0x410"},
                          {OLESTR("es"), "0xc0a"},    {OLESTR("es-es"), "0xc0a"}};
    connect();
    for (const Case& each : cases) {
        OpxString locale = each.locale;
        EXPECT_EQ(server.setLocalID(locale), S_OK);
        EXPECT_EQ(locale, each.locale);
        EXPECT_TRUE(trace.has("Server supports locale '" + toUtf8(locale) + "' -> set to LCID=" + each.code));
    }
}

TEST_F(DaServerMgtTest, ALocaleThatIsNotKnownIsClearedWithoutAskingTheServer) {
    connect();
    for (const OLECHAR* text : {OLESTR("english"), OLESTR("en-u"), OLESTR("ru"), OLESTR("en_us"), OLESTR("")}) {
        OpxString locale = text;
        EXPECT_EQ(server.setLocalID(locale), S_FALSE);
        EXPECT_TRUE(locale.empty());
        EXPECT_TRUE(trace.has("Locale '" + toUtf8(text) + "' is not supported set to LOCALE_SYSTEM_DEFAULT"));
    }
    EXPECT_THAT(sim.journal("IOPCCommon::SetLocaleID"), IsEmpty());
}

TEST_F(DaServerMgtTest, ALocaleThatTheServerRefusesLeavesTheOneInUse) {
    connect();
    OpxString locale = OLESTR("de");
    ASSERT_EQ(server.setLocalID(locale), S_OK);

    sim.fault("IOPCCommon::SetLocaleID", E_INVALIDARG, 1);
    trace.clear();
    locale = OLESTR("fr");
    EXPECT_EQ(server.setLocalID(locale), S_FALSE);
    EXPECT_TRUE(locale.empty());
    EXPECT_EQ(trace.textsWith("SetLocaleID"), expected("ALocaleThatTheServerRefusesLeavesTheOneInUse"));
    EXPECT_TRUE(trace.hasInOrder({"Server does not support locale 'fr' set to LOCALE_SYSTEM_DEFAULT",
                                  "CALL IOPCCommon::Release", "<-- DaServerMgt::setLocalID [hr=0x1]"}));

    sim.fault("IOPCCommon::SetLocaleID", E_FAIL);
    locale = OLESTR("it");
    EXPECT_EQ(server.setLocalID(locale), E_FAIL);
    EXPECT_EQ(locale, OLESTR("it"));
}

// ---- Shutdown requests

TEST_F(DaServerMgtTest, AShutdownRequestArrivesUntilTheCallbackIsDisconnected) {
    connect();
    ASSERT_EQ(server.connectCallback(OpxOpc::unowned(&client)), S_OK);
    EXPECT_EQ(server.connectCallback(OpxOpc::unowned(&client)), E_FAIL);
    sim.execute("shutdown power");
    ASSERT_TRUE(client.waitForStatuses(1));
    EXPECT_EQ(client.statuses()[0].status, OpxOpc::SERVERSTATUS_SHUTDOWN);
    EXPECT_TRUE(trace.has("ShutdownRequest - reason for shutdown: power"));

    EXPECT_EQ(server.disconnectCallback(), S_OK);
    EXPECT_EQ(sim.counts()["shutdownsinks"], 0);
    ASSERT_EQ(server.connectCallback(OpxOpc::unowned(&client)), S_OK);
    EXPECT_EQ(sim.journal("IConnectionPointContainer::FindConnectionPoint").size(), 1u)
        << "the connection point is kept";
    EXPECT_TRUE(trace.has("<-- DaServerMgt::connectCallback [hr=E_FAIL] - Callback already connected"));
}

TEST_F(DaServerMgtTest, ASinkThatTheServerDoesNotGiveBackIsCutOffByCom) {
    const ComCallsGuard guard;
    Com::comCalls().coDisconnectObject = [](IUnknown*) -> HRESULT { return S_FALSE; };
    connect();
    ASSERT_EQ(server.connectCallback(OpxOpc::unowned(&client)), S_OK);
    sim.fault("IConnectionPoint::Unadvise", E_FAIL);
    trace.clear();
    EXPECT_EQ(server.disconnectCallback(), S_FALSE) << "COM's answer is the result";
    EXPECT_EQ(trace.texts(), expected("ASinkThatTheServerDoesNotGiveBackIsCutOffByCom"));
    EXPECT_EQ(server.disconnectCallback(), E_FAIL);
}

// ---- Groups

TEST_F(DaServerMgtTest, AGroupIsAddedAsDescribedAndRemovedWithoutForce) {
    connect();
    OpxString locale = OLESTR("de");
    ASSERT_EQ(server.setLocalID(locale), S_OK);
    DaGroupMgt group(OLESTR("Pumps"), 100, true, 7, 2.5F);
    sim.clearJournal();
    ASSERT_EQ(server.addGroup(&group), S_OK);
    const auto added = sim.journal("IOPCServer::AddGroup");
    ASSERT_EQ(added.size(), 1u);
    EXPECT_THAT(added[0], ::testing::StartsWith("IOPCServer::AddGroup name=Pumps active=1 rate=100 client=7 "
                                                "deadband=2.5 locale=1031"));
    EXPECT_NE(group.serverHandle(), 0u);

    trace.clear();
    EXPECT_EQ(server.removeGroup(&group), S_OK);
    EXPECT_TRUE(
        trace.hasInOrder({"--> DaServerMgt::removeGroup", "Reference count = 1 of OPCGroup object after last release",
                          "CALL IOPCServer::RemoveGroup", "<-- DaServerMgt::removeGroup [hr=0x0]"}));
    const auto removed = sim.journal("IOPCServer::RemoveGroup");
    ASSERT_EQ(removed.size(), 1u);
    EXPECT_THAT(removed[0], ::testing::HasSubstr("force=0"));
    EXPECT_EQ(sim.counts()["groups"], 0);
}

}  // namespace
}  // namespace Korvex::Testing
