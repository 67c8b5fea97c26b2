// The address space: items by their identifiers, and the tree that the dots in them make.
#pragma once

#include <map>
#include <memory>

#include "com/Mutex.h"
#include "sim/plant/PlantItem.h"

namespace Korvex::Simulation {

// One name below a branch.
struct Element {
    OpxString name;
    OpxString path;  // from the root, with dots
    bool hasChildren = false;
    std::shared_ptr<PlantItem> item;  // none for a mere branch
};

class Plant {
public:
    Plant();

    // S_OK, OPC_E_UNKNOWNITEMID, or OPC_E_INVALIDITEMID for what cannot be an identifier.
    HRESULT find(OpxStringView id, std::shared_ptr<PlantItem>& item) const;

    // True for the root, which is "", and for every path that has something below.
    bool isBranch(OpxStringView path) const;
    bool exists(OpxStringView path) const;
    // Returns the children of a branch, in the order of the identifiers.
    std::vector<Element> children(OpxStringView branch) const;
    // All items below a branch.
    std::vector<std::shared_ptr<PlantItem>> itemsBelow(OpxStringView branch) const;

    // Makes the items "Load.0" to "Load.<count-1>" and no others under that branch.
    void setLoad(std::size_t count);

    // Every item as it was in the beginning.
    void reset();

private:
    using Items = std::map<OpxString, std::shared_ptr<PlantItem>, std::less<>>;

    void add(ItemDefinition definition) REQUIRES(mutex_);

    mutable Mutex mutex_;
    Items items_ GUARDED_BY(mutex_);
};

}  // namespace Korvex::Simulation
