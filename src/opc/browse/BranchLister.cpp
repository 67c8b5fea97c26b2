#include "opc/browse/BranchLister.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>

#include "com/ComPtr.h"
#include "com/owners.h"
#include "com/result_codes.h"
#include "opc/browse/ItemPropertiesInterface.h"
#include "opc/rpc_errors.h"
#include "opc/server_texts.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::ComPtr;
using Korvex::Com::TaskString;

namespace {

using Names = std::vector<OpxString>;
using Space = IOPCBrowseServerAddressSpace;

constexpr ULONG kBlock = 256;
constexpr int kDeepest = 1000;  // a server that still lets itself be moved up is at its root and does not say so
constexpr OLECHAR kStep = OLESTR('/');
constexpr OLECHAR kNumber = OLESTR('~');

HRESULT changePosition(Space& space, OPCBROWSEDIRECTION direction, const OpxString& target) {
    return tracedCall("IOPCBrowseServerAddressSpace::ChangeBrowsePosition",
                      [&] { return space.ChangeBrowsePosition(direction, target.c_str()); });
}

// Some servers answer S_FALSE for a branch that there is not, and stay where they are.
bool isMove(HRESULT hr) {
    return succeeded(hr) && hr != S_FALSE;
}

HRESULT climbToRoot(Space& space) {
    for (int i = 0; i < kDeepest; ++i) {
        const HRESULT hr = changePosition(space, OPC_BROWSE_UP, OpxString());
        if (isRpcError(hr)) return hr;
        if (hr != S_OK) return S_OK;
    }
    return S_OK;
}

HRESULT moveDown(Space& space, const OpxString& start, const Names& names) {
    HRESULT hr = start.empty() ? climbToRoot(space) : changePosition(space, OPC_BROWSE_TO, start);
    for (std::size_t i = 0; i < names.size() && isMove(hr); ++i) {
        hr = changePosition(space, OPC_BROWSE_DOWN, names[i]);
    }
    return hr;
}

// One block of names; `done` when there are no more.
HRESULT fetchBlock(IEnumString& enumerator, Names& names, bool& done) {
    LPOLESTR block[kBlock] = {};
    ULONG fetched = 0;
    const HRESULT hr = tracedCall("IEnumString::Next", [&] { return enumerator.Next(kBlock, block, &fetched); });
    done = hr != S_OK || fetched == 0;
    for (LPOLESTR text : block) {
        const TaskString name(text);
        if (text && fetched > 0 && succeeded(hr)) names.emplace_back(text);
    }
    return hr;
}

// The names of one kind at the position.
HRESULT enumerate(Space& space, OPCBROWSETYPE kind, std::size_t most, Names& names) {
    ComPtr<IEnumString> enumerator;
    const OpxString noFilter;
    HRESULT hr = tracedCall("IOPCBrowseServerAddressSpace::BrowseOPCItemIDs", [&] {
        return space.BrowseOPCItemIDs(kind, noFilter.c_str(), VT_EMPTY, 0, enumerator.put());
    });
    if (failed(hr)) return hr;
    if (hr == S_FALSE || !enumerator) return S_OK;
    std::size_t emptyBlocks = 0;
    for (bool done = false; !done && succeeded(hr);) {
        const std::size_t before = names.size();
        hr = fetchBlock(*enumerator, names, done);
        if (names.size() == before) ++emptyBlocks;
        if (names.size() + emptyBlocks > most) {
            LibT::lError("Error: DaServerMgtPrivate::browse - the server's list of names has no end");
            return E_FAIL;
        }
    }
    return failed(hr) ? hr : S_OK;
}

// The item ID of a name at the position; empty when there is none. Fails where the server cannot be asked.
HRESULT getItemName(Space& space, const OpxString& name, OpxString& itemName) {
    LPWSTR text = nullptr;
    const HRESULT hr =
        tracedCall("IOPCBrowseServerAddressSpace::GetItemID", [&] { return space.GetItemID(writable(name), &text); });
    const TaskString answered(text);
    if (isRpcError(hr)) return hr;
    itemName = failed(hr) ? OpxString() : textOf(answered.get());
    return S_OK;
}

HRESULT describeLeaf(Space& space, OpxString name, ListedElement& leaf) {
    if (const HRESULT hr = getItemName(space, name, leaf.itemName); failed(hr)) return hr;
    if (leaf.itemName.empty()) leaf.itemName = name;
    leaf.name = std::move(name);
    leaf.isItem = true;
    return S_OK;
}

HRESULT describeAll(Space& space, Names names, HRESULT (*describe)(Space&, OpxString, ListedElement&),
                    std::vector<ListedElement>& elements) {
    elements.reserve(names.size());
    for (OpxString& name : names) {
        const HRESULT hr = describe(space, std::move(name), elements.emplace_back());
        if (failed(hr)) return hr;
    }
    return S_OK;
}

HRESULT describeBranch(Space& space, OpxString name, ListedElement& branch) {
    const HRESULT hr = getItemName(space, name, branch.itemName);
    branch.name = std::move(name);
    branch.hasChildren = true;
    return hr;
}

// A leaf that is a branch too becomes one element with it.
void addLeaves(std::vector<ListedElement> leaves, std::vector<ListedElement>& elements) {
    std::unordered_map<OpxString, std::size_t> branches;
    for (std::size_t i = 0; i < elements.size(); ++i) branches.emplace(elements[i].itemName, i);
    elements.reserve(elements.size() + leaves.size());
    for (ListedElement& leaf : leaves) {
        const auto branch = branches.find(leaf.itemName);
        if (branch == branches.end()) {
            elements.push_back(std::move(leaf));
        } else {
            elements[branch->second].isItem = true;
        }
    }
}

}  // namespace

// The use of the position by one thread. A handler that the apartment lets in while the server is called
// cannot have it, for the call would find itself elsewhere.
class BranchLister::Turn {
public:
    explicit Turn(BranchLister& lister) : lister_(lister) {
        const auto self = std::this_thread::get_id();
        if (lister.positionFreed_.look([&]() REQUIRES(lister.positionFreed_) { return lister.holder_ == self; }))
            return;
        lister.positionFreed_.wait([&]() REQUIRES(lister.positionFreed_) {
            if (lister.holder_ != std::thread::id()) return false;
            lister.holder_ = self;
            return true;
        });
        taken_ = true;
    }
    ~Turn() {
        if (taken_) lister_.positionFreed_.change([this]() REQUIRES(lister_.positionFreed_) { lister_.holder_ = {}; });
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool taken() const noexcept { return taken_; }

private:
    BranchLister& lister_;
    bool taken_ = false;
};

// Settles the names that the branches of one listing go by: the item IDs that the server has for them, or
// names of ours where it has none, or one that is another branch's.
class BranchLister::Naming {
public:
    Naming(BranchLister& lister, const OpxString& parent, std::vector<ListedElement>& branches,
           const std::vector<ListedElement>& leaves)
        : lister_(lister),
          parent_(parent),
          routeToParent_(lister.routeTo(parent)),
          branches_(branches),
          leaves_(leaves) {
        for (const ListedElement& branch : branches_) {
            const auto [first, isFirst] = owners_.emplace(branch.itemName, &branch.name);
            if (!isFirst && first->second && *first->second != branch.name) first->second = nullptr;
        }
    }

    HRESULT settle(const ItemTest& itemTest) {
        std::vector<ListedElement*> withoutId;
        for (ListedElement& branch : branches_) {
            if (!keepId(branch)) withoutId.push_back(&branch);
        }
        if (!withoutId.empty()) noteLeaves();
        std::vector<Alias> aliases;
        for (ListedElement* branch : withoutId) {
            if (isAlias(*branch)) aliases.push_back({branch, branch->itemName});
            takeName(*branch, 1);
        }

        std::vector<bool> areItems;
        if (const HRESULT hr = test(itemTest, aliases, areItems); failed(hr)) return hr;
        for (std::size_t i = 0; i < branches_.size(); ++i) branches_[i].isItem = areItems[i];
        for (ListedElement* branch : withoutId) giveUpItemsName(*branch);
        for (std::size_t i = 0; i < aliases.size(); ++i) {
            if (areItems[branches_.size() + i] || leafNames_.contains(aliases[i].id)) goByItemsId(aliases[i]);
        }
        return S_OK;
    }

private:
    // A branch with the ID of one that is known from elsewhere.
    struct Alias {
        ListedElement* branch;
        OpxString id;
    };

    Route routeTo(const OpxString& name, bool isOnlyWay) const {
        Route route = routeToParent_;
        route.names.push_back(name);
        route.isOnlyWay = isOnlyWay;
        return route;
    }

    void noteLeaves() {
        for (const ListedElement& leaf : leaves_) leafNames_.emplace(leaf.itemName, &leaf.name);
    }

    bool hasOwnId(const ListedElement& branch) const {
        return !branch.itemName.empty() && owners_.at(branch.itemName) != nullptr;
    }

    bool keepId(const ListedElement& branch) {
        const OpxString& id = branch.itemName;
        if (!hasOwnId(branch) || id == routeToParent_.start) return false;
        Route route = routeTo(branch.name, false);
        if (lister_.leadsElsewhere(id, route)) return false;
        lister_.routes_.try_emplace(id, std::move(route));
        return true;
    }

    // Some servers tell the browsed branch's ID as that of every branch below.
    bool isAlias(const ListedElement& branch) const {
        const OpxString& id = branch.itemName;
        if (!hasOwnId(branch) || id == parent_) return false;
        const auto known = lister_.routes_.find(id);
        return id == routeToParent_.start || (known != lister_.routes_.end() && !known->second.isOnlyWay);
    }

    // The server takes an item's ID for the same wherever it lists it. What lies below is listed from the
    // place that is known.
    void goByItemsId(Alias& alias) {
        lister_.routes_.erase(alias.branch->itemName);
        alias.branch->itemName = std::move(alias.id);
        alias.branch->isItem = true;
    }

    // The path, with a number from the second attempt on.
    void takeName(ListedElement& branch, int attempt) {
        Route route = routeTo(branch.name, true);
        const OpxString path = parent_.empty() ? branch.name : parent_ + kStep + branch.name;
        do {
            branch.itemName = attempt == 1 ? path : path + kNumber + fromUtf8(std::to_string(attempt));
            ++attempt;
        } while (isTaken(branch, route));
        lister_.routes_.try_emplace(branch.itemName, std::move(route));
    }

    bool isTaken(const ListedElement& branch, const Route& route) const {
        const OpxString& name = branch.itemName;
        return name.empty() || name == route.start || owners_.contains(name) || isOtherLeafs(name, branch.name) ||
               lister_.leadsElsewhere(name, route);
    }

    bool isOtherLeafs(const OpxString& id, const OpxString& branchName) const {
        const auto leaf = leafNames_.find(id);
        return leaf != leafNames_.end() && *leaf->second != branchName;
    }

    // The server knows another element by the name, unless it is the branch's own leaf.
    void giveUpItemsName(ListedElement& branch) {
        if (!std::exchange(branch.isItem, false) || leafNames_.contains(branch.itemName)) return;
        lister_.routes_.erase(branch.itemName);
        takeName(branch, 2);
    }

    // Of the branches' names, then of the aliases' IDs. A server that does not say has no items among them.
    HRESULT test(const ItemTest& itemTest, const std::vector<Alias>& aliases, std::vector<bool>& areItems) const {
        Names names;
        for (const ListedElement& branch : branches_) names.push_back(branch.itemName);
        for (const Alias& alias : aliases) names.push_back(alias.id);
        areItems.assign(names.size(), false);
        if (!itemTest || names.empty()) return S_OK;
        const HRESULT hr = itemTest(names, areItems);
        if (failed(hr)) areItems.assign(names.size(), false);
        return isRpcError(hr) ? hr : S_OK;
    }

    BranchLister& lister_;
    const OpxString& parent_;
    const Route routeToParent_;
    std::vector<ListedElement>& branches_;
    const std::vector<ListedElement>& leaves_;
    std::unordered_map<OpxString, const OpxString*> owners_;     // of the IDs; null for one that several share
    std::unordered_map<OpxString, const OpxString*> leafNames_;  // by the items' IDs
};

HRESULT BranchLister::list(Space& space, IOPCItemProperties& properties, const OpxString& itemName,
                           const ItemTest& itemTest, std::vector<ListedElement>& elements) {
    const Turn turn(*this);
    if (!turn.taken()) return E_FAIL;
    HRESULT hr = moveTo(space, properties, itemName);
    if (hr != S_OK) return failed(hr) ? hr : S_OK;

    Names branchNames;
    Names leafNames;
    hr = enumerate(space, OPC_BRANCH, mostNames_, branchNames);
    if (succeeded(hr)) hr = enumerate(space, OPC_LEAF, mostNames_, leafNames);
    std::vector<ListedElement> leaves;
    if (succeeded(hr)) hr = describeAll(space, std::move(branchNames), &describeBranch, elements);
    if (succeeded(hr)) hr = describeAll(space, std::move(leafNames), &describeLeaf, leaves);
    if (succeeded(hr)) hr = Naming(*this, itemName, elements, leaves).settle(itemTest);
    if (failed(hr)) return hr;
    addLeaves(std::move(leaves), elements);
    return S_OK;
}

// The names of a flat server are the IDs of its items.
HRESULT BranchLister::listFlat(Space& space, std::vector<ListedElement>& elements) {
    const Turn turn(*this);
    if (!turn.taken()) return E_FAIL;
    Names names;
    const HRESULT hr = enumerate(space, OPC_FLAT, mostNames_, names);
    if (failed(hr)) return hr;
    elements.reserve(names.size());
    for (const OpxString& name : names) elements.push_back({name, name, true, false});
    return S_OK;
}

// S_OK: the position is the branch's; S_FALSE: it is an item, with nothing below it.
HRESULT BranchLister::moveTo(Space& space, IOPCItemProperties& properties, const OpxString& itemName) {
    const auto known = routes_.find(itemName);
    if (known == routes_.end() || !known->second.isOnlyWay) {
        const HRESULT hr = changePosition(space, OPC_BROWSE_TO, itemName);
        if (isRpcError(hr)) return hr;
        if (isMove(hr)) return S_OK;
    }
    if (itemName.empty()) return climbToRoot(space);
    if (known != routes_.end()) {
        const Route route = routeTo(itemName);
        const HRESULT hr = moveDown(space, route.start, route.names);
        if (isRpcError(hr)) return hr;
        if (isMove(hr)) return S_OK;
    }
    const HRESULT hr = hasItemProperties(properties, itemName);
    if (isRpcError(hr)) return hr;
    return failed(hr) ? OPC_E_UNKNOWNITEMID : S_FALSE;
}

// From as far up as is known.
BranchLister::Route BranchLister::routeTo(const OpxString& itemName) const {
    Route route{itemName, {}, false};
    for (auto known = routes_.find(itemName); known != routes_.end(); known = routes_.find(route.start)) {
        const Names& names = known->second.names;
        route.names.insert(route.names.begin(), names.begin(), names.end());
        route.start = known->second.start;
    }
    return route;
}

// Whether the name is known as another branch's. Routes from different places may lead to the same branch:
// there the server's word is taken, which has one ID a branch, but not ours.
bool BranchLister::leadsElsewhere(const OpxString& key, const Route& route) const {
    const auto known = routes_.find(key);
    if (known == routes_.end()) return false;
    if (known->second.isOnlyWay != route.isOnlyWay) return true;
    const Route other = routeTo(key);
    if (other.start != route.start) return route.isOnlyWay;
    return other.names != route.names;
}

}  // namespace OpxOpc
