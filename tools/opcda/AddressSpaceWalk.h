// A walk through a server's address space, from an element downwards.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

#include <korvex/opc_da_client/BrowseElement.h>
#include <korvex/opc_da_client/NullableText.h>

namespace Korvex::Tool {

class AddressSpaceWalk {
public:
    using Element = OPC::OpcDaClient::BrowseElement;

    // Takes the elements; `leave` comes when everything below the element has come.
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

    using NullableText = OPC::OpcDaClient::NullableText;
    // Lists some of what lies below an element, and changes the continuation point to where it goes on.
    using Browse = std::function<std::vector<Element>(const std::string& itemName, NullableText& continuationPoint)>;

    AddressSpaceWalk(Browse browse, std::size_t maxDepth, Visitor& visitor, Watchers watchers)
        : browse_(std::move(browse)), maxDepth_(maxDepth), visitor_(visitor), watchers_(std::move(watchers)) {}

    // An element that cannot be browsed is told of, and does not end the walk.
    void below(const std::string& itemName);

    // Whether an element with children lay too deep for them to be looked at.
    bool reachedDepth() const noexcept { return reachedDepth_; }

private:
    struct Level {
        std::string itemName;  // what its elements lie below
        std::vector<Element> elements;
        std::size_t next = 0;
    };

    bool enter(const std::string& itemName);
    void leave();
    std::vector<Element> list(const std::string& itemName);

    const Browse browse_;
    const std::size_t maxDepth_;
    Visitor& visitor_;
    const Watchers watchers_;
    std::vector<Level> levels_;                  // from where the walk began to where it is
    std::unordered_set<std::string> ancestors_;  // what they lie below
    std::size_t found_ = 0;
    bool reachedDepth_ = false;
};

}  // namespace Korvex::Tool
