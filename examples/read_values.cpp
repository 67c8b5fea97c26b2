// Reads items of a server and prints what became of each.
//   read_values opcda://localhost/Korvex.Simulation.1 Signal.Ramp Constant.String No.Such.Item
#include <iostream>
#include <string>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

using namespace Korvex::OPC::OpcDaClient;
using Korvex::toUtf8;

namespace {

void print(const ItemIdentifier& item, const ItemValue& value) {
    std::cout << toUtf8(item.ItemName().valueOrEmpty()) << ": ";
    // An error of one item is told by its result and never thrown.
    if (!item.ResultID().Succeeded()) {
        std::cout << toUtf8(item.ResultID().Description()) << '\n';
        return;
    }
    std::cout << toUtf8(value.Value().toText()) << " (" << toUtf8(value.Value().type().name()) << ", "
              << toUtf8(value.Quality()->Name()) << ", " << toUtf8(value.TimeStamp().toText()) << ")\n";
}

void readValues(const char* url, const std::vector<std::string>& names) {
    DaServerMgt server;
    server.add_ServerStateChanged(
        [](std::int32_t, ServerState state) { std::cout << "state " << static_cast<int>(state) << '\n'; });

    ConnectInfo info;
    bool connectFailed = false;
    server.Connect(url, 1, &info, connectFailed);

    std::vector<ItemIdentifier> list;
    for (const std::string& name : names) list.emplace_back(name, "");
    NullableArray<ItemIdentifier> items(list);
    NullableArray<ItemValue> values;
    server.Read(0, items, values);  // 0: from the device, not from the server's cache
    for (std::size_t i = 0; i < items.size(); ++i) print(items[i], values[i]);

    server.Disconnect();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: read_values URL ITEM...\n";
        return 2;
    }
    try {
        readValues(argv[1], {argv + 2, argv + argc});
    } catch (const OPCException& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
