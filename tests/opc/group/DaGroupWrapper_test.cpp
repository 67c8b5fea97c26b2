#include "opc/group/DaGroupWrapper.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include "opc/callbacks/unowned.h"
#include "tests/opc/group/GroupFixture.h"
#include "tests/support/expected_lines.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using OpxOpc::DaGroupWrapper;
using OpxOpc::DaServerMgt;
using OpxOpc::OpxItemIdentifier;
using Reach = DaGroupWrapper::Reach;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<std::string> expected(const std::string& name) {
    return linesOf("opc/expected.trace", name);
}

constexpr auto kInt32 = OLESTR("Constant.Int32");
constexpr auto kDouble = OLESTR("Constant.Double");
constexpr std::int32_t kInvalidHandle = static_cast<std::int32_t>(0xC0040001u);
constexpr std::int32_t kUnknownItem = static_cast<std::int32_t>(0xC0040007u);

// A subscription's group and the server that it is on, or is not.
class DaGroupWrapperTest : public SimulationFixture {
protected:
    // Starts anew, with a wrapper whose group is on the server or that has none.
    void begin(bool onServer, bool keepItems = true) {
        if (wrapper && server) lose();
        sim.execute("deliver inside");
        wrapper = std::make_unique<DaGroupWrapper>(onServer, keepItems, groupName, 100, false, 7, 2.5F);
        items.clear();
        if (!onServer) return;
        connectServer();
        ASSERT_EQ(server->addGroup(wrapper->group().get()), S_OK);
        ASSERT_EQ(wrapper->connectCallback(OpxOpc::unowned(&client), Reach::Server), S_OK);
    }
    void connectServer() {
        server = std::make_unique<DaServerMgt>();
        ASSERT_EQ(server->connectOPCServer(OpxString(), CLSID_KorvexSimulation), S_OK);
        sim.clearJournal();
    }
    void lose() {
        wrapper->takeGroup();
        server.reset();
    }
    HRESULT comeBack() {
        if (!server) connectServer();
        EXPECT_EQ(wrapper->createGroup(), S_OK);
        EXPECT_FALSE(wrapper->isWhole());
        EXPECT_EQ(server->addGroup(wrapper->group().get()), S_OK);
        return wrapper->recoverGroup();
    }

    // Adds an item with the next client handle and remembers its record.
    HRESULT add(const OLECHAR* name, VType type = VType::Empty, Reach reach = Reach::Server) {
        std::vector<OpxItemIdentifier> added = {itemNamed(name, type)};
        added[0].clientHandle = static_cast<std::uint32_t>(items.size() + 1);
        const HRESULT hr = wrapper->addItems(added, errors, false, reach);
        items.push_back(added[0]);
        return hr;
    }
    struct Named {
        const OLECHAR* name;
        std::uint32_t handle;
    };
    HRESULT remove(const std::vector<Named>& named, Reach reach = Reach::Server) {
        removed.clear();
        for (const Named& each : named) {
            removed.push_back(itemNamed(each.name));
            removed.back().serverHandle = each.handle;
        }
        return wrapper->removeItems(removed, errors, reach);
    }

    // A call on a thread of its own, once it hangs in the server.
    std::future<HRESULT> hanging(const std::string& method, std::function<HRESULT()> call) {
        sim.execute("hang " + method);
        auto result = std::async(std::launch::async, [call = std::move(call)] {
            const SimulationApartment apartment(COINIT_MULTITHREADED);
            return call();
        });
        while (sim.journal(method).empty()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return result;
    }

    // The client handles of the items that the server delivers when the group becomes active.
    Handles served() {
        const auto toldBefore = client.dataChanges().size();
        EXPECT_EQ(wrapper->setActive(true, Reach::Server), S_OK);
        EXPECT_EQ(wrapper->setActive(false, Reach::Server), S_OK);
        const auto told = client.dataChanges();
        if (told.size() == toldBefore) return {};
        Handles delivered = told[toldBefore].clientHandles;
        std::sort(delivered.begin(), delivered.end());
        return delivered;
    }
    Handles reportedBad() {
        EXPECT_EQ(wrapper->getQualityBadData(handles, values, errors), 7u);
        EXPECT_EQ(errors, Codes(handles.size(), 0));
        EXPECT_EQ(values.size(), handles.size());
        for (const auto& value : values) {
            EXPECT_EQ(value.quality, 0);
            EXPECT_EQ(value.value.type(), VType::Empty);
        }
        return handles;
    }

    RecordingCallback client;
    OpxString groupName = OLESTR("Pumps");
    std::unique_ptr<DaServerMgt> server;
    std::unique_ptr<DaGroupWrapper> wrapper;
    std::vector<OpxItemIdentifier> items;  // as they were after they were added
    std::vector<OpxItemIdentifier> removed;
    Handles handles;
    Values values;
    Codes errors;
};

// ---- Settings

TEST_F(DaGroupWrapperTest, TheNextGroupHasTheSettingsThatWereAskedForAndNotRefused) {
    begin(false);
    EXPECT_EQ(wrapper->setUpdateRate(500, Reach::Server), S_FALSE);
    EXPECT_EQ(wrapper->updateRate(Reach::Server), 500u);
    EXPECT_EQ(wrapper->setActive(true, Reach::Server), S_FALSE);
    EXPECT_EQ(wrapper->recoverGroup(), E_FAIL);
    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_EQ(wrapper->createGroup(), E_FAIL);
    EXPECT_THAT(sim.journal("IOPCServer::AddGroup"),
                ElementsAre(HasSubstr("name=Pumps active=1 rate=500 client=7 deadband=2.5 ")));

    EXPECT_TRUE(succeeded(wrapper->setState(false, 5, 3, Reach::Server)));
    EXPECT_NE(wrapper->updateRate(Reach::Server), 3u) << "revised";
    sim.fault("IOPCGroupStateMgt::SetState", E_OUTOFMEMORY);
    EXPECT_EQ(wrapper->setState(true, 9, 900, Reach::Server), E_OUTOFMEMORY);
    EXPECT_EQ(wrapper->setDeadband(4, Reach::KeptStateOnly), S_FALSE) << "without asking the server";
    lose();
    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_THAT(sim.journal("IOPCServer::AddGroup"), ElementsAre(HasSubstr("active=0 rate=3 client=7 deadband=4 ")));
    wrapper.reset();
    EXPECT_TRUE(trace.hasInOrder(expected("TheNextGroupHasTheSettingsThatWereAskedForAndNotRefused"))) << trace.dump();
}

// Calls back from inside a data change.
class Acting final : public RecordingCallback {
public:
    std::function<void()> act;

private:
    void DataChange(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const Handles&, const Values&,
                    const Codes&) override {
        if (const auto once = std::exchange(act, nullptr)) once();
    }
};

TEST_F(DaGroupWrapperTest, AChangeThatAHandlerMakesInsideAnotherOneStays) {
    Acting acting;
    begin(true);
    add(kInt32);
    ASSERT_EQ(wrapper->disconnectCallback(Reach::Server), S_OK);
    ASSERT_EQ(wrapper->connectCallback(OpxOpc::unowned(&acting), Reach::Server), S_OK);
    acting.act = [&] {
        EXPECT_EQ(wrapper->setActive(false, Reach::Server), S_OK);
        EXPECT_EQ(wrapper->setDeadband(9, Reach::Server), S_OK);
    };
    EXPECT_EQ(wrapper->setState(true, 5, 300, Reach::Server), S_OK);
    lose();
    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_THAT(sim.journal("IOPCServer::AddGroup"), ElementsAre(HasSubstr("active=0 rate=300 client=7 deadband=9 ")));
}

// ---- Items

// Items 1 to 4 are Int32, Double, Boolean and Int32 once more.
TEST_F(DaGroupWrapperTest, ItemsAreRemovedByLocalHandlesThatFitOrElseByTheirNames) {
    struct Case {
        const char* what;
        std::vector<Named> request;
        Codes codes;
        Handles left;
    };
    const Case cases[] = {
        {"handle alone", {{OLESTR(""), 2}}, {}, {1, 3, 4}},
        {"handle and name", {{kInt32, 1}}, {}, {2, 3, 4}},
        {"name alone: the last one", {{kInt32, 0}}, {}, {1, 2, 3}},
        {"another item's handle", {{kInt32, 2}}, {}, {1, 2, 3}},
        {"a handle beyond all", {{kDouble, 5}}, {}, {1, 3, 4}},
        {"named twice", {{kDouble, 2}, {kDouble, 2}}, {0, kInvalidHandle}, {1, 3, 4}},
        {"an item never added", {{OLESTR("Constant.String"), 2}, {kDouble, 0}}, {kInvalidHandle, 0}, {1, 3, 4}},
        {"an unknown handle alone", {{OLESTR(""), 5}}, {kInvalidHandle}, {1, 2, 3, 4}},
        {"names differ in case", {{OLESTR("constant.double"), 2}}, {kInvalidHandle}, {1, 2, 3, 4}},
    };
    for (const Reach reach : {Reach::Server, Reach::KeptStateOnly}) {
        for (const Case& each : cases) {
            SCOPED_TRACE(std::string(each.what) + (reach == Reach::Server ? "" : ", while the server is lost"));
            begin(true);
            sim.execute("handles zero");
            lose();
            ASSERT_EQ(comeBack(), S_OK) << "a group whose first item has the server handle 0";
            for (const OLECHAR* name : {kInt32, kDouble, OLESTR("Constant.Boolean"), kInt32}) add(name);
            for (std::size_t i = 0; i < 4; ++i) ASSERT_EQ(items[i].serverHandle, i + 1);

            EXPECT_EQ(remove(each.request, reach), each.codes.empty() ? S_OK : S_FALSE);
            EXPECT_EQ(errors, each.codes);
            if (reach == Reach::Server) {
                EXPECT_EQ(served(), each.left);
            }
            EXPECT_EQ(reportedBad(), each.left);
            lose();
            ASSERT_EQ(comeBack(), S_OK);
            EXPECT_EQ(served(), each.left);
        }
    }
}

TEST_F(DaGroupWrapperTest, LocalHandlesAreReusedFirstInFirstOutAndGivenOutOnce) {
    for (const bool onServer : {true, false}) {
        begin(onServer);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(add(kInt32), S_OK);
        EXPECT_EQ(remove({{OLESTR(""), 3}, {OLESTR(""), 3}}), S_FALSE);
        EXPECT_EQ(remove({{OLESTR(""), 1}}), S_OK);
        for (int i = 0; i < 3; ++i) add(kDouble);
        Handles given;
        for (const OpxItemIdentifier& item : items) given.push_back(item.serverHandle);
        EXPECT_THAT(given, ElementsAre(1, 2, 3, 3, 1, 4)) << "on server: " << onServer;
        EXPECT_EQ(remove({{kInt32, 0}}), S_OK);
        EXPECT_EQ(removed[0].serverHandle, 2u);
        EXPECT_THAT(reportedBad(), ElementsAre(5, 4, 6)) << "in the order of their places";
    }
}

TEST_F(DaGroupWrapperTest, WhatAServerRefusesChangesNothing) {
    begin(true);
    add(kInt32);
    std::vector<OpxItemIdentifier> added = {itemNamed(OLESTR("No.Such.Item")), itemNamed(kDouble)};
    added[0].serverHandle = 77;
    EXPECT_EQ(wrapper->addItems(added, errors, false, Reach::Server), S_FALSE);
    EXPECT_THAT(errors, ElementsAre(kUnknownItem, 0));
    EXPECT_EQ(added[0].serverHandle, 77u);
    EXPECT_EQ(added[1].serverHandle, 2u);
    EXPECT_EQ(wrapper->addItems(added, errors, true, Reach::Server), S_FALSE);
    EXPECT_EQ(reportedBad().size(), 2u) << "validated items are not kept";

    sim.fault("IOPCItemMgt::AddItems", E_OUTOFMEMORY);
    sim.fault("IOPCItemMgt::RemoveItems", E_OUTOFMEMORY);
    EXPECT_EQ(add(kInt32), E_OUTOFMEMORY);
    EXPECT_EQ(remove({{kInt32, 1}}), E_OUTOFMEMORY);
    EXPECT_EQ(reportedBad().size(), 2u);
    EXPECT_TRUE(
        trace.hasInOrder({"--> DaGroupWrapper::addItems", "<-- DaGroupWrapper::addItems [hr=0x1]",
                          "--> DaGroupWrapper::removeItems", "<-- DaGroupWrapper::removeItems [hr=0x8007000e]"}));
}

TEST_F(DaGroupWrapperTest, AnItemWhoseRemovalIsRefusedStays) {
    for (const bool keepItems : {true, false}) {
        sim.execute("handles zero");
        begin(true, keepItems);
        add(kInt32);
        std::vector<OpxItemIdentifier> first = {itemNamed(kInt32)};
        ASSERT_EQ(wrapper->group()->removeItems(first, errors), S_OK) << "so that the server has it no more";
        EXPECT_EQ(remove({{kInt32, items[0].serverHandle}}), S_FALSE);
        EXPECT_THAT(errors, ElementsAre(kInvalidHandle));
        EXPECT_THAT(reportedBad(), ElementsAre(1));
    }
}

TEST_F(DaGroupWrapperTest, WithoutKeepingItemsTheCallerHasTheServersHandles) {
    begin(true, false);
    add(OLESTR("No.Such.Item"));
    sim.execute("handles zero");
    lose();
    EXPECT_EQ(add(kInt32), S_OK);
    EXPECT_EQ(remove({{kInt32, 1}}), E_FAIL);
    EXPECT_THAT(reportedBad(), IsEmpty());

    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_THAT(sim.journal("IOPCItemMgt::AddItems"), IsEmpty());
    add(kInt32);
    add(kDouble);
    EXPECT_EQ(items[2].serverHandle, 0u);
    EXPECT_THAT(reportedBad(), ElementsAre(3, 4));
    EXPECT_EQ(remove({{kInt32, 0}, {kDouble, 9}}), S_FALSE);
    EXPECT_THAT(errors, ElementsAre(0, kInvalidHandle));
    EXPECT_THAT(reportedBad(), ElementsAre(4));
}

// ---- Recovery

TEST_F(DaGroupWrapperTest, ARecoveredGroupHasTheCallbackAndTheItemsAsTheyWere) {
    begin(false);
    EXPECT_EQ(wrapper->connectCallback(OpxOpc::unowned(&client), Reach::Server), S_FALSE);
    EXPECT_EQ(add(kInt32, VType::Unknown), S_OK);
    EXPECT_EQ(add(OLESTR("")), S_OK);
    EXPECT_EQ(add(kDouble), S_OK);
    EXPECT_THAT(reportedBad(), ElementsAre(1, 3)) << "a place without name is no item";
    EXPECT_EQ(wrapper->collectHandles(handles), 7u);
    EXPECT_THAT(handles, ElementsAre(1, 3, 1, 3)) << "appended";

    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_TRUE(
        trace.hasInOrder({"--> DaGroupWrapper::recoverGroup", "<-- DaGroupMgt::connectCallback [hr=0x0]", "Add 2 items",
                          "  Item[0] Constant.Int32 DT=0 CH=1", "  Item[1] Constant.Double DT=0 CH=3"}))
        << trace.dump();
    EXPECT_THAT(served(), ElementsAre(1, 3));
    sim.item("Constant.Boolean", "canonical 11");
    add(OLESTR("Constant.Boolean"));
    lose();
    trace.clear();
    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_TRUE(trace.has("  Item[2] Constant.Boolean DT=1 CH=4")) << "as the server had typed it\n" << trace.dump();
}

TEST_F(DaGroupWrapperTest, AnItemThatTheNewServerRefusesIsRemovedWithoutAskingIt) {
    begin(true);
    for (const OLECHAR* name : {kDouble, kInt32, OLESTR("Constant.Boolean")}) add(name);
    ASSERT_EQ(remove({{kDouble, 1}}), S_OK);
    lose();
    sim.item("Constant.Int32", "addresult 0xC0040008");
    EXPECT_EQ(comeBack(), S_FALSE);
    EXPECT_TRUE(wrapper->isWhole());
    EXPECT_THAT(served(), ElementsAre(3));
    EXPECT_EQ(remove({{kInt32, 2}}), S_OK);
    EXPECT_THAT(sim.journal("IOPCItemMgt::RemoveItems"), IsEmpty());
    EXPECT_EQ(remove({{kInt32, 2}, {OLESTR("Constant.Boolean"), 3}}), S_FALSE);
    EXPECT_THAT(errors, ElementsAre(kInvalidHandle, 0));
    EXPECT_THAT(served(), IsEmpty());
    lose();
    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_THAT(served(), IsEmpty());
}

TEST_F(DaGroupWrapperTest, TheDeadServersHandleOfAnItemIsNotUsedOnTheNewOne) {
    begin(true);
    for (const OLECHAR* name : {kInt32, kDouble}) add(name);
    lose();
    sim.item("Constant.Int32", "addresult 0xC0040008");
    sim.answer("IOPCItemMgt::AddItems", "hidden-errors");
    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_EQ(remove({{kInt32, 1}}), S_OK);
    EXPECT_THAT(sim.journal("IOPCItemMgt::RemoveItems"), IsEmpty());
    EXPECT_THAT(served(), ElementsAre(2)) << "whose handle may be the one that the other had";
}

TEST_F(DaGroupWrapperTest, AGroupIsWholeWhenTheServerKnowsAllThatIsKept) {
    begin(false);
    EXPECT_FALSE(wrapper->isWhole());
    begin(true);
    add(kInt32);
    EXPECT_TRUE(wrapper->isWhole());
    for (const std::string failing : {"IOPCItemMgt::AddItems", "IConnectionPoint::Advise (IID_IOPCDataCallback)"}) {
        sim.fault(failing, E_OUTOFMEMORY, 1);
        lose();
        EXPECT_EQ(comeBack(), E_OUTOFMEMORY);
        EXPECT_FALSE(wrapper->isWhole()) << failing;
    }
    const std::function<HRESULT()> changes[] = {
        [&] { return wrapper->setActive(false, Reach::KeptStateOnly); },
        [&] { return add(kDouble, VType::Empty, Reach::KeptStateOnly); },
        [&] {
            return remove({{kInt32, 1}}, Reach::KeptStateOnly);
        },
        [&] { return wrapper->disconnectCallback(Reach::KeptStateOnly); },
    };
    for (const auto& change : changes) {
        lose();
        EXPECT_EQ(comeBack(), S_OK);
        EXPECT_TRUE(wrapper->isWhole());
        change();
        EXPECT_FALSE(wrapper->isWhole());
    }
}

TEST_F(DaGroupWrapperTest, ItemsThatComeTooLateForTheirGroupGetIntoTheNextOne) {
    groupName.clear();  // two groups at a time
    begin(true);
    std::vector<OpxItemIdentifier> late = {itemNamed(kInt32), itemNamed(kDouble)};
    late[1].clientHandle = 2;
    auto adding =
        hanging("IOPCItemMgt::AddItems", [&] { return wrapper->addItems(late, errors, false, Reach::Server); });
    const auto old = wrapper->takeGroup();
    EXPECT_EQ(comeBack(), S_OK);
    EXPECT_TRUE(wrapper->isWhole());
    sim.execute("release IOPCItemMgt::AddItems");
    EXPECT_EQ(adding.get(), S_OK);
    EXPECT_FALSE(wrapper->isWhole());
    EXPECT_EQ(remove({{kInt32, 1}}), S_OK) << "without asking a server that does not have it";
    lose();
    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_THAT(served(), ElementsAre(2));
}

TEST_F(DaGroupWrapperTest, AnItemInThePlaceOfOneThatIsBeingRemovedStays) {
    begin(true);
    add(kInt32);
    auto removing = hanging("IOPCItemMgt::RemoveItems", [this] { return remove({{kInt32, 1}}); });
    std::vector<OpxItemIdentifier> same = {itemNamed(kInt32)};
    Codes codes;
    EXPECT_EQ(wrapper->removeItems(same, codes, Reach::KeptStateOnly), S_OK);
    add(kDouble);
    EXPECT_EQ(items[1].serverHandle, 1u);
    sim.execute("release IOPCItemMgt::RemoveItems");
    EXPECT_EQ(removing.get(), S_FALSE);
    EXPECT_THAT(reportedBad(), ElementsAre(2));
}

TEST_F(DaGroupWrapperTest, ARetiredSubscriptionIsSilent) {
    begin(true);
    add(kInt32);
    EXPECT_THAT(served(), ElementsAre(1));
    wrapper->retire();
    EXPECT_TRUE(wrapper->isEnded());
    EXPECT_THAT(served(), IsEmpty());
    EXPECT_THAT(reportedBad(), IsEmpty());
    EXPECT_EQ(sim.counts()["sinks"], 0);
    lose();
    ASSERT_EQ(comeBack(), S_OK);
    EXPECT_THAT(served(), IsEmpty()) << "the callback is not connected again";
}

}  // namespace
}  // namespace Korvex::Testing
