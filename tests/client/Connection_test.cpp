// The short way to a server, as applications take it.
#include <korvex/client.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/SimulationFixture.h"
#include "tests/support/simulation_url.h"

namespace Korvex {
namespace {

using namespace std::chrono_literals;

// Waits for what another thread does; a test that waits this long has failed.
constexpr auto kLongest = 20s;

class ConnectionTest : public Testing::SimulationFixture {
protected:
    static Connection connect(ConnectOptions options = {}) {
        return Connection(toUtf8(Testing::simulationUrl()), std::move(options));
    }
};

TEST_F(ConnectionTest, ReadsAndWritesAnItemInOneLineEach) {
    Connection plant = connect();
    EXPECT_EQ(plant.state(), ServerState::CONNECTED);

    EXPECT_TRUE(plant.write("Register.Double", 21.5));
    const Reading reading = plant.read("Register.Double");
    EXPECT_TRUE(reading.isGood());
    ASSERT_NE(reading.as<double>(), nullptr);
    EXPECT_EQ(*reading.as<double>(), 21.5);
    EXPECT_EQ(reading.as<int>(), nullptr);
    EXPECT_EQ(reading.text(), "21.5");
    EXPECT_GT(reading.time, DateTime());
}

TEST_F(ConnectionTest, ErrorsOfItemsAreResultsInTheOrderOfTheNames) {
    Connection plant = connect();
    const std::vector<std::string> names = {"No.Such.Item", "Constant.Int32"};
    const std::vector<Assignment> assignments = {{"Constant.Int32", 1}, {"Register.Int32", 7}};

    const auto check = [](const std::vector<Reading>& readings, const std::vector<ItemResult>& results) {
        ASSERT_EQ(readings.size(), 2u);
        EXPECT_EQ(readings[0].name, "No.Such.Item");
        EXPECT_EQ(readings[0].result, ResultID::OPC_E_UNKNOWNITEMID);
        EXPECT_FALSE(readings[0].isGood());
        EXPECT_EQ(readings[0].message(), toUtf8(ResultID::OPC_E_UNKNOWNITEMID.Description()));
        EXPECT_EQ(readings[1].text(), "-320000");
        ASSERT_EQ(results.size(), 2u);
        EXPECT_EQ(results[0].result, ResultID::OPC_E_BADRIGHTS);
        EXPECT_TRUE(results[1]);
    };
    check(plant.read(names), plant.write(assignments));
    check(plant.readAsync(names).get(), plant.writeAsync(assignments).get());
}

TEST_F(ConnectionTest, ACallWithoutWaitingEndsWhateverBecomesOfIt) {
    Connection plant = connect();
    EXPECT_EQ(plant.readAsync({"No.Such.Item"}).get()[0].result, ResultID::OPC_E_UNKNOWNITEMID);

    sim.execute("async early");
    EXPECT_EQ(plant.readAsync({"Constant.Int32"}).get()[0].text(), "-320000");

    sim.execute("async drop");
    std::future<std::vector<Reading>> lost = plant.readAsync({"Constant.Int32"});
    { const Connection ended = std::move(plant); }
    EXPECT_THROW(lost.get(), OPCException);
}

TEST_F(ConnectionTest, CallsThatFailThrow) {
    EXPECT_THROW(Connection("opcda://localhost/No.Such.Server"), std::exception);
    Connection plant = connect();
    EXPECT_THROW(plant.read("Constant.Int32", -1ms), OPC::OpcDaClient::ArgumentException);
    EXPECT_THROW(plant.properties("No.Such.Item"), OPCException);
    EXPECT_THROW(plant.subscribe({}, [](const Reading&) {}), OPC::OpcDaClient::ArgumentException);
}

TEST_F(ConnectionTest, ASubscriptionBringsTheValueThatIsWritten) {
    Connection plant = connect();
    std::promise<void> came;
    std::atomic<bool> told = false;
    const Subscription subscription = plant.subscribe({"No.Such.Item", "Register.Int32"},
                                                      [&](const Reading& reading) {
                                                          EXPECT_EQ(reading.name, "Register.Int32");
                                                          if (reading.text() == "4711" && !told.exchange(true))
                                                              came.set_value();
                                                      },
                                                      {.rate = 0ms});
    ASSERT_EQ(subscription.refused().size(), 1u);
    EXPECT_EQ(subscription.refused()[0].name, "No.Such.Item");
    EXPECT_GT(subscription.revisedRate(), 0ms);

    plant.write("Register.Int32", 4711);
    EXPECT_EQ(came.get_future().wait_for(kLongest), std::future_status::ready);
}

TEST_F(ConnectionTest, AHandlerHasEndedWhenItsSubscriptionIsCancelled) {
    Connection plant = connect();
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::atomic<bool> first = true;
    std::atomic<bool> left = false;
    Subscription subscription = plant.subscribe({"Signal.Ramp"}, [&](const std::vector<Reading>&) {
        if (!first.exchange(false)) return;
        entered.set_value();
        mayLeave.get_future().wait();
        left = true;
    });
    ASSERT_EQ(entered.get_future().wait_for(kLongest), std::future_status::ready);
    std::thread cancelling([&] {
        subscription.cancel();
        EXPECT_TRUE(left);
    });
    mayLeave.set_value();
    cancelling.join();
}

TEST_F(ConnectionTest, AHandlerMayCancelItsOwnSubscription) {
    Connection plant = connect();
    std::promise<Subscription*> made;
    std::shared_future<Subscription*> known = made.get_future().share();
    std::promise<void> cancelled;
    std::atomic<int> calls = 0;
    Subscription subscription = plant.subscribe({"Signal.Ramp"}, [&, known](const Reading&) {
        if (calls++ > 0) return;
        known.get()->cancel();
        cancelled.set_value();
    });
    made.set_value(&subscription);
    ASSERT_EQ(cancelled.get_future().wait_for(kLongest), std::future_status::ready);
    EXPECT_EQ(sim.counts()["groups"], 1);  // that of the connection's own
}

TEST_F(ConnectionTest, ASubscriptionMayOutliveItsConnection) {
    std::optional<Subscription> subscription;
    {
        Connection plant = connect();
        subscription = plant.subscribe({"Signal.Ramp"}, [](const Reading&) {});
    }
    EXPECT_EQ(sim.counts()["sinks"], 0);
    subscription.reset();
}

TEST_F(ConnectionTest, StatesAreTold) {
    std::vector<ServerState> states;
    {
        Connection first = connect({.onState = [&](ServerState state) { states.push_back(state); }});
        const Connection second = std::move(first);
    }
    EXPECT_EQ(states, (std::vector<ServerState>{ServerState::CONNECTED, ServerState::DISCONNECTED}));
}

TEST_F(ConnectionTest, BrowsesPageByPage) {
    sim.execute("browselimit 7");
    Connection plant = connect();
    std::set<std::string> items;
    for (const Element& element : plant.browse("Load")) {
        EXPECT_TRUE(element.isItem);
        EXPECT_TRUE(items.insert(element.itemId).second);
    }
    EXPECT_EQ(items.size(), 1000u);
    for (const Element& element : plant.browse("Load.0")) ADD_FAILURE() << element.name;
}

TEST_F(ConnectionTest, TellsAnItemsProperties) {
    Connection plant = connect();
    const std::vector<Property> properties = plant.properties("Analog.Level");
    const auto unit = std::find_if(properties.begin(), properties.end(), [](const Property& property) {
        return property.id == OPC::OpcDaClient::PropertyID::ENGINEERINGUINTS;
    });
    ASSERT_NE(unit, properties.end());
    EXPECT_FALSE(unit->description.empty());
    EXPECT_FALSE(unit->value.isNull());
}

}  // namespace
}  // namespace Korvex
