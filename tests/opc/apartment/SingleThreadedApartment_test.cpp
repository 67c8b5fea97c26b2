// The library in a process whose first connection finds its thread in a single-threaded apartment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/opc/apartment/ComFakes.h"
#include "tests/opc/group/GroupFixture.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using OpxOpc::OpxVariant;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SingleThreadedApartmentTest : public SimulationFixture {
protected:
    // Runs `body` with a connection of its own in a single-threaded apartment.
    void inApartment(const std::function<void(Connection&)>& body) {
        inSingleThreadedApartment([&] {
            Connection connection;
            EXPECT_TRUE(trace.has("Ctor DaServerMgtPrivate - COM is already initialized as STA"));
            body(connection);
        });
        EXPECT_EQ(table.references, 0u) << "the table is given back";
    }

    InterfaceTableFake table;
};

TEST_F(SingleThreadedApartmentTest, interfaces_live_in_the_table_and_are_fetched_for_each_use) {
    sim.profile(2);
    inApartment([&](Connection& c) {
        ASSERT_EQ(c.connect(), S_OK);
        EXPECT_THAT(table.calls, ElementsAre("register IOPCServer", "register IOPCBrowseServerAddressSpace",
                                             "register IOPCItemProperties"));
        table.calls.clear();
        EXPECT_EQ(c.server.getStatus(), S_OK);
        EXPECT_THAT(table.calls, ElementsAre("fetch IOPCServer"));

        table.calls.clear();
        ASSERT_EQ(c.server.addGroup(&c.group), S_OK);
        EXPECT_THAT(table.called("register"),
                    ElementsAre("IOPCItemMgt", "IOPCGroupStateMgt", "IOPCSyncIO", "IOPCAsyncIO2"));
        table.calls.clear();
        const auto handle = c.add(OLESTR("Register.Int32"));
        EXPECT_EQ(c.write(handle, OpxVariant::of(std::int32_t{5})), S_OK);
        EXPECT_EQ(c.read(handle, 500), S_OK);
        EXPECT_EQ(c.values.at(0).value.toInt32(), 5);
        EXPECT_EQ(c.group.setActive(true), S_OK);
        EXPECT_THAT(table.calls, ElementsAre("fetch IOPCItemMgt", "fetch IOPCSyncIO", "fetch IOPCSyncIO",
                                             "fetch IOPCGroupStateMgt"));
    });
    EXPECT_EQ(sim.counts()["servers"], 0);
}

TEST_F(SingleThreadedApartmentTest, interfaces_leave_the_table_in_their_order_and_the_object_last) {
    for (const int generation : {2, 3}) {
        SCOPED_TRACE(generation);
        sim.profile(generation);
        inApartment([&](Connection& c) {
            ASSERT_EQ(c.connectWithGroup(), S_OK);
            ASSERT_EQ(c.server.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
            ASSERT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
            EXPECT_EQ(c.group.disconnectCallback(), S_OK);

            table.calls.clear();
            EXPECT_EQ(c.server.removeGroup(&c.group), S_OK);
            std::vector<std::string> group = {"IConnectionPoint", "IOPCItemMgt", "IOPCSyncIO", "IOPCAsyncIO2"};
            if (generation == 3) group.insert(group.end(), {"IOPCSyncIO2", "IOPCAsyncIO3"});
            group.push_back("IOPCGroupStateMgt");
            EXPECT_EQ(table.called("revoke"), group);
            EXPECT_THAT(table.called("fetch"), ElementsAre("IOPCServer", "IOPCGroupStateMgt"));

            table.calls.clear();
            EXPECT_EQ(c.server.disconnectOPCServer(), S_OK);
            std::vector<std::string> server = {"IConnectionPoint"};
            if (generation == 2) server.insert(server.end(), {"IOPCItemProperties", "IOPCBrowseServerAddressSpace"});
            if (generation == 3) server.push_back("IOPCBrowse");
            server.push_back("IOPCServer");
            EXPECT_EQ(table.called("revoke"), server);
        });
        EXPECT_TRUE(trace.has("Reference count = 0 of OPCServer object after last release"));
        EXPECT_EQ(sim.counts()["servers"], 0);
    }
}

// ---- Interfaces that the table does not take

TEST_F(SingleThreadedApartmentTest, a_server_that_cannot_be_kept_is_given_up) {
    for (const std::string name : {"IOPCServer", "IOPCBrowseServerAddressSpace", "IOPCItemProperties"}) {
        SCOPED_TRACE(name);
        sim.profile(2);
        table.failingRegistrations = {{name, E_FAIL}};
        inApartment([&](Connection& c) {
            EXPECT_EQ(c.connect(), E_FAIL);
            EXPECT_FALSE(c.server.isConnected());
        });
        EXPECT_EQ(sim.counts()["servers"], 0);
        EXPECT_TRUE(trace.has("<-- DaServerMgtPrivate::SetIOPCServer [hr=0x80004005]"));
    }
    table.creation = REGDB_E_CLASSNOTREG;
    inApartment([&](Connection& c) { EXPECT_EQ(c.connect(), REGDB_E_CLASSNOTREG); });
    EXPECT_EQ(sim.counts()["servers"], 0);
}

TEST_F(SingleThreadedApartmentTest, a_group_whose_interfaces_cannot_be_kept_is_available_without_them) {
    const std::vector<std::string> order = {"IOPCItemMgt",  "IOPCGroupStateMgt", "IOPCSyncIO",
                                            "IOPCAsyncIO2", "IOPCSyncIO2",       "IOPCAsyncIO3"};
    for (const bool withoutCookie : {false, true}) {
        for (std::size_t i = 0; i < order.size(); ++i) {
            SCOPED_TRACE(order[i]);
            table.calls.clear();
            table.failingRegistrations.clear();
            table.withoutCookie.clear();
            const std::string prefix = "Error DaGroupMgtPrivate::SetIOPCItemMgt: ";
            inApartment([&](Connection& c) {
                ASSERT_EQ(c.connect(), S_OK);
                if (withoutCookie) {
                    table.withoutCookie = order[i];
                } else {
                    table.failingRegistrations = {{order[i], E_ACCESSDENIED}};
                }
                table.calls.clear();
                EXPECT_EQ(c.server.addGroup(&c.group), withoutCookie ? E_FAIL : E_ACCESSDENIED);
                EXPECT_EQ(table.called("register"),
                          std::vector<std::string>(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(i) + 1))
                    << "the first failure ends it";
                const bool stateKept = i > 1;
                EXPECT_EQ(c.group.setActive(true), stateKept ? S_OK : E_NOINTERFACE);
                EXPECT_EQ(c.server.removeGroup(&c.group), S_OK);
            });
            EXPECT_TRUE(trace.has(withoutCookie ? prefix + "cookie for " + order[i] + " is 0"
                                                : prefix + "RegisterInterfaceInGlobal in GIT for " + order[i] +
                                                      " [hr=0x80070005]"));
            EXPECT_EQ(sim.counts()["servers"], 0);
        }
    }
}

// ---- Interfaces that cannot be had for an operation

HRESULT read(Connection& c) {
    return c.read(1);
}
HRESULT readAged(Connection& c) {
    return c.read(1, 500);
}
HRESULT readAsync(Connection& c) {
    return c.group.readAsync(1, 0, {1}, c.errors);
}
HRESULT readAsyncAged(Connection& c) {
    return c.group.readAsync(1, 500, {1}, c.errors);
}
HRESULT write(Connection& c) {
    return c.write(1, OpxVariant::of(true));
}
HRESULT writeAsync(Connection& c) {
    return c.group.writeAsync(1, {1}, {OpxVariant::of(true)}, {}, c.errors);
}
HRESULT addItems(Connection& c) {
    std::vector<OpxOpc::OpxItemIdentifier> items(1);
    return c.group.addItems(items, c.errors, false);
}
HRESULT removeItems(Connection& c) {
    std::vector<OpxOpc::OpxItemIdentifier> items(1);
    return c.group.removeItems(items, c.errors);
}

struct Unavailable {
    const char* interfaceName;
    HRESULT (*call)(Connection&);
    const char* line;
    HRESULT result = E_NOINTERFACE;
};

const Unavailable kGroupCalls[] = {
    {"IOPCSyncIO", read, "<-- DaGroupMgtPrivate::read [E_NOINTERFACE] - IOPCSyncIO interface is NULL"},
    {"IOPCSyncIO2", readAged, "<-- DaGroupMgtPrivate::read [E_NOINTERFACE] - IOPCSyncIO2 interface is NULL"},
    {"IOPCAsyncIO2", readAsync, "<-- DaGroupMgtPrivate::readAsync [E_NOINTERFACE] - IOPCAsyncIO2 interface is NULL"},
    {"IOPCAsyncIO3", readAsyncAged,
     "<-- DaGroupMgtPrivate::readAsync [E_NOINTERFACE] - IOPCAsyncIO3 interface is NULL"},
    {"IOPCSyncIO", write, "<-- DaGroupMgtPrivate::write [E_NOINTERFACE] - IOPCSyncIO interface is NULL"},
    {"IOPCAsyncIO2", writeAsync, "<-- DaGroupMgtPrivate::writeAsync [E_NOINTERFACE] - IOPCAsyncIO2 interface is NULL"},
};

TEST_F(SingleThreadedApartmentTest, an_interface_that_the_table_does_not_hand_out_ends_the_operation) {
    const Unavailable stateCalls[] = {
        {"IOPCGroupStateMgt", [](Connection& c) { return c.group.setActive(true); },
         "<-- DaGroupMgt::setActive [hr=E_NOINTERFACE] - IOPCGroupStateMgt is not available"},
        {"IOPCGroupStateMgt", [](Connection& c) { return c.group.setDeadband(1); },
         "<-- DaGroupMgt::setDeadband [hr=E_NOINTERFACE] - IOPCGroupStateMgt is not available"},
        {"IOPCGroupStateMgt", [](Connection& c) { return c.group.setUpdateRate(1); },
         "<-- DaGroupMgt::setUpdateRate [hr=E_NOINTERFACE] - IOPCGroupStateMgt is not available"},
        {"IOPCGroupStateMgt", [](Connection& c) { return c.group.setState(true, 1, 1); },
         "<-- DaGroupMgt::setState [hr=E_NOINTERFACE] - IOPCGroupStateMgt is not available"},
    };
    const Unavailable otherCalls[] = {
        {"IOPCServer", [](Connection& c) { return c.server.getStatus(); },
         "<-- DaServerMgt::getStatus [hr=E_FAIL] - Could not get interface IOPCServer"},
        {"IOPCServer",
         [](Connection& c) {
             OpxString locale = OLESTR("en");
             return c.server.setLocalID(locale);
         },
         "<-- DaServerMgt::getStatus [hr=E_FAIL] - Could not get interface IOPCServer"},
        {"IOPCServer", [](Connection& c) { return c.server.addGroup(&c.group); },
         "<-- DaServerMgt::addGroup [hr=E_NOINTERFACE] - IOPCServer interface not available"},
        {"IOPCServer", [](Connection& c) { return c.server.removeGroup(&c.group); },
         "<-- DaServerMgt::removeGroup [hr=E_NOINTERFACE] - IOPCServer interface not available"},
        {"IOPCServer", [](Connection& c) { return c.server.connectCallback(OpxOpc::unowned(&c.client)); },
         "<-- DaServerMgt::connectCallback [hr=E_NOINTERFACE] - IConnectionPoint not valid"},
        {"IOPCItemMgt", addItems, "<-- DaGroupMgt::addItems [E_NOINTERFACE] - IOPCItemMgt not available"},
        {"IOPCItemMgt", removeItems, "<-- DaGroupMgt::removeItems [E_NOINTERFACE] - IOPCItemMgt not available"},
        {"IConnectionPoint", [](Connection& c) { return c.group.connectCallback(OpxOpc::unowned(&c.client)); },
         "<-- DaGroupMgt::connectCallback [hr=E_NOINTERFACE] - IConnectionPoint not valid"},
    };
    inApartment([&](Connection& c) {
        ASSERT_EQ(c.connectWithGroup(), S_OK);
        const auto expectUnavailable = [&](const Unavailable& each, bool fetchReported) {
            SCOPED_TRACE(each.line);
            trace.clear();
            table.failingFetches = {{each.interfaceName, E_FAIL}};
            EXPECT_EQ(each.call(c), E_NOINTERFACE);
            EXPECT_TRUE(trace.has(each.line)) << trace.dump();
            const std::string name = each.interfaceName;
            EXPECT_EQ(trace.has("Error DaGroupMgtPrivate::Get" + name + ": GetInterfaceFromGlobal from GIT for " +
                                name + " [hr=0x80004005]"),
                      fetchReported);
        };
        for (const Unavailable& each : kGroupCalls) expectUnavailable(each, true);
        for (const Unavailable& each : stateCalls) expectUnavailable(each, true);
        for (const Unavailable& each : otherCalls) expectUnavailable(each, false);
        table.failingFetches.clear();
    });
}

TEST_F(SingleThreadedApartmentTest, an_interface_that_was_never_kept_ends_the_operation) {
    for (const Unavailable& each : kGroupCalls) {
        SCOPED_TRACE(each.line);
        const std::string name = each.interfaceName;
        table.failingRegistrations = {{name, E_FAIL}};
        inApartment([&](Connection& c) {
            c.connectWithGroup();
            trace.clear();
            EXPECT_EQ(each.call(c), E_NOINTERFACE);
            EXPECT_TRUE(
                trace.hasInOrder({"Error DaGroupMgtPrivate::Get" + name + ": cookie for " + name + " is 0", each.line}))
                << trace.dump();
        });
    }
}

TEST_F(SingleThreadedApartmentTest, callbacks_that_the_table_does_not_hand_out_stay_connected) {
    inApartment([&](Connection& c) {
        ASSERT_EQ(c.connectWithGroup(), S_OK);
        ASSERT_EQ(c.server.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
        ASSERT_EQ(c.group.connectCallback(OpxOpc::unowned(&c.client)), S_OK);
        table.failingFetches = {{"IConnectionPoint", E_FAIL}};
        EXPECT_EQ(c.group.disconnectCallback(), E_NOINTERFACE);
        EXPECT_TRUE(trace.has("<-- DaGroupMgt::disconnectCallback [hr=E_NOINTERFACE] - IConnectionPoint not valid"));
        EXPECT_EQ(c.server.disconnectCallback(), E_NOINTERFACE);
        EXPECT_TRUE(trace.has("<-- DaServerMgt::disconnectCallback [hr=E_NOINTERFACE] - IConnectionPoint not valid"));
        table.failingFetches.clear();
        EXPECT_EQ(c.group.disconnectCallback(), S_OK);
        EXPECT_EQ(c.server.disconnectCallback(), S_OK);
    });
}

TEST_F(SingleThreadedApartmentTest, a_group_without_a_table_is_available_without_interfaces) {
    inApartment([&](Connection& c) {
        ASSERT_EQ(c.connect(), S_OK);
        table.creation = E_OUTOFMEMORY;
        EXPECT_EQ(c.server.addGroup(&c.group), E_OUTOFMEMORY);
        EXPECT_TRUE(trace.has("Error DaGroupMgtPrivate::SetIOPCItemMgt: CreateInstance for GIT [hr=0x8007000e]"));
        EXPECT_EQ(c.group.setActive(true), E_NOINTERFACE);
        EXPECT_EQ(read(c), E_NOINTERFACE);
        EXPECT_EQ(c.server.removeGroup(&c.group), S_OK);
    });
}

}  // namespace
}  // namespace Korvex::Testing
