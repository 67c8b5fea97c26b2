// Prints items whenever they change, and what becomes of the connection, for ten seconds.
//   subscribe opcda://localhost/Korvex.Simulation.1 Signal.Ramp Signal.Square No.Such.Item
#include <chrono>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

using namespace Korvex::OPC::OpcDaClient;
using Korvex::OpxString;
using Korvex::toUtf8;

namespace {

// Handlers run on threads of the library and of the server, several at once, and one may still be running
// when Disconnect has returned: what they use must be made for that. A line is written in one piece.
void print(const std::string& line) {
    std::cout << line + "\n" << std::flush;
}

// When the connection is lost, the library goes on trying, and the subscription comes back with it.
void printState(std::int32_t, ServerState state) {
    switch (state) {
        case ServerState::CONNECTED:
            return print("connected");
        case ServerState::ERRORWATCHDOG:
        case ServerState::ERRORSHUTDOWN:
            return print("connection lost");
        default:
            return print("disconnected");
    }
}

// An item comes with the handle that it was subscribed with, whatever that is: here its name.
void printChanges(std::int32_t, bool, bool, const std::vector<ItemValueCallback>& items) {
    for (const ItemValueCallback& item : items) {
        const std::string name = toUtf8(item.ClientHandle().get<OpxString>());
        if (!item.ResultID()->Succeeded())
            print(name + ": " + toUtf8(item.ResultID()->Description()));
        else
            print(name + " = " + toUtf8(item.Value().toText()) + " (" + toUtf8(item.Quality()->Name()) + ")");
    }
}

void subscribe(const char* url, const std::vector<std::string>& names) {
    DaServerMgt server;
    server.add_ServerStateChanged(printState);
    server.add_DataChanged(printChanges);

    ConnectInfo info;
    info.KeepAliveTime(2000);  // notice a lost server after two seconds
    bool connectFailed = false;
    server.Connect(url, 1, &info, connectFailed);

    std::vector<ItemIdentifier> list;
    for (const std::string& name : names) list.emplace_back(name, "", name);
    NullableArray<ItemIdentifier> items(list);
    std::int32_t updateRate = 0;
    std::int32_t subscription = 0;
    server.Subscribe(1, true, 500, updateRate, 0, items, subscription);
    for (const ItemIdentifier& item : items.value()) {
        if (!item.ResultID().Succeeded())
            print(toUtf8(item.ItemName().valueOrEmpty()) + ": " + toUtf8(item.ResultID().Description()));
    }
    std::this_thread::sleep_for(std::chrono::seconds(5));

    print("-- from now on, analog items only when they have moved by a quarter of their range");
    server.SubscriptionModify(subscription, 25.0);
    std::this_thread::sleep_for(std::chrono::seconds(5));

    server.SubscriptionCancel(subscription);
    server.Disconnect();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: subscribe URL ITEM...\n";
        return 2;
    }
    try {
        subscribe(argv[1], {argv + 2, argv + argc});
    } catch (const OPCException& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
