// Walks a server's address space and prints it as a tree, with the unit of each item that has one.
//   browse opcda://localhost/Korvex.Simulation.1
#include <iostream>
#include <string>

#include <korvex/opc_da_client/DaServerMgt.h>

using namespace Korvex::OPC::OpcDaClient;
using Korvex::toUtf8;

namespace {

constexpr std::int32_t kPageSize = 100;

std::string unitOf(const BrowseElement& element) {
    for (const ItemProperty& property : element.ItemProperties().RequestedItemProperties()) {
        if (property.ResultID().Succeeded()) return " [" + toUtf8(property.Value().toText()) + "]";
    }
    return {};
}

void walk(DaServerMgt& server, const NullableText& branch, const std::string& indent) {
    // A long branch comes in pages; the continuation point of one asks for the next.
    NullableText continuationPoint = "";
    do {
        NullableArray<BrowseElement> elements;
        bool moreElements = false;
        server.Browse(branch, "", continuationPoint, kPageSize, BrowseFilter::ALL, {PropertyID::ENGINEERINGUINTS},
                      false, true, elements, moreElements);
        for (const BrowseElement& element : elements.value()) {
            std::cout << indent << toUtf8(element.Name().valueOrEmpty()) << unitOf(element) << '\n';
            if (element.HasChildren()) walk(server, element.ItemName(), indent + "  ");
        }
    } while (continuationPoint != NullableText(""));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: browse URL\n";
        return 2;
    }
    try {
        DaServerMgt server;
        ConnectInfo info;
        bool connectFailed = false;
        server.Connect(argv[1], 1, &info, connectFailed);
        walk(server, "", "");
        server.Disconnect();
    } catch (const OPCException& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
