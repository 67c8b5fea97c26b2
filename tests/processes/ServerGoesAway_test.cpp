// The server's process goes away with clients attached: COM starts it again when the library reconnects.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/processes/OwnResources.h"
#include "tests/processes/ProcessFixture.h"
#include "tests/processes/ServerProgram.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using Testing::Mailbox;

// KORVEX_TEST_CYCLES=30 has it done thirty times in a row.
int numberOfCycles() {
    const char* const wanted = std::getenv("KORVEX_TEST_CYCLES");
    return wanted == nullptr ? 3 : std::stoi(wanted);
}

class ServerGoesAway : public Testing::LossFixture {
protected:
    static constexpr int kSubscriptions = 10;

    ServerGoesAway() {
        server.add_DataChanged([changed = changed](std::int32_t subscription, bool qualitiesGood, bool,
                                                   const std::vector<ItemValueCallback>&) {
            changed->at(static_cast<std::size_t>(subscription)).put(qualitiesGood);
        });
    }

    void subscribe() {
        for (int i = 0; i < kSubscriptions; ++i) {
            NullableArray<ItemIdentifier> items = {ItemIdentifier("Signal.Ramp", ""),
                                                   ItemIdentifier("Signal.Sine", "")};
            std::int32_t rate = 0;
            std::int32_t handle = 0;
            ASSERT_EQ(server.Subscribe(i, true, 50, rate, 0, items, handle), ReturnCode::SUCCEEDED);
        }
    }

    // Each subscription's qualities.
    const std::shared_ptr<std::vector<Mailbox<bool>>> changed =
        std::make_shared<std::vector<Mailbox<bool>>>(kSubscriptions);
    const int kCycles = numberOfCycles();
};

// Reads an item again and again on a thread of its own.
class Reader {
public:
    explicit Reader(DaServerMgt& server) : thread_([this, &server] { readUntilStopped(server); }) {}
    ~Reader() {
        stopped_ = true;
        thread_.join();
    }

    // What the last read brought: a value, or the name of the code that was thrown.
    Mailbox<std::string> news;

    // COM's own codes are told, for the call that is under way and for those after it.
    bool meetsDeadServer() {
        return news.reaches(
            [](const std::string& now) { return now == "RPC_S_CALL_FAILED" || now == "RPC_S_SERVER_UNAVAILABLE"; });
    }

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
            return toUtf8(exception.ResultID().Name());
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
        EXPECT_TRUE(reader.meetsDeadServer());
        EXPECT_TRUE(comesBack());
        EXPECT_TRUE(reader.news.reaches("-320000"));
        steerAgain();
    }
}

TEST_F(ServerGoesAway, WithoutAWordToCom) {
    connect();
    Reader reader(server);
    EXPECT_TRUE(reader.news.reaches("-320000"));
    subscribe();
    for (auto& subscription : *changed) EXPECT_TRUE(subscription.reaches(true));
    die();
    EXPECT_TRUE(reader.meetsDeadServer());
    EXPECT_TRUE(comesBack());
    EXPECT_TRUE(reader.news.reaches("-320000"));
    for (auto& subscription : *changed) {
        EXPECT_TRUE(subscription.reaches(false)) << "the loss is told";
        EXPECT_TRUE(subscription.reaches(true)) << "it delivers again";
    }
}

using Handles = std::map<std::string, int>;

// The handles that a client of Wine's COM keeps through the loss of its server. Each release of a proxy whose
// server is dead costs Wine an event, and a file for some, whoever the client is; every object that is proxied
// has a mutex.
Handles handlesThatLast() {
    Handles kinds = Testing::ownHandles();
    kinds.erase("Event");
    kinds.erase("File");
    return kinds;
}

// What there is more of, by kind. A few more are none: the threads' locks get theirs when they first wait.
Handles growth(const Handles& before, const Handles& now) {
    constexpr int kFew = 4;
    Handles grown;
    for (const auto& [kind, count] : now) {
        const auto known = before.find(kind);
        const int more = count - (known == before.end() ? 0 : known->second);
        if (more > kFew) grown[kind] = more;
    }
    return grown;
}

// Whether no more are left than there were `before` connecting. COM keeps one that it started to be called
// back on, and its others some seconds longer than they are needed.
bool threadsEnd(int before) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (Testing::ownThreads() > before + 1) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return true;
}

TEST_F(ServerGoesAway, WhileTenSubscriptionsDeliver) {
    const int threads = Testing::ownThreads();
    connect();
    subscribe();
    Handles handles;
    for (int cycle = 0; cycle <= kCycles; ++cycle) {
        SCOPED_TRACE(cycle);
        for (auto& subscription : *changed) {
            EXPECT_TRUE(subscription.reaches(true));
            EXPECT_TRUE(subscription.reaches(true)) << "it goes on delivering";
        }
        EXPECT_EQ(sim().counts()["groups"], kSubscriptions + 1) << "each subscription once, and the one for calls";
        if (cycle == 1) handles = handlesThatLast();
        if (cycle == kCycles) break;
        vanish();
        EXPECT_TRUE(comesBack());
        for (auto& subscription : *changed) EXPECT_TRUE(subscription.reaches(false)) << "the loss is told";
        steerAgain();
    }
    EXPECT_EQ(growth(handles, handlesThatLast()), Handles());
    server.Dispose();
    EXPECT_TRUE(threadsEnd(threads)) << Testing::ownThreads() << " threads, and " << threads << " before";
}

TEST_F(ServerGoesAway, AfterItsClientsWhoLeaveNothingBehind) {
    const int threads = Testing::ownThreads();
    Handles handles;
    constexpr int kTimes = 10;
    for (int cycle = 0; cycle <= kTimes; ++cycle) {
        connect();
        subscribe();
        server.Disconnect();
        if (cycle == 0) handles = Testing::ownHandles();
    }
    EXPECT_EQ(growth(handles, Testing::ownHandles()), Handles());
    EXPECT_TRUE(threadsEnd(threads)) << Testing::ownThreads() << " threads, and " << threads << " before";
}

TEST_F(ServerGoesAway, WhileAConnectIsUnderWay) {
    info.RetryInitialConnection(true);
    for (int cycle = 1; cycle <= kCycles; ++cycle) {
        SCOPED_TRACE(cycle);
        sim().execute("hang IOPCServer::AddGroup");
        bool connectFailed = false;
        std::thread connecting([&] { server.Connect(kUrl, 7, &info, connectFailed); });
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (sim().execute("calls IOPCServer::AddGroup") == "0" && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
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
