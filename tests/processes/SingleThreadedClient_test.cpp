// A client whose first connection is made in a single-threaded apartment, and a server in another process.
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "com/platform.h"
#include "tests/processes/ProcessFixture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using Testing::Mailbox;

// A window's thread: single-threaded, connects, and dispatches messages for as long as the test takes.
class SingleThreadedClient : public Testing::LossFixture {
protected:
    SingleThreadedClient() {
        server.add_DataChanged(
            [changes = changes](std::int32_t, bool qualitiesGood, bool, const std::vector<ItemValueCallback>&) {
                changes->put(qualitiesGood);
            });
        server.add_ReadCompleted(
            [completions = completions](std::int32_t, bool, bool, const NullableArray<ItemValueCallback>& told) {
                completions->put(toUtf8(told[0].Value().toText()));
            });
    }

    void inWindowsThread(const std::function<void()>& whileItDispatches) {
        std::promise<void> connected;
        std::atomic<bool> over{false};
        std::thread window([&] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            connect();
            connected.set_value();
            while (!over) {
                Com::pumpMessages();
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
            server.Disconnect();
            CoUninitialize();
        });
        connected.get_future().wait();
        whileItDispatches();
        over = true;
        window.join();
    }

    std::string read() {
        NullableArray<ItemIdentifier> items = {ItemIdentifier("Constant.Int32", "")};
        NullableArray<ItemValue> values;
        server.Read(0, items, values);
        return toUtf8(values[0].Value().toText());
    }
    void subscribe() {
        NullableArray<ItemIdentifier> items = {ItemIdentifier("Signal.Ramp", "")};
        std::int32_t rate = 0;
        ASSERT_EQ(server.Subscribe(1, true, 50, rate, 0, items, handle), ReturnCode::SUCCEEDED);
    }

    const std::shared_ptr<Mailbox<bool>> changes = std::make_shared<Mailbox<bool>>();
    const std::shared_ptr<Mailbox<std::string>> completions = std::make_shared<Mailbox<std::string>>();
    std::int32_t handle = 0;
};

TEST_F(SingleThreadedClient, WorksFromEveryThreadAndRegainsItsServer) {
    inWindowsThread([&] {
        EXPECT_EQ(read(), "-320000");
        std::async(std::launch::async, [&] {
            const Testing::MultiThreadedApartment apartment;
            EXPECT_EQ(read(), "-320000");
            subscribe();
        }).wait();
        for (int cycle = 1; cycle <= 2; ++cycle) {
            SCOPED_TRACE(cycle);
            EXPECT_TRUE(changes->reaches(true));
            NullableArray<ItemIdentifier> items = {ItemIdentifier("Constant.Int32", "")};
            EXPECT_EQ(server.ReadAsync(cycle, 0, items), ReturnCode::SUCCEEDED);
            EXPECT_TRUE(completions->reaches("-320000"));
            vanish();
            EXPECT_TRUE(comesBack());
            EXPECT_TRUE(changes->reaches(false));
            EXPECT_TRUE(changes->reaches(true));
            EXPECT_TRUE(changes->reaches(true)) << "it goes on delivering";
            EXPECT_EQ(read(), "-320000");
            std::int32_t rate = 0;
            EXPECT_EQ(server.SubscriptionModify(handle, 100, rate), ReturnCode::SUCCEEDED);
            steerAgain();
        }
    });
    // Wine refuses to take interfaces of another process out of the table, so the server believes in a client.
    vanish();
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
