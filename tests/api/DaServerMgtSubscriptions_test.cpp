#include <chrono>
#include <future>
#include <memory>
#include <string>

#include <gmock/gmock.h>

#include "tests/api/ApiFixture.h"
#include "tests/support/FastClock.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class DaServerMgtSubscriptionsTest : public ApiFixture {
protected:
    DaServerMgtSubscriptionsTest() { server.add_DataChanged(toldChanges(story)); }
};

TEST_F(DaServerMgtSubscriptionsTest, HandlesThatNameNoSubscriptionAreTheEnginesToRefuse) {
    connect();
    subscribe({item("Constant.Int32")});
    server.SubscriptionCancel(handle);
    const struct {
        std::int32_t handle;
        std::int32_t code;
    } table[] = {{handle, hresult(0x80070057u)}, {4711, hresult(0xC0040001u)}, {-1, hresult(0xC0040001u)}};
    for (const auto& unknown : table) {
        SCOPED_TRACE(unknown.handle);
        EXPECT_EQ(opcCodeOf([&] { server.SubscriptionModify(unknown.handle, 1.0); }), unknown.code);
        EXPECT_EQ(opcCodeOf([&] { server.SubscriptionModify(unknown.handle, true); }), unknown.code);
        EXPECT_EQ(opcCodeOf([&] { server.SubscriptionAddItems(unknown.handle, items); }), unknown.code);
        EXPECT_EQ(opcCodeOf([&] { server.SubscriptionRemoveItems(unknown.handle, items); }), unknown.code);
        EXPECT_EQ(opcCodeOf([&] { server.SubscriptionCancel(unknown.handle); }), unknown.code);
    }
    EXPECT_TRUE(trace.hasInOrder({"==> MCPP::DaServerMgt::SubscriptionCancel",
                                  "<== MCPP::DaServerMgt::SubscriptionCancel [hr=0x0]",
                                  "==> MCPP::DaServerMgt::SubscriptionModify",
                                  "EXC MCPP::DaServerMgt::HandleHResult throwing Exception for HRESULT 0x80070057 "}));
}

// ---- Subscribing ---------------------------------------------------------------------------------

TEST_F(DaServerMgtSubscriptionsTest, ChangesComeWithTheApplicationsOwnHandlesAndItemsTellTheirResults) {
    sim.execute("deliver inside");
    connect();
    EXPECT_EQ(subscribe({item("Constant.Int32", "one"), item("No.Such.Item", "lost"), item("Constant.Double", 2)}),
              ReturnCode::ITEMERROR);
    EXPECT_EQ(story->next(), "70: one=-320000, 2=-2.25");
    EXPECT_EQ(revised, 100);
    EXPECT_EQ(items[0].ResultID(), ResultID::WIN_S_OK);
    EXPECT_EQ(items[0].DataType(), Type::of<std::int32_t>());
    EXPECT_NE(items[0].ServerHandle(), 0);
    EXPECT_EQ(items[1].ResultID(), ResultID::OPC_E_UNKNOWNITEMID);
    EXPECT_EQ(items[1].ServerHandle(), 0);
    EXPECT_TRUE(trace.hasInOrder({"==> MCPP::DaServerMgt::Subscribe", "==> MCPP::DaServerMgt::SubscriptionModify",
                                  "==> MCPP::DaServerMgt::DataChanged", "CALL MCPP::DaServerMgt::m_DataChanged->Invoke",
                                  "DONE MCPP::DaServerMgt::m_DataChanged->Invoke", "<== MCPP::DaServerMgt::DataChanged",
                                  "<== MCPP::DaServerMgt::SubscribtionModify [hr=0x0]",
                                  "<== MCPP::DaServerMgt::Subscribe [hr=0x1]"}))
        << trace.dump();

    add({item("Register.Int32", "three")});
    EXPECT_EQ(story->next(), "70: three=0");
    NullableArray<ItemIdentifier> changed = {item("Register.Int32")};
    server.Write(changed, {value(5)});
    EXPECT_EQ(story->next(), "70: three=5");
}

TEST_F(DaServerMgtSubscriptionsTest, InternalHandlesStartAtZeroAreReusedAndGoOnAfterReconnecting) {
    const auto internalHandles = [&] {
        std::string handles;
        for (const std::string& line : sim.journal("IOPCServer::AddGroup")) {
            if (line.find("name=Main") == std::string::npos) handles += line[line.find("client=") + 7];
        }
        sim.clearJournal();
        return handles;
    };
    connect();
    subscribe({item("Constant.Int32")});
    const std::int32_t first = handle;
    subscribe({item("Constant.Int32")});
    server.SubscriptionCancel(first);
    subscribe({item("Constant.Int32")});
    EXPECT_EQ(internalHandles(), "010");

    sim.fault("IOPCServer::AddGroup", E_FAIL, 1);
    EXPECT_EQ(opcCodeOf([&] { subscribe({item("Constant.Int32")}); }), E_FAIL);
    server.Disconnect();
    connect();
    subscribe({item("Constant.Int32")});
    EXPECT_EQ(internalHandles(), "23") << "neither a failure nor a disconnect gives a handle back";
}

TEST_F(DaServerMgtSubscriptionsTest, ARateThatTheServerRevisesIsToldUnlessAnItemIsRefused) {
    connect();
    EXPECT_EQ(subscribe({item("Constant.Int32")}, true, 1), ReturnCode::UNSUPPORTEDUPDATERATE);
    EXPECT_EQ(revised, 10);
    EXPECT_EQ(subscribe({item("No.Such.Item")}, true, 1), ReturnCode::ITEMERROR);
    EXPECT_EQ(revised, 10);

    revised = 0;
    EXPECT_EQ(server.SubscriptionModify(handle, 1, revised), ReturnCode::UNSUPPORTEDUPDATERATE);
    EXPECT_EQ(revised, 10);
    EXPECT_EQ(server.SubscriptionModify(handle, 250, revised), ReturnCode::SUCCEEDED);
    EXPECT_EQ(revised, 250);
    EXPECT_EQ(server.SubscriptionModify(handle, true, 2, revised, 5), ReturnCode::UNSUPPORTEDUPDATERATE);
    EXPECT_EQ(revised, 10);
}

TEST_F(DaServerMgtSubscriptionsTest, ASubscriptionThatIsNotActivatedStaysInactiveAndCanBeUsed) {
    connect();
    sim.fault("IOPCGroupStateMgt::SetState", E_OUTOFMEMORY);
    EXPECT_THROW(subscribe({item("Constant.Int32", "one")}), Exception);
    sim.reset();
    EXPECT_TRUE(story->isEmpty());
    EXPECT_EQ(server.SubscriptionModify(handle, true), ReturnCode::SUCCEEDED);
    EXPECT_EQ(story->next(), "70: one=-320000");
}

// ---- Changing a subscription ---------------------------------------------------------------------

TEST_F(DaServerMgtSubscriptionsTest, EveryModifyChangesWhatItsArgumentsName) {
    connect();
    subscribe({item("Constant.Int32", "one")}, false);
    sim.clearJournal();
    EXPECT_EQ(server.SubscriptionModify(handle, 2.5), ReturnCode::SUCCEEDED);
    EXPECT_EQ(server.SubscriptionModify(handle, 3.5f), ReturnCode::SUCCEEDED);
    EXPECT_EQ(server.SubscriptionModify(handle, 5), ReturnCode::SUCCEEDED);
    EXPECT_EQ(server.SubscriptionModify(handle, 300, revised), ReturnCode::SUCCEEDED);
    EXPECT_EQ(server.SubscriptionModify(handle, true), ReturnCode::SUCCEEDED);
    EXPECT_EQ(server.SubscriptionModify(handle, false, 400, revised, 4.5), ReturnCode::SUCCEEDED);
    EXPECT_THAT(sim.journal("IOPCGroupStateMgt::SetState"),
                ElementsAre(HasSubstr("deadband=2.5"), HasSubstr("deadband=3.5"), HasSubstr("deadband=5"),
                            HasSubstr("rate=300"), HasSubstr("active=1"),
                            AllOf(HasSubstr("active=0"), HasSubstr("rate=400"), HasSubstr("deadband=4.5"))));
}

template <typename Server, typename Active>
concept Activates = requires(Server& server, Active active) {
    server.SubscriptionModify(1, active);
};
template <typename Server, typename Active>
concept ModifiesAll = requires(Server& server, Active active, std::int32_t& rate) {
    server.SubscriptionModify(1, active, 100, rate, 2.5f);
};
static_assert(Activates<DaServerMgt, bool> && ModifiesAll<DaServerMgt, bool>);
static_assert(!Activates<DaServerMgt, const char*> && !ModifiesAll<DaServerMgt, const char*>, "a text is no state");

template <typename Server>
concept ConnectsWithBraces = requires(Server& server, bool& failed) {
    server.Connect("opcda://", 1, {}, failed);
};
static_assert(!ConnectsWithBraces<DaServerMgt>, "no record is not an empty one");

TEST_F(DaServerMgtSubscriptionsTest, ItemsAreAddedWithTheirHandlesAndRemoved) {
    connect();
    subscribe({item("Constant.Int32", "one")});
    EXPECT_EQ(story->next(), "70: one=-320000");
    EXPECT_EQ(add({item("Constant.Double", "two"), item("No.Such.Item", "lost")}), ReturnCode::ITEMERROR);
    EXPECT_EQ(items[0].ResultID(), ResultID::WIN_S_OK);
    EXPECT_EQ(items[0].DataType(), Type::of<double>());
    EXPECT_EQ(items[1].ResultID(), ResultID::OPC_E_UNKNOWNITEMID);
    EXPECT_EQ(story->next(), "70: two=-2.25");

    NullableArray<ItemIdentifier> removed = {item("Constant.Double"), item("Never.Added")};
    EXPECT_EQ(server.SubscriptionRemoveItems(handle, removed), ReturnCode::ITEMERROR);
    EXPECT_EQ(removed[0].ResultID(), ResultID::WIN_S_OK);
    EXPECT_LT(removed[1].ResultID().Code(), 0);
    removed = {item("Constant.Int32")};
    EXPECT_EQ(server.SubscriptionRemoveItems(handle, removed), ReturnCode::SUCCEEDED);
    EXPECT_EQ(sim.counts()["items"], 0);
    EXPECT_TRUE(trace.hasInOrder(
        {"==> MCPP::DaServerMgt::SubscritpionAddItems", "<== MCPP::DaServerMgt::SubscribtionAddItems [hr=0x1]",
         "==> MCPP::DaServerMgt::SubscritpionRemoveItems", "<== MCPP::DaServerMgt::SubscribtionRemoveItems [hr=0x1]"}));
}

TEST_F(DaServerMgtSubscriptionsTest, ASubscriptionThatTheServerDoesNotEndIsForgottenAllTheSame) {
    connect();
    subscribe({item("Constant.Int32", "one")}, false);
    sim.fault("IOPCServer::RemoveGroup", E_FAIL);
    EXPECT_EQ(opcCodeOf([&] { server.SubscriptionCancel(handle); }), E_FAIL);
    EXPECT_EQ(opcCodeOf([&] { add({item("Constant.Double")}); }), E_FAIL);
    sim.clearJournal();
    subscribe({item("Constant.Double", "two")});
    EXPECT_THAT(sim.journal("IOPCServer::AddGroup"), ElementsAre(HasSubstr("client=0 ")));
    EXPECT_EQ(story->next(), "70: two=-2.25");
}

TEST_F(DaServerMgtSubscriptionsTest, AnInternalHandleIsGivenOutAgainOnlyAfterItsSubscriptionHasGone) {
    connect();
    subscribe({item("Constant.Int32", "one")}, false);
    sim.execute("hang IOPCServer::RemoveGroup");
    auto cancelling = std::async(std::launch::async, [&] { server.SubscriptionCancel(handle); });
    while (sim.journal("IOPCServer::RemoveGroup").empty()) std::this_thread::sleep_for(1ms);
    sim.clearJournal();
    std::int32_t other = 0;
    NullableArray<ItemIdentifier> others = {item("Constant.Double", "two")};
    server.Subscribe(71, true, 100, revised, 0, others, other);
    EXPECT_THAT(sim.journal("IOPCServer::AddGroup"), ElementsAre(HasSubstr("client=1 ")));
    sim.execute("release IOPCServer::RemoveGroup");
    cancelling.get();
}

TEST_F(DaServerMgtSubscriptionsTest, ItemsOfACallThatFailsLeaveNoHandlesBehind) {
    connect();
    subscribe({item("Constant.Int32", "one")});
    EXPECT_EQ(story->next(), "70: one=-320000");
    // Another object with the same hash as the one of the call that fails.
    const Object failed(std::int32_t{5});
    const Object added(std::uint32_t{5});
    ASSERT_EQ(failed.hashCode(), added.hashCode());
    ASSERT_NE(failed, added);
    const auto told = std::make_shared<std::promise<Object>>();
    server.add_DataChanged([told](std::int32_t, bool, bool, const std::vector<ItemValueCallback>& changed) {
        told->set_value(changed[0].ClientHandle());
    });
    sim.fault("IOPCItemMgt::AddItems", E_OUTOFMEMORY, 1);
    EXPECT_THROW(add({item("Constant.Double", failed)}), Exception);
    add({item("Constant.Double", added)});
    EXPECT_EQ(told->get_future().get(), added);
}

// ---- Handlers ------------------------------------------------------------------------------------

TEST_F(DaServerMgtSubscriptionsTest, AHandlerIsCalledUntilItIsTakenBack) {
    connect();
    const auto last =
        server.add_DataChanged([story = story](std::int32_t, bool, bool, const std::vector<ItemValueCallback>&) {
            story->put("last");
            throw std::runtime_error("the application's own trouble");
        });
    subscribe({item("Constant.Int32", "one")});
    EXPECT_EQ(story->next(), "70: one=-320000");
    EXPECT_EQ(story->next(), "last");
    server.remove_DataChanged(last);
    add({item("Constant.Double", "two")});
    EXPECT_EQ(story->next(), "70: two=-2.25");
    EXPECT_EQ(trace.count("Error: MCPP::DaServerMgt::DataChanged - A handler has thrown an exception: "
                          "the application's own trouble"),
              1u);
    server.SubscriptionCancel(handle);
    EXPECT_TRUE(story->isEmpty());
}

TEST_F(DaServerMgtSubscriptionsTest, AHandlerMaySubscribeCancelAndDisconnect) {
    connect();
    const auto firstHandle = std::make_shared<std::promise<std::int32_t>>();
    server.add_DataChanged([&connection = server, firstHandle, story = story](std::int32_t subscription, auto...) {
        if (subscription != kClientSubscription) {
            connection.Disconnect();
            return story->put("done");
        }
        connection.SubscriptionCancel(firstHandle->get_future().get());
        NullableArray<ItemIdentifier> others = {item("Constant.Double", "two")};
        std::int32_t rate = 0;
        std::int32_t second = 0;
        connection.Subscribe(71, true, 100, rate, 0, others, second);
    });
    subscribe({item("Constant.Int32", "one")});
    firstHandle->set_value(handle);
    EXPECT_EQ(story->next(), "70: one=-320000");
    EXPECT_EQ(story->next(), "71: two=-2.25");
    EXPECT_EQ(story->next(), "done");
    EXPECT_FALSE(server.IsConnected());
}

TEST_F(DaServerMgtSubscriptionsTest, AHandlerThatStillRunsOutlivesTheConnectionsObject) {
    auto mortal = std::make_unique<DaServerMgt>();
    std::promise<void> leave;
    mortal->add_DataChanged([story = story, mayLeave = leave.get_future().share()](
                                std::int32_t, bool, bool, const std::vector<ItemValueCallback>&) {
        story->put("entered");
        mayLeave.wait();
        story->put("leaving");
    });
    mortal->add_DataChanged(toldChanges(story));
    mortal->Connect(kUrl, 7, &info, connectFailed);
    items = {item("Constant.Int32", "one")};
    mortal->Subscribe(1, true, 100, revised, 0, items, handle);
    EXPECT_EQ(story->next(), "entered");
    mortal.reset();
    leave.set_value();
    EXPECT_EQ(story->next(), "leaving");
    EXPECT_EQ(story->next(), "1: one=-320000");
}

TEST_F(DaServerMgtSubscriptionsTest, ALossIsToldAndTheSubscriptionComesBackWithItsHandles) {
    const Testing::FastClock clock(100);
    DaServerMgt watched;
    watched.add_ServerStateChanged(toldStates(story));
    watched.add_DataChanged(toldChanges(story));
    watched.Connect(kUrl, 9, &info, connectFailed);
    items = {item("Constant.Int32", "one")};
    watched.Subscribe(kClientSubscription, true, 100, revised, 0, items, handle);
    EXPECT_EQ(story->next(), "9: state 4");
    EXPECT_EQ(story->next(), "70: one=-320000");

    sim.execute("dead");
    EXPECT_EQ(story->next(), "9: state 3");
    EXPECT_EQ(story->next(), "70: one= OPC_QUALITY_BAD");
    EXPECT_EQ(watched.ServerState(), State::ERRORWATCHDOG);
    EXPECT_TRUE(watched.IsConnected());
    EXPECT_EQ(watched.SubscriptionModify(handle, 2.5), ReturnCode::SUCCEEDED);
    EXPECT_EQ(watched.SubscriptionModify(handle, 200, revised), ReturnCode::UNSUPPORTEDUPDATERATE);

    sim.execute("alive");
    EXPECT_EQ(story->next(), "9: state 4");
    EXPECT_EQ(story->next(), "70: one=-320000");
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
