// A walk through a server's address space, from an element downwards.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

namespace Korvex::Tool {

class AddressSpaceWalk {
public:
    using Element = OPC::OpcDaClient::BrowseElement;

    // What becomes of the elements; `leave` comes when everything below the element has come.
    struct Visitor {
        virtual ~Visitor() = default;
        virtual void enter(const Element& element, std::size_t depth) = 0;
        virtual void leave() {}
    };
    struct Watchers {
        std::function<void(std::size_t elements)> found;  // so many so far
        std::function<void(const std::string& element, const std::string& why)> failed;
        std::function<bool()> stopped;
    };

    AddressSpaceWalk(OPC::OpcDaClient::DaServerMgt& server, std::size_t maxDepth, Visitor& visitor, Watchers watchers)
        : server_(server), maxDepth_(maxDepth), visitor_(visitor), watchers_(std::move(watchers)) {}

    // An element that cannot be browsed is told of, and does not end the walk.
    void below(const std::string& itemName);

private:
    bool isAncestor(const std::string& itemName) const;
    std::vector<Element> list(const std::string& itemName);
    void visit(const Element& element);

    OPC::OpcDaClient::DaServerMgt& server_;
    const std::size_t maxDepth_;
    Visitor& visitor_;
    const Watchers watchers_;
    std::vector<std::string> path_;  // the elements that the walk is below
    std::size_t found_ = 0;
};

}  // namespace Korvex::Tool
