#include "opc/server/DaServerMgt.h"

#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "tests/opc/apartment/ComFakes.h"
#include "tests/opc/group/GroupFixture.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::DaGroupMgt;
using OpxOpc::DaServerMgt;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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

TEST_F(DaServerMgtTest, any_node_name_means_a_remote_server) {
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

TEST_F(DaServerMgtTest, a_server_that_cannot_be_created_leaves_the_object_unconnected) {
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
    EXPECT_TRUE(trace.hasInOrder({"--> DaServerMgt::connectOPCServer", "CALL CoCreateInstanceEx",
                                  "DONE CoCreateInstanceEx [hr=0x80040154]",
                                  "<-- DaServerMgt::connectOPCServer [hr=0x80040154]"}));
    EXPECT_FALSE(trace.has("--> DaServerMgtPrivate::SetIOPCServer"));
}

TEST_F(DaServerMgtTest, a_connected_object_asks_com_nothing_when_it_is_to_connect_again) {
    connect();
    trace.clear();
    EXPECT_EQ(server.connectOPCServer(OpxString(), CLSID_KorvexSimulation), E_FAIL);
    EXPECT_THAT(trace.texts(), ElementsAre("--> DaServerMgt::connectOPCServer",
                                           "<-- DaServerMgt::connectOPCServer [hr=E_FAIL] - Server already connected"));
    EXPECT_TRUE(server.isConnected());
}

TEST_F(DaServerMgtTest, the_browsing_interfaces_are_asked_for_by_the_server_s_generation) {
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

TEST_F(DaServerMgtTest, disconnecting_gives_everything_up_whatever_the_server_answers) {
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
        EXPECT_TRUE(trace.hasInOrder({"--> DaServerMgt::disconnectOPCServer", "CALL IConnectionPoint::Unadvise",
                                      "CALL IOPCServer::RemoveGroup", "<-- Dtor DaGroupMgt",
                                      "--> DaServerMgtPrivate::ReleaseOPCServerInterfaces",
                                      "<-- DaServerMgtPrivate::ReleaseOPCServerInterfaces [hr=0x0]",
                                      "<-- DaServerMgt::disconnectOPCServer [hr=S_OK]"}))
            << trace.dump();
        EXPECT_TRUE(trace.has("Reference count = 0 of OPCServer object after last release"));
        EXPECT_EQ(server.disconnectOPCServer(), E_FAIL);
        EXPECT_TRUE(trace.has("<-- DaServerMgt::disconnectOPCServer [hr=E_FAIL] - Server not connected"));
    }
}

TEST_F(DaServerMgtTest, the_destructor_disconnects) {
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

TEST_F(DaServerMgtTest, every_known_locale_is_asked_for_in_any_case) {
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

TEST_F(DaServerMgtTest, a_locale_that_is_not_known_is_cleared_without_asking_the_server) {
    connect();
    for (const OLECHAR* text : {OLESTR("english"), OLESTR("en-u"), OLESTR("ru"), OLESTR("en_us"), OLESTR("")}) {
        OpxString locale = text;
        EXPECT_EQ(server.setLocalID(locale), S_FALSE);
        EXPECT_TRUE(locale.empty());
        EXPECT_TRUE(trace.has("Locale '" + toUtf8(text) + "' is not supported set to LOCALE_SYSTEM_DEFAULT"));
    }
    EXPECT_THAT(sim.journal("IOPCCommon::SetLocaleID"), IsEmpty());
}

TEST_F(DaServerMgtTest, a_locale_that_the_server_takes_with_another_success_is_accepted) {
    connect();
    sim.fault("IOPCCommon::SetLocaleID", S_FALSE);
    OpxString locale = OLESTR("de");
    EXPECT_EQ(server.setLocalID(locale), S_OK);
    EXPECT_EQ(locale, OLESTR("de"));
    EXPECT_TRUE(
        trace.hasInOrder({"DONE IOPCCommon::SetLocaleID [hr=0x1]", "Server supports locale 'de' -> set to LCID=0x407",
                          "<-- DaServerMgt::setLocalID [hr=0x0]"}));
}

TEST_F(DaServerMgtTest, a_locale_that_the_server_refuses_leaves_the_one_in_use) {
    connect();
    OpxString locale = OLESTR("de");
    ASSERT_EQ(server.setLocalID(locale), S_OK);

    sim.fault("IOPCCommon::SetLocaleID", E_INVALIDARG, 1);
    trace.clear();
    locale = OLESTR("fr");
    EXPECT_EQ(server.setLocalID(locale), S_FALSE);
    EXPECT_TRUE(locale.empty());
    EXPECT_THAT(trace.textsWith("SetLocaleID"),
                ElementsAre("CALL IOPCCommon::SetLocaleID(0x40c)", "DONE IOPCCommon::SetLocaleID [hr=0x80070057]",
                            "CALL IOPCCommon::SetLocaleID(0x407)", "DONE IOPCCommon::SetLocaleID [hr=0x0]"));
    EXPECT_TRUE(trace.hasInOrder({"Server does not support locale 'fr' set to LOCALE_SYSTEM_DEFAULT",
                                  "CALL IOPCCommon::Release", "<-- DaServerMgt::setLocalID [hr=0x1]"}));

    sim.fault("IOPCCommon::SetLocaleID", E_FAIL);
    locale = OLESTR("it");
    EXPECT_EQ(server.setLocalID(locale), E_FAIL);
    EXPECT_EQ(locale, OLESTR("it"));
}

// ---- Shutdown requests

TEST_F(DaServerMgtTest, a_shutdown_request_arrives_until_the_callback_is_disconnected) {
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

TEST_F(DaServerMgtTest, a_sink_that_the_server_does_not_give_back_is_cut_off_by_com) {
    const ComCallsGuard guard;
    Com::comCalls().coDisconnectObject = [](IUnknown*) -> HRESULT { return S_FALSE; };
    connect();
    ASSERT_EQ(server.connectCallback(OpxOpc::unowned(&client)), S_OK);
    sim.fault("IConnectionPoint::Unadvise", E_FAIL);
    trace.clear();
    EXPECT_EQ(server.disconnectCallback(), S_FALSE) << "COM's answer is the result";
    EXPECT_THAT(trace.texts(), ElementsAre("--> DaServerMgt::disconnectCallback", "CALL IConnectionPoint::Unadvise",
                                           "DONE IConnectionPoint::Unadvise [hr=0x80004005]", "CALL CoDisconnectObject",
                                           "DONE CoDisconnectObject [hr=0x1]", "Call OPCShutdownImpl::Release",
                                           "Done OPCShutdownImpl::Release [refcount=1]",
                                           "<-- DaServerMgt::disconnectCallback [hr=0x1]"));
    EXPECT_EQ(server.disconnectCallback(), E_FAIL);
}

// ---- Groups

TEST_F(DaServerMgtTest, a_group_is_added_as_described_and_removed_without_force) {
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

// ---- Failures

HRESULT status(Connection& c) {
    return c.server.getStatus();
}
HRESULT advise(Connection& c) {
    return c.server.connectCallback(OpxOpc::unowned(&c.client));
}
HRESULT unadvise(Connection& c) {
    return c.server.disconnectCallback();
}
HRESULT addGroup(Connection& c) {
    return c.server.addGroup(&c.group);
}
HRESULT addNothing(Connection& c) {
    return c.server.addGroup(nullptr);
}
HRESULT removeGroup(Connection& c) {
    return c.server.removeGroup(&c.group);
}
HRESULT removeNothing(Connection& c) {
    return c.server.removeGroup(nullptr);
}
HRESULT disconnect(Connection& c) {
    return c.server.disconnectOPCServer();
}
HRESULT german(Connection& c) {
    OpxString locale = OLESTR("de");
    return c.server.setLocalID(locale);
}

TEST_F(DaServerMgtTest, a_failure_is_answered_with_its_code_and_stands_in_the_trace) {
    const Failure failures[] = {
        {"fault IOPCServer::GetStatus 0x80004005", status, E_FAIL,
         "Error: IOPCServer::GetStatus FAILED [hr=0x80004005]", "<-- DaServerMgt::getStatus [hr=0x80004005]"},
        {"dead", status, hresult(0x800706BA), "Error: IOPCServer::GetStatus FAILED [hr=0x800706ba]"},
        {"answer IOPCServer::GetStatus null", status, S_OK, "<-- DaServerMgt::getStatus [hr=0x0]"},
        {"state 2", status, S_OK, "Error: IOPCServer::GetStatus - status is OPC_STATUS_FAILED"},
        {"state 3", status, S_OK, "Error: IOPCServer::GetStatus - status is OPC_STATUS_NOCONFIG"},
        {"state 4", status, S_OK, "Error: IOPCServer::GetStatus - status is OPC_STATUS_SUSPENDED"},
        {"state 5", status, S_OK, "Error: IOPCServer::GetStatus - status is OPC_STATUS_TEST"},
        {"state 6", status, S_OK, "Error: IOPCServer::GetStatus - status is OPC_STATUS_COMM_FAULT"},
        {"state 9", status, S_OK, "Error: IOPCServer::GetStatus - status is not OPC_STATUS_RUNNING dwServerState=9"},
        {"refuse IOPCCommon", german, E_NOINTERFACE,
         "Error: IOPCServer::QueryInterface IID_IOPCCommon FAILED [hr=0x80004002]",
         "<-- DaServerMgt::setLocalID [hr=0x80004002]"},
        {"refuse IConnectionPointContainer", advise, E_NOINTERFACE,
         "Error: IOPCServer::QueryInterface IID_IConnectionPointContainer FAILED [hr=0x80004002]",
         "<-- DaServerMgt::connectCallback [hr=E_NOINTERFACE] - IConnectionPoint not valid"},
        {"fault IConnectionPointContainer::FindConnectionPoint 0x80040200", advise, E_NOINTERFACE,
         "Error: IConnectionPointContainer::FindConnectionPoint FAILED [hr=0x80040200]"},
        {"answer IConnectionPointContainer::FindConnectionPoint null", advise, E_NOINTERFACE,
         "Error: IConnectionPointContainer::FindConnectionPoint FAILED [hr=0x80004002]"},
        {"fault IConnectionPoint::Advise 0x80040202", advise, hresult(0x80040202),
         "Error: Server IConnectionPoint::Advise FAILED [hr=0x80040202]",
         "<-- DaServerMgt::connectCallback [hr=0x80040202]"},
        {"fault IOPCServer::AddGroup 0xC004000C", addGroup, hresult(0xC004000C),
         "Error: IOPCServer::AddGroup FAILED [hr=0xc004000c]", "<-- DaServerMgt::addGroup [hr=0xc004000c]"},
        {"answer IOPCServer::AddGroup null", addGroup, E_NOINTERFACE,
         "Error: IOPCServer::AddGroup FAILED [hr=0x80004002]"},
        {"fault IOPCServer::RemoveGroup 0x80004005", removeGroup, E_FAIL,
         "Error: IOPCServer::RemoveGroup FAILED [hr=0x80004005]", "<-- DaServerMgt::removeGroup [hr=0x80004005]"},
        {"", addNothing, E_POINTER, "<-- DaServerMgt::addGroup [hr=E_POINTER] group pointer is NULL"},
        {"", removeNothing, E_POINTER, "<-- DaServerMgt::removeGroup [hr=E_POINTER] group pointer is NULL"},
    };
    expectFailures(failures, sim, trace, connected);
}

TEST_F(DaServerMgtTest, nothing_works_without_a_connection) {
    const Failure failures[] = {
        {"", status, E_FAIL, "<-- DaServerMgt::getStatus [hr=E_FAIL] - server not connected"},
        {"", german, E_FAIL, "<-- DaServerMgt::getStatus [hr=E_FAIL] - server not connected"},
        {"", advise, E_FAIL, "<-- DaServerMgt::connectCallback [hr=E_FAIL] - Server not connected"},
        {"", unadvise, E_FAIL, "<-- DaServerMgt::disconnectCallback [hr=E_FAIL] - Callback not connected"},
        {"", addGroup, E_FAIL, "<-- DaServerMgt::addGroup [hr=E_FAIL] - server not connected"},
        {"", removeGroup, E_FAIL, "<-- DaServerMgt::removeGroup [hr=E_FAIL] - server not connected"},
        {"", disconnect, E_FAIL, "<-- DaServerMgt::disconnectOPCServer [hr=E_FAIL] - Server not connected"},
    };
    expectFailures(failures, sim, trace, nothing);
}

}  // namespace
}  // namespace Korvex::Testing
