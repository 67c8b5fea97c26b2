// The library in a process whose first connection finds its thread in a single-threaded apartment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/opc/apartment/ComFakes.h"
#include "tests/opc/calls.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::OpxVariant;
using ::testing::ElementsAre;

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

TEST_F(SingleThreadedApartmentTest, InterfacesLiveInTheTableAndAreFetchedForEachUse) {
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

TEST_F(SingleThreadedApartmentTest, InterfacesLeaveTheTableInTheirOrderAndTheObjectLast) {
    for (const int generation : {2, 3}) {
        SCOPED_TRACE(generation);
        sim.profile(generation);
        inApartment([&](Connection& c) {
            ASSERT_EQ(c.connectWithGroup(), S_OK);
            ASSERT_EQ(c.server.connectCallback(c.sharedClient), S_OK);
            ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
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

// ---- A table that fails

TEST_F(SingleThreadedApartmentTest, AnInterfaceThatCannotBeKeptOrFetchedCostsWhatNeedsIt) {
    for (const auto& row : rowsOf("opc/apartment/single_threaded.txt", 5)) {
        const std::string &name = row[0], &step = row[1], &call = row[2];
        SCOPED_TRACE(name + " " + step + " " + call);
        table.reset();
        sim.profile(call == "connect" ? 2 : 3);
        inApartment([&](Connection& c) {
            const auto fail = [&] {
                if (step == "create") table.creation = REGDB_E_CLASSNOTREG;
                if (step == "keep") table.failingRegistrations = {{name, E_FAIL}};
                if (step == "cookie") table.withoutCookie = name;
                if (step == "fetch") table.failingFetches = {{name, E_FAIL}};
            };
            if (call != "connect") {
                ASSERT_EQ(c.connect(), S_OK);
            }
            if (step != "fetch") fail();
            if (call != "connect" && call != "addGroup") c.server.addGroup(&c.group);
            if (step == "fetch") fail();
            expectOutcome(c, call, row[3], row[4], trace);
            const auto registered = table.called("register");
            EXPECT_TRUE(step == "create" || step == "fetch" || registered.back() == name)
                << "the first failure ends it";
            EXPECT_EQ(c.server.isConnected(), call != "connect");
            table.reset();
        });
        EXPECT_EQ(sim.counts()["servers"], 0);
    }
}

TEST_F(SingleThreadedApartmentTest, CallbacksThatTheTableDoesNotHandOutStayConnected) {
    inApartment([&](Connection& c) {
        ASSERT_EQ(c.connectWithGroup(), S_OK);
        ASSERT_EQ(c.server.connectCallback(c.sharedClient), S_OK);
        ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
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

}  // namespace
}  // namespace Korvex::Testing
