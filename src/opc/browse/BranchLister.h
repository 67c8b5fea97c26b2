// Lists the elements below a branch of a data access 2.0 server. Such servers keep one position per connection and
// list the names that they find there.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <thread>
#include <vector>

#include <korvex/text.h>

#include "com/opc_interfaces.h"
#include "opc/apartment/Signal.h"

namespace OpxOpc {

// An element as a server lists it, without its properties.
struct ListedElement {
    OpxString name;
    OpxString itemName;
    bool isItem = false;
    bool hasChildren = false;
};

// Tells of each name whether it is an item's ID; fails where the server cannot be asked.
using ItemTest = std::function<HRESULT(const std::vector<OpxString>& names, std::vector<bool>& areItems)>;

// Lists branches for any number of threads, one after the other, and remembers the ways to those that it
// has listed. E_FAIL for a listing that is asked for inside another one of the same thread, and for one
// without an end.
class BranchLister {
public:
    // A list of more names has no end.
    static constexpr std::size_t kMostNames = 10'000'000;

    explicit BranchLister(std::size_t mostNames = kMostNames) : mostNames_(mostNames) {}

    // The branches, then the leaves below `itemName`, which is "" for the root. An item has nothing below
    // it; OPC_E_UNKNOWNITEMID when it is no item either. Servers may list what is an item and a branch
    // among the branches alone: `itemTest`, which may be empty, tells. On failure `elements` may hold
    // anything.
    HRESULT list(IOPCBrowseServerAddressSpace& space, IOPCItemProperties& properties, const OpxString& itemName,
                 const ItemTest& itemTest, std::vector<ListedElement>& elements);

    // The items of a server that has no branches.
    HRESULT listFlat(IOPCBrowseServerAddressSpace& space, std::vector<ListedElement>& elements);

private:
    // The way to a branch for where the server does not find it by its item ID.
    struct Route {
        OpxString start;               // the item ID of a branch that the server does find, "" for the root
        std::vector<OpxString> names;  // of the branches from there
        bool isOnlyWay = false;        // the branch has no item ID of its own
    };
    class Turn;
    class Naming;

    HRESULT moveTo(IOPCBrowseServerAddressSpace& space, IOPCItemProperties& properties, const OpxString& itemName);
    Route routeTo(const OpxString& itemName) const;
    bool leadsElsewhere(const OpxString& key, const Route& route) const;

    const std::size_t mostNames_;
    // Who has the position, from moving to a branch until all that is there is known.
    std::thread::id holder_ GUARDED_BY(positionFreed_);
    Signal positionFreed_;
    std::map<OpxString, Route> routes_;
};

}  // namespace OpxOpc
