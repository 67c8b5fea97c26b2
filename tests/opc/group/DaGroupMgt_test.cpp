#include "opc/group/DaGroupMgt.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "tests/opc/apartment/ComFakes.h"
#include "tests/opc/group/GroupFixture.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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

TEST_F(SimulationFixture, a_group_needs_the_interfaces_of_data_access_2) {
    for (const std::string name : {"IOPCGroupStateMgt", "IOPCSyncIO", "IOPCAsyncIO2"}) {
        SCOPED_TRACE(name);
        sim.reset();
        sim.refuse(name);
        Connection c;
        EXPECT_EQ(c.connectWithGroup(), E_NOINTERFACE);
        EXPECT_TRUE(trace.hasInOrder(
            {"--> DaGroupMgt::initialize", "--> DaGroupMgtPrivate::SetIOPCItemMgt",
             "CALL IOPCItemMgt::QueryInterface (IID_" + name + ")", "DONE IOPCItemMgt::QueryInterface [hr=0x80004002]",
             "Error DaGroupMgtPrivate::SetIOPCItemMgt: QueryInterface for " + name + " [hr=0x80004002]",
             "<-- DaGroupMgtPrivate::SetIOPCItemMgt [hr=0x80004002]", "<-- DaGroupMgt::initialize [hr=0x80004002]",
             "<-- DaServerMgt::addGroup [hr=0x80004002]"}))
            << trace.dump();
        EXPECT_EQ(c.group.setActive(true), E_FAIL) << "the group stays unavailable";
    }
}

TEST_F(SimulationFixture, both_interfaces_of_data_access_3_are_needed_to_read_by_age) {
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
        Connection c;
        ASSERT_EQ(c.connectWithGroup(), S_OK);
        for (const std::string name : {"IOPCSyncIO2", "IOPCAsyncIO3"}) {
            const bool refused = std::count(each.refused.begin(), each.refused.end(), name) > 0;
            EXPECT_EQ(trace.has("Data Access 3 interface " + name + " not supported by the server [hr=0x0]"), refused);
        }
        EXPECT_EQ(c.read(c.add(OLESTR("Constant.Int32")), 1000), S_OK);
        EXPECT_EQ(sim.journal(each.read).size(), 1u) << each.read;
    }
}

TEST_F(DaGroupMgtTest, clearing_releases_the_group_and_makes_it_unavailable) {
    EXPECT_EQ(c.group.clear(), S_OK);
    EXPECT_THAT(trace.texts(), ElementsAre("--> DaGroupMgtPrivate::ReleaseOPCGroupInterfaces",
                                           "Reference count = 1 of OPCGroup object after last release",
                                           "<-- DaGroupMgtPrivate::ReleaseOPCGroupInterfaces [hr=0x0]"))
        << "the reference left is the server's";
    EXPECT_EQ(c.group.setActive(true), E_FAIL);
}

// ---- State

TEST_F(DaGroupMgtTest, a_change_of_state_asks_for_just_that_and_keeps_the_revised_rate) {
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

TEST_F(DaGroupMgtTest, the_server_s_revision_of_a_rate_counts) {
    EXPECT_TRUE(succeeded(c.group.setUpdateRate(1)));
    EXPECT_EQ(c.group.updateRate(), 10u);
}

// ---- Items

TEST_F(DaGroupMgtTest, accepted_items_learn_handle_rights_and_canonical_type) {
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

TEST_F(DaGroupMgtTest, validating_tells_rights_and_type_and_adds_nothing) {
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

TEST_F(DaGroupMgtTest, no_codes_are_handed_out_when_every_item_was_accepted) {
    std::vector<OpxOpc::OpxItemIdentifier> items = {itemNamed(OLESTR("Constant.Double"))};
    Codes errors = {1, 2, 3};
    EXPECT_EQ(c.group.addItems(items, errors, false), S_OK);
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(DaGroupMgtTest, removing_zeroes_every_handle_even_of_items_that_the_server_refused) {
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

TEST_F(DaGroupMgtTest, data_changes_arrive_until_the_callback_is_disconnected) {
    c.add(OLESTR("Signal.Counter"));
    ASSERT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
    trace.clear();
    EXPECT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), E_FAIL);
    EXPECT_THAT(trace.texts(), ElementsAre("--> DaGroupMgt::connectCallback")) << "refused without a word";
    ASSERT_EQ(c.group.setActive(true), S_OK);
    ASSERT_TRUE(c.client.waitForDataChanges(2));
    EXPECT_EQ(c.client.dataChanges()[0].id, 7u);

    EXPECT_EQ(c.group.disconnectCallback(), S_OK);
    EXPECT_EQ(c.group.disconnectCallback(), E_FAIL);
    EXPECT_EQ(sim.counts()["sinks"], 0);
}

TEST_F(DaGroupMgtTest, a_transaction_needs_a_connected_callback) {
    const auto transaction = [] {
        return std::make_shared<OpxOpc::ComAsyncTransaction>(1, std::map<std::uint32_t, std::uint32_t>(), Types(),
                                                             Handles());
    };
    EXPECT_EQ(c.group.registerTransaction(transaction()), 0u);
    ASSERT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
    const auto key = c.group.registerTransaction(transaction());
    EXPECT_NE(key, 0u);
    c.group.removeTransaction(key);
    EXPECT_TRUE(trace.has("<-- Dtor ComAsyncTransaction"));
}

TEST_F(DaGroupMgtTest, a_sink_that_the_server_keeps_is_cut_off_and_tells_nothing_more) {
    const ComCallsGuard guard;
    Com::comCalls().coDisconnectObject = [](IUnknown*) -> HRESULT { return S_FALSE; };
    c.add(OLESTR("Signal.Counter"));
    ASSERT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
    sim.fault("IConnectionPoint::Unadvise", E_FAIL);
    trace.clear();
    EXPECT_EQ(c.group.disconnectCallback(), S_FALSE);
    EXPECT_THAT(
        trace.textsWith("Co"),
        ElementsAre("--> DaGroupMgtPrivate::GetIConnectionPoint", "<-- DaGroupMgtPrivate::GetIConnectionPoint [hr=0x0]",
                    "CALL IConnectionPoint::Unadvise", "DONE IConnectionPoint::Unadvise [hr=0x80004005]",
                    "CALL CoDisconnectObject", "DONE CoDisconnectObject [hr=0x1]"));
    const auto told = c.client.dataChanges().size();
    c.group.setActive(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(c.client.dataChanges().size(), told);
    EXPECT_TRUE(trace.has("<== OPCDataCallback::OnDataChange - callback pointer is NULL"));
}

TEST_F(DaGroupMgtTest, an_exception_while_a_sink_is_given_up_is_caught) {
    const ComCallsGuard guard;
    Com::comCalls().coDisconnectObject = [](IUnknown*) -> HRESULT { throw std::runtime_error("proxy"); };
    ASSERT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
    sim.fault("IConnectionPoint::Unadvise", E_FAIL);
    EXPECT_EQ(c.group.disconnectCallback(), E_FAIL);
    EXPECT_TRUE(trace.has("Error: DaGroupMgt::disconnectCallback - Error at releasing callback object"));
    EXPECT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), S_OK) << "the callback counts as disconnected";
}

// ---- Failures

constexpr std::uint32_t kHandle = 1;

HRESULT addItem(Connection& c, bool validateOnly) {
    std::vector<OpxOpc::OpxItemIdentifier> items = {itemNamed(OLESTR("Constant.Int32"))};
    return c.group.addItems(items, c.errors, validateOnly);
}
HRESULT removeItem(Connection& c) {
    std::vector<OpxOpc::OpxItemIdentifier> items(1);
    return c.group.removeItems(items, c.errors);
}
HRESULT activate(Connection& c) {
    return c.group.setActive(true);
}
HRESULT setDeadband(Connection& c) {
    return c.group.setDeadband(1);
}
HRESULT setUpdateRate(Connection& c) {
    return c.group.setUpdateRate(1);
}
HRESULT setState(Connection& c) {
    return c.group.setState(true, 1, 1);
}
HRESULT add(Connection& c) {
    return addItem(c, false);
}
HRESULT validate(Connection& c) {
    return addItem(c, true);
}
HRESULT readDevice(Connection& c) {
    return c.read(kHandle);
}
HRESULT readAged(Connection& c) {
    return c.read(kHandle, 500);
}
HRESULT readAsync(Connection& c) {
    return c.group.readAsync(1, 0, {kHandle}, c.errors);
}
HRESULT readAsyncAged(Connection& c) {
    return c.group.readAsync(1, 500, {kHandle}, c.errors);
}
HRESULT write(Connection& c) {
    return c.write(kHandle, OpxOpc::OpxVariant::of(true));
}
HRESULT writeAsync(Connection& c) {
    return c.group.writeAsync(1, {kHandle}, {OpxOpc::OpxVariant::of(true)}, {VType::Empty}, c.errors);
}
HRESULT advise(Connection& c) {
    return c.group.connectCallback(OpxOpc::unowned(&c.client));
}

TEST_F(SimulationFixture, a_group_s_failure_is_answered_with_its_code_and_stands_in_the_trace) {
    const Failure failures[] = {
        {"fault IOPCGroupStateMgt::SetState 0x80004005", activate, E_FAIL, "<-- DaGroupMgt::setActive [hr=0x80004005]",
         "Error: IOPCGroupStateMgt::SetState FAILED [hr=0x80004005]"},
        {"fault IOPCGroupStateMgt::SetState 0x80004005", setDeadband, E_FAIL,
         "<-- DaGroupMgt::setDeadband [hr=0x80004005]", "CALL IOPCGroupStateMgt::SetState"},
        {"fault IOPCGroupStateMgt::SetState 0x80004005", setUpdateRate, E_FAIL,
         "<-- DaGroupMgt::setUpdateRate [hr=0x80004005]", "DONE IOPCGroupStateMgt::SetState [hr=0x80004005]"},
        {"fault IOPCGroupStateMgt::SetState 0x80004005", setState, E_FAIL, "<-- DaGroupMgt::setState [hr=0x80004005]"},
        {"fault IOPCItemMgt::AddItems 0x80004005", add, E_FAIL, "Error: IOPCItemMgt::AddItems FAILED [hr=0x80004005]",
         "<-- DaGroupMgt::addItems [hr=0x80004005]"},
        {"fault IOPCItemMgt::ValidateItems 0x80004005", validate, E_FAIL,
         "Error: IOPCItemMgt::ValidateItems FAILED [hr=0x80004005]"},
        {"fault IOPCItemMgt::RemoveItems 0x80004005", removeItem, E_FAIL,
         "Error: IOPCItemMgt::RemoveItems FAILED [hr=0x80004005]", "<-- DaGroupMgt::removeItems [hr=0x80004005]"},
        {"fault IOPCSyncIO::Read 0x80004005", readDevice, E_FAIL, "Error: IOPCSyncIO::Read FAILED [hr=0x80004005]",
         "<-- DaGroupMgtPrivate::read [hr=0x80004005]"},
        {"fault IOPCSyncIO2::ReadMaxAge 0x80004005", readAged, E_FAIL,
         "Error: IOPCSyncIO2::ReadMaxAge FAILED [hr=0x80004005]"},
        {"fault IOPCAsyncIO2::Read 0x80004005", readAsync, E_FAIL, "Error: IOPCAsyncIO3::Read FAILED [hr=0x80004005]",
         "--> DaGroupMgt::readAsync (handles)"},
        {"fault IOPCAsyncIO3::ReadMaxAge 0x80004005", readAsyncAged, E_FAIL,
         "Error: IOPCAsyncIO3::ReadMaxAge FAILED [hr=0x80004005]"},
        {"fault IOPCSyncIO::Write 0x80004005", write, E_FAIL, "Error: IOPCSyncIO::Write FAILED [hr=0x80004005]",
         "  Item[0] 1 DT=1 Value=true"},
        {"fault IOPCAsyncIO2::Write 0x80004005", writeAsync, E_FAIL,
         "Error: IOPCAsyncIO2::Write FAILED [hr=0x80004005]", "--> DaGroupMgt::writeAsync (handles)"},
        {"fault IConnectionPoint::Advise 0x80004005", advise, E_FAIL,
         "Error: Group IConnectionPoint::Advise FAILED [hr=0x80004005]"},
        {"refuse IConnectionPointContainer", advise, E_NOINTERFACE,
         "Error: IOPCItemMgt::QueryInterface for IID_IConnectionPointContainer FAILED [hr=0x80004002]",
         "<-- DaGroupMgt::connectCallback [hr=E_NOINTERFACE] - IConnectionPoint not valid"},
        {"fault IConnectionPointContainer::FindConnectionPoint 0x80040200", advise, E_NOINTERFACE,
         "Error: IConnectionPointContainer::FindConnectionPoint FAILED [hr=0x80040200]",
         "--> DaGroupMgtPrivate::GetIConnectionPoint"},
    };
    expectFailures(failures, sim, trace, withGroup);
}

TEST_F(SimulationFixture, nothing_works_on_a_group_that_is_not_available) {
    const Failure failures[] = {
        {"", activate, E_FAIL, "<-- DaGroupMgt::setActive [hr=E_FAIL] - group is not available in server"},
        {"", setDeadband, E_FAIL, "<-- DaGroupMgt::setDeadband [hr=E_FAIL] - group is not available in server"},
        {"", setUpdateRate, E_FAIL, "<-- DaGroupMgt::setUpdateRate [hr=E_FAIL] - group is not available in server"},
        {"", setState, E_FAIL, "<-- DaGroupMgt::setState [hr=E_FAIL] - group is not available in server"},
        {"", add, E_FAIL, "<-- DaGroupMgt::addItems [E_FAIL] - Group not available"},
        {"", removeItem, E_FAIL, "<-- DaGroupMgt::removeItems [E_FAIL] - Group not available"},
        {"", readDevice, E_FAIL, "<-- DaGroupMgt::read [E_FAIL] - Group not available"},
        {"", readAsync, E_FAIL, "<-- DaGroupMgt::readAsync [E_FAIL] - Group not available"},
        {"", write, E_FAIL, "<-- DaGroupMgt::write [E_FAIL] - Group not available"},
        {"", writeAsync, E_FAIL, "<-- DaGroupMgt::writeAsync [E_FAIL] - Group not available"},
        {"", advise, E_NOINTERFACE, "<-- DaGroupMgtPrivate::GetIConnectionPoint: IOPCItemMgt interface not available",
         "<-- DaGroupMgt::connectCallback [hr=E_NOINTERFACE] - IConnectionPoint not valid"},
    };
    expectFailures(failures, sim, trace, nothing);
}

TEST_F(DaGroupMgtTest, removing_a_group_takes_its_callback_back_first) {
    ASSERT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
    sim.clearJournal();
    EXPECT_EQ(c.server.removeGroup(&c.group), S_OK);
    std::string calls;
    for (const std::string& line : sim.journal()) calls += line + "\n";
    const auto unadvised = calls.find("IConnectionPoint::Unadvise");
    EXPECT_LT(unadvised, calls.find("IOPCServer::RemoveGroup")) << calls;
    EXPECT_EQ(c.group.disconnectCallback(), E_FAIL);
}

HRESULT addNothing(Connection& c) {
    std::vector<OpxOpc::OpxItemIdentifier> none;
    return c.group.addItems(none, c.errors, false);
}
HRESULT removeNothing(Connection& c) {
    std::vector<OpxOpc::OpxItemIdentifier> none;
    return c.group.removeItems(none, c.errors);
}
HRESULT readNothing(Connection& c) {
    return c.group.read(0, {}, {}, c.values, c.errors);
}
HRESULT readNothingAsync(Connection& c) {
    return c.group.readAsync(1, 0, {}, c.errors);
}
HRESULT writeNothing(Connection& c) {
    return c.group.write({}, {}, {}, c.errors);
}
HRESULT writeNothingAsync(Connection& c) {
    return c.group.writeAsync(1, {}, {}, {}, c.errors);
}
HRESULT writeTooFew(Connection& c) {
    return c.group.write({1, 2}, Variants(1), Types(2), c.errors);
}
HRESULT writeTooManyAsync(Connection& c) {
    return c.group.writeAsync(1, {1}, Variants(2), Types(1), c.errors);
}

TEST_F(SimulationFixture, lists_must_hold_something_and_match_before_anything_else) {
    const Failure failures[] = {
        {"", addNothing, E_INVALIDARG, "<-- DaGroupMgt::addItems [E_INVALIDARG] - itemIdentifier array size = 0"},
        {"", removeNothing, E_INVALIDARG, "<-- DaGroupMgt::removeItems [E_INVALIDARG] - itemIdentifier array size = 0"},
        {"", readNothing, E_INVALIDARG, "<-- DaGroupMgt::read [E_INVALIDARG] - handle array size = 0"},
        {"", readNothingAsync, E_INVALIDARG, "<-- DaGroupMgt::readAsync [E_INVALIDARG] - handle array size = 0"},
        {"", writeNothing, E_INVALIDARG, "<-- DaGroupMgt::write [E_INVALIDARG] - handle array size = 0"},
        {"", writeNothingAsync, E_INVALIDARG, "<-- DaGroupMgt::writeAsync [E_INVALIDARG] - handle array size = 0"},
        {"", writeTooFew, E_INVALIDARG,
         "<-- DaGroupMgt::write [E_INVALIDARG] - handle array size different than value array size"},
        {"", writeTooManyAsync, E_INVALIDARG,
         "<-- DaGroupMgt::writeAsync [E_INVALIDARG] - handle array size different than value array size"},
    };
    expectFailures(failures, sim, trace, nothing);
}

TEST_F(SimulationFixture, a_refused_call_leaves_nothing_in_its_lists) {
    HRESULT (*const calls[])(Connection&) = {readDevice, readAsync, write, writeAsync};
    for (const auto call : calls) {
        Connection unavailable;
        unavailable.values.resize(1);
        unavailable.errors = {S_OK};
        EXPECT_EQ(call(unavailable), E_FAIL);
        EXPECT_TRUE(unavailable.errors.empty()) << (call == readDevice);
        EXPECT_EQ(unavailable.values.empty(), call == readDevice);
    }
}

}  // namespace
}  // namespace Korvex::Testing
