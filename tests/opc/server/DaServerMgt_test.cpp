#include "opc/server/DaServerMgt.h"

#include <memory>

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

std::vector<std::string> expected(const std::string& name) {
    return linesOf("opc/expected.trace", name);
}

class DaServerMgtTest : public SimulationFixture {
protected:
    void connect() { ASSERT_EQ(server.connectOPCServer(OpxString(), CLSID_KorvexSimulation), S_OK); }

    RecordingCallback client;
    DaServerMgt server;
};

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

}  // namespace
}  // namespace Korvex::Testing
