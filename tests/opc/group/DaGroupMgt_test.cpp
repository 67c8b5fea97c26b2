#include "opc/group/DaGroupMgt.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "tests/opc/apartment/ComFakes.h"
#include "tests/opc/group/GroupFixture.h"
#include "tests/support/expected_lines.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<std::string> expected(const std::string& name) {
    return linesOf("opc/expected.trace", name);
}

constexpr std::int32_t kUnknownItem = static_cast<std::int32_t>(0xC0040007u);

class DaGroupMgtTest : public SimulationFixture {
protected:
    DaGroupMgtTest() {
        EXPECT_EQ(c.connectWithGroup(), S_OK);
        trace.clear();
        sim.clearJournal();
    }

    Connection c;
};

// ---- Interfaces

TEST_F(DaGroupMgtTest, BothInterfacesOfDataAccess3AreNeededToReadByAge) {
    struct Case {
        std::vector<std::string> refused;
        const char* read;
    };
    const Case cases[] = {{{}, "IOPCSyncIO2::ReadMaxAge"},
                          {{"IOPCSyncIO2"}, "IOPCSyncIO::Read"},
                          {{"IOPCAsyncIO3"}, "IOPCSyncIO::Read"},
                          {{"IOPCSyncIO2", "IOPCAsyncIO3"}, "IOPCSyncIO::Read"}};
    for (const Case& each : cases) {
        sim.reset();
        trace.clear();
        for (const std::string& name : each.refused) sim.refuse(name);
        Connection own;
        ASSERT_EQ(own.connectWithGroup(), S_OK);
        for (const std::string name : {"IOPCSyncIO2", "IOPCAsyncIO3"}) {
            const bool refused = std::count(each.refused.begin(), each.refused.end(), name) > 0;
            EXPECT_EQ(trace.has("Data Access 3 interface " + name + " not supported by the server [hr=0x0]"), refused);
        }
        EXPECT_EQ(own.read(own.add(OLESTR("Constant.Int32")), 1000), S_OK);
        EXPECT_EQ(sim.journal(each.read).size(), 1u) << each.read;
    }
}

TEST_F(DaGroupMgtTest, ClearingReleasesTheGroupAndMakesItUnavailable) {
    EXPECT_EQ(c.group.clear(), S_OK);
    EXPECT_EQ(trace.texts(), expected("ClearingReleasesTheGroupAndMakesItUnavailable"))
        << "the reference left is the server's";
    EXPECT_EQ(c.group.setActive(true), E_FAIL);
}

// ---- State

TEST_F(DaGroupMgtTest, AChangeOfStateAsksForJustThatAndKeepsTheRevisedRate) {
    struct Case {
        const char* name;
        HRESULT (*call)(Connection&);
        const char* asked;
        std::uint32_t rate;
        bool active;
        float deadband;
    };
    const Case cases[] = {
        {"setActive", [](Connection& on) { return on.group.setActive(true); }, "rate=null active=1 deadband=null", 100,
         true, 0},
        {"setDeadband", [](Connection& on) { return on.group.setDeadband(2.5F); }, "rate=null active=null deadband=2.5",
         100, true, 2.5F},
        {"setUpdateRate", [](Connection& on) { return on.group.setUpdateRate(300); },
         "rate=300 active=null deadband=null", 300, true, 2.5F},
        {"setState", [](Connection& on) { return on.group.setState(false, 5, 700); }, "rate=700 active=0 deadband=5",
         700, false, 5},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        sim.clearJournal();
        EXPECT_EQ(each.call(c), S_OK);
        const auto calls = sim.journal("IOPCGroupStateMgt::SetState");
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_THAT(calls[0], HasSubstr(each.asked));
        EXPECT_EQ(c.group.updateRate(), each.rate);
        EXPECT_EQ(c.group.active(), each.active);
        EXPECT_EQ(c.group.percentDeadband(), each.deadband);
    }
    sim.fault("IOPCGroupStateMgt::SetState", E_FAIL);
    EXPECT_EQ(c.group.setState(true, 50, 50), E_FAIL);
    EXPECT_EQ(c.group.updateRate(), 700u) << "a refused change is not kept";
    EXPECT_FALSE(c.group.active());
    EXPECT_EQ(c.group.percentDeadband(), 5.0F);
}

TEST_F(DaGroupMgtTest, TheServersRevisionOfARateCounts) {
    EXPECT_TRUE(succeeded(c.group.setUpdateRate(1)));
    EXPECT_EQ(c.group.updateRate(), 10u);
}

// ---- Items

TEST_F(DaGroupMgtTest, AcceptedItemsLearnHandleRightsAndCanonicalType) {
    std::vector<OpxOpc::OpxItemIdentifier> items = {
        itemNamed(OLESTR("Constant.Double")), itemNamed(OLESTR("Constant.Double"), VType::String),
        itemNamed(OLESTR("Register.Int16Array"), VType::Unknown), itemNamed(OLESTR("No.Such.Item"), VType::Int32)};
    items[0].itemPath = OLESTR("path");
    items[0].active = false;
    Codes errors;
    EXPECT_EQ(c.group.addItems(items, errors, false), S_FALSE);
    EXPECT_THAT(errors, ElementsAre(S_OK, S_OK, S_OK, kUnknownItem));
    EXPECT_EQ(items[0].dataType, VType::Double);
    EXPECT_EQ(items[1].dataType, VType::String) << "a type that was asked for stays";
    EXPECT_EQ(items[2].dataType, Opx::arrayOf(VType::Int16)) << "a type without tag is no request";
    EXPECT_EQ(items[3].dataType, VType::Int32);
    EXPECT_EQ(items[0].accessRights, 1);
    EXPECT_EQ(items[2].accessRights, 3);
    EXPECT_NE(items[0].serverHandle, items[1].serverHandle);
    EXPECT_EQ(items[3].serverHandle, 0u);
    EXPECT_TRUE(
        trace.hasInOrder({"--> DaGroupMgt::addItems", "Add 4 items", "  Item[0] Constant.Double DT=0 CH=0",
                          "  Item[3] No.Such.Item DT=4 CH=0", "CALL IOPCItemMgt::AddItems", "Add 4 items returned",
                          "  Item[0] SH=" + std::to_string(items[0].serverHandle) + " AR=1 VarinatDT=5",
                          "  Item[3] error==0xc0040007 No.Such.Item - IOPCItemMgt::AddItems FAILED",
                          "<-- DaGroupMgt::addItems [hr=0x1]"}))
        << trace.dump();
}

TEST_F(DaGroupMgtTest, ValidatingTellsRightsAndTypeAndAddsNothing) {
    std::vector<OpxOpc::OpxItemIdentifier> items = {itemNamed(OLESTR("Constant.Double")),
                                                    itemNamed(OLESTR("No.Such.Item"))};
    Codes errors;
    EXPECT_EQ(c.group.addItems(items, errors, true), S_FALSE);
    EXPECT_EQ(items[0].serverHandle, 0u);
    EXPECT_EQ(items[0].dataType, VType::Double);
    EXPECT_EQ(items[0].accessRights, 1);
    EXPECT_EQ(sim.counts()["items"], 0);
    EXPECT_TRUE(trace.has("CALL IOPCItemMgt::ValidateItems"));
    EXPECT_TRUE(trace.has("  Item[1] error==0xc0040007 No.Such.Item - IOPCItemMgt::AddItems FAILED"))
        << "reported under the name of adding";
}

TEST_F(DaGroupMgtTest, RemovingZeroesEveryHandleEvenOfItemsThatTheServerRefused) {
    std::vector<OpxOpc::OpxItemIdentifier> items(2);
    items[0].serverHandle = c.add(OLESTR("Constant.Double"));
    items[1].serverHandle = 4711;
    Codes errors;
    EXPECT_EQ(c.group.removeItems(items, errors), S_FALSE);
    EXPECT_THAT(errors, ElementsAre(S_OK, static_cast<std::int32_t>(0xC0040001u)));
    EXPECT_EQ(items[0].serverHandle, 0u);
    EXPECT_EQ(items[1].serverHandle, 0u);
    EXPECT_TRUE(trace.has("  Item[1] error==0xc0040001 - IOPCItemMgt::RemoveItems FAILED"));
    EXPECT_EQ(sim.counts()["items"], 0);
}

// ---- Callbacks

TEST_F(DaGroupMgtTest, DataChangesArriveUntilTheCallbackIsDisconnected) {
    c.add(OLESTR("Signal.Counter"));
    ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
    trace.clear();
    EXPECT_EQ(c.group.connectCallback(c.sharedClient), E_FAIL);
    EXPECT_THAT(trace.texts(), ElementsAre("--> DaGroupMgt::connectCallback")) << "refused without a word";
    ASSERT_EQ(c.group.setActive(true), S_OK);
    ASSERT_TRUE(c.client.waitForDataChanges(2));
    EXPECT_EQ(c.client.dataChanges()[0].id, 7u);

    EXPECT_EQ(c.group.disconnectCallback(), S_OK);
    EXPECT_EQ(c.group.disconnectCallback(), E_FAIL);
    EXPECT_EQ(sim.counts()["sinks"], 0);
}

TEST_F(DaGroupMgtTest, ATransactionNeedsAConnectedCallback) {
    const auto transaction = [] {
        return std::make_shared<OpxOpc::ComAsyncTransaction>(1, std::map<std::uint32_t, std::uint32_t>(), Types(),
                                                             Handles());
    };
    EXPECT_EQ(c.group.registerTransaction(transaction()), 0u);
    ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
    const auto key = c.group.registerTransaction(transaction());
    EXPECT_NE(key, 0u);
    c.group.removeTransaction(key);
    EXPECT_TRUE(trace.has("<-- Dtor ComAsyncTransaction"));
}

TEST_F(DaGroupMgtTest, ASinkThatTheServerKeepsIsCutOffAndTellsNothingMore) {
    const ComCallsGuard guard;
    Com::comCalls().coDisconnectObject = [](IUnknown*) -> HRESULT { return S_FALSE; };
    c.add(OLESTR("Signal.Counter"));
    ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
    sim.fault("IConnectionPoint::Unadvise", E_FAIL);
    trace.clear();
    EXPECT_EQ(c.group.disconnectCallback(), S_FALSE);
    EXPECT_EQ(trace.textsWith("Co"), expected("ASinkThatTheServerKeepsIsCutOffAndTellsNothingMore"));
    const auto told = c.client.dataChanges().size();
    c.group.setActive(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(c.client.dataChanges().size(), told);
    EXPECT_TRUE(trace.has("<== OPCDataCallback::OnDataChange - callback pointer is NULL"));
}

TEST_F(DaGroupMgtTest, AnExceptionWhileASinkIsGivenUpIsCaught) {
    const ComCallsGuard guard;
    Com::comCalls().coDisconnectObject = [](IUnknown*) -> HRESULT { throw std::runtime_error("proxy"); };
    ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
    sim.fault("IConnectionPoint::Unadvise", E_FAIL);
    EXPECT_EQ(c.group.disconnectCallback(), E_FAIL);
    EXPECT_TRUE(trace.has("Error: DaGroupMgt::disconnectCallback - Error at releasing callback object"));
    EXPECT_EQ(c.group.connectCallback(c.sharedClient), S_OK) << "the callback counts as disconnected";
}

TEST_F(DaGroupMgtTest, RemovingAGroupTakesItsCallbackBackFirst) {
    ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
    sim.clearJournal();
    EXPECT_EQ(c.server.removeGroup(&c.group), S_OK);
    std::string calls;
    for (const std::string& line : sim.journal()) calls += line + "\n";
    const auto unadvised = calls.find("IConnectionPoint::Unadvise");
    EXPECT_LT(unadvised, calls.find("IOPCServer::RemoveGroup")) << calls;
    EXPECT_EQ(c.group.disconnectCallback(), E_FAIL);
}

}  // namespace
}  // namespace Korvex::Testing
