// The server's process goes away with clients attached: COM starts it again when the library reconnects.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/processes/ProcessFixture.h"
#include "tests/processes/ServerProgram.h"
#include "tests/support/FastClock.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using State = OpcDaClient::ServerState;
using Testing::Mailbox;

constexpr int kCycles = 3;

class ServerGoesAway : public Testing::ProcessFixture {
protected:
    ServerGoesAway() {
        server.add_ServerStateChanged([states = states](std::int32_t, State state) { states->put(state); });
    }
    ~ServerGoesAway() override { server.Dispose(); }

    void connect() {
        bool connectFailed = true;
        server.Connect(kUrl, 7, &info, connectFailed);
        ASSERT_FALSE(connectFailed);
        ASSERT_TRUE(states->reaches(State::CONNECTED));
    }
    bool comesBack() { return states->reaches(State::ERRORWATCHDOG) && states->reaches(State::CONNECTED); }

    // A check of the server takes 200 ms and its process longer to start: what is tested is not the waiting.
    const Testing::FastClock clock{10};
    const std::shared_ptr<Mailbox<State>> states = std::make_shared<Mailbox<State>>();
    ConnectInfo info;
    DaServerMgt server;
};

// Reads an item again and again on a thread of its own.
class Reader {
public:
    explicit Reader(DaServerMgt& server) : thread_([this, &server] { readUntilStopped(server); }) {}
    ~Reader() {
        stopped_ = true;
        thread_.join();
    }

    // What the last read brought: a value, or the code that was thrown.
    Mailbox<std::string> news;

private:
    void readUntilStopped(DaServerMgt& server) {
        for (std::string last; !stopped_;) {
            const std::string now = readOnce(server);
            if (now != last) news.put(now);
            last = now;
        }
    }
    static std::string readOnce(DaServerMgt& server) {
        NullableArray<ItemIdentifier> items = {ItemIdentifier("Constant.Int32", "")};
        NullableArray<ItemValue> values;
        try {
            server.Read(0, items, values);
            return toUtf8(values[0].Value().toText());
        } catch (const OPCException& exception) {
            return Testing::hex(exception.ResultID().Code());
        }
    }

    std::atomic<bool> stopped_{false};
    std::thread thread_;
};

TEST_F(ServerGoesAway, WhileItIsRead) {
    connect();
    Reader reader(server);
    EXPECT_TRUE(reader.news.reaches("-320000"));
    for (int cycle = 1; cycle <= kCycles; ++cycle) {
        SCOPED_TRACE(cycle);
        vanish();
        EXPECT_TRUE(reader.news.reaches("0x800706ba")) << "a dead server is told by COM's own code";
        EXPECT_TRUE(comesBack());
        EXPECT_TRUE(reader.news.reaches("-320000"));
        steerAgain();
    }
}

TEST_F(ServerGoesAway, WithoutAWordToCom) {
    connect();
    Reader reader(server);
    EXPECT_TRUE(reader.news.reaches("-320000"));
    die();
    EXPECT_TRUE(reader.news.reaches("0x800706ba"));
    EXPECT_TRUE(comesBack());
    EXPECT_TRUE(reader.news.reaches("-320000"));
}

TEST_F(ServerGoesAway, WhileTenSubscriptionsDeliver) {
    constexpr int kSubscriptions = 10;
    const auto changed = std::make_shared<std::vector<Mailbox<bool>>>(kSubscriptions);
    server.add_DataChanged(
        [changed](std::int32_t subscription, bool qualitiesGood, bool, const std::vector<ItemValueCallback>&) {
            changed->at(static_cast<std::size_t>(subscription)).put(qualitiesGood);
        });
    connect();
    for (int i = 0; i < kSubscriptions; ++i) {
        NullableArray<ItemIdentifier> items = {ItemIdentifier("Signal.Ramp", ""), ItemIdentifier("Signal.Sine", "")};
        std::int32_t rate = 0;
        std::int32_t handle = 0;
        ASSERT_EQ(server.Subscribe(i, true, 50, rate, 0, items, handle), ReturnCode::SUCCEEDED);
    }
    for (int cycle = 0; cycle <= kCycles; ++cycle) {
        SCOPED_TRACE(cycle);
        for (auto& subscription : *changed) {
            EXPECT_TRUE(subscription.reaches(true));
            EXPECT_TRUE(subscription.reaches(true)) << "it goes on delivering";
        }
        EXPECT_EQ(sim().counts()["groups"], kSubscriptions + 1) << "each subscription once, and the one for calls";
        if (cycle == kCycles) break;
        vanish();
        EXPECT_TRUE(comesBack());
        for (auto& subscription : *changed) EXPECT_TRUE(subscription.reaches(false)) << "the loss is told";
        steerAgain();
    }
}

TEST_F(ServerGoesAway, WhileAConnectIsUnderWay) {
    info.RetryInitialConnection(true);
    for (int cycle = 1; cycle <= kCycles; ++cycle) {
        SCOPED_TRACE(cycle);
        sim().execute("hang IOPCServer::AddGroup");
        bool connectFailed = false;
        std::thread connecting([&] { server.Connect(kUrl, 7, &info, connectFailed); });
        while (sim().execute("calls IOPCServer::AddGroup") == "0") std::this_thread::yield();
        vanish();
        connecting.join();
        EXPECT_TRUE(connectFailed);
        EXPECT_TRUE(states->reaches(State::CONNECTED)) << "it is tried again";
        Reader reader(server);
        EXPECT_TRUE(reader.news.reaches("-320000"));
        server.Disconnect();
        states->forget();
        steerAgain();
        sim().reset();
    }
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
