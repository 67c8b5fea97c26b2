#include "opc/BranchLister.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "com/ComPtr.h"
#include "com/owners.h"
#include "opc/ApartmentMode.h"
#include "opc/ItemPropertiesInterface.h"
#include "opc/rpc_errors.h"
#include "opc/server_texts.h"
#include "opc/waiting.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::ComPtr;
using Korvex::Com::TaskString;

namespace {

using Names = std::vector<OpxString>;
using Space = IOPCBrowseServerAddressSpace;

constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);
constexpr ULONG kBlock = 256;
constexpr int kDeepest = 1000;  // a server that still lets itself be moved up is at its root and does not say so
constexpr OLECHAR kStep = OLESTR('/');

HRESULT changePosition(Space& space, OPCBROWSEDIRECTION direction, const OpxString& target) {
    return tracedCall("IOPCBrowseServerAddressSpace::ChangeBrowsePosition",
                      [&] { return space.ChangeBrowsePosition(direction, target.c_str()); });
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
    for (std::size_t i = 0; i < names.size() && succeeded(hr); ++i) {
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
HRESULT enumerate(Space& space, OPCBROWSETYPE kind, Names& names) {
    ComPtr<IEnumString> enumerator;
    const OpxString noFilter;
    HRESULT hr = tracedCall("IOPCBrowseServerAddressSpace::BrowseOPCItemIDs", [&] {
        return space.BrowseOPCItemIDs(kind, noFilter.c_str(), VT_EMPTY, 0, enumerator.put());
    });
    if (failed(hr)) return hr;
    if (hr == S_FALSE || !enumerator) return S_OK;
    for (bool done = false; !done && succeeded(hr);) hr = fetchBlock(*enumerator, names, done);
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

// A leaf that is a branch too becomes one element with it.
HRESULT addLeaves(Space& space, Names names, std::vector<ListedElement>& elements) {
    std::unordered_map<OpxString, std::size_t> branches;
    for (std::size_t i = 0; i < elements.size(); ++i) branches.emplace(elements[i].itemName, i);
    for (OpxString& name : names) {
        ListedElement leaf;
        if (const HRESULT hr = describeLeaf(space, std::move(name), leaf); failed(hr)) return hr;
        const auto branch = branches.find(leaf.itemName);
        if (branch == branches.end()) {
            elements.push_back(std::move(leaf));
        } else {
            elements[branch->second].isItem = true;
        }
    }
    return S_OK;
}

}  // namespace

// The use of the position by one thread. A handler that the apartment lets in while the server is called
// cannot have it, for the call would find itself elsewhere.
class BranchLister::Turn {
public:
    explicit Turn(BranchLister& lister) : lister_(lister) {
        if (lister.holder_ == std::this_thread::get_id()) return;
        if (ApartmentMode::isSingleThreaded()) {
            while (!lister.position_.try_lock()) sleepTakingCalls(kWait);
        } else {
            lister.position_.lock();
        }
        lister.holder_ = std::this_thread::get_id();
        taken_ = true;
    }
    ~Turn() {
        if (!taken_) return;
        lister_.holder_ = std::thread::id();
        lister_.position_.unlock();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool taken() const noexcept { return taken_; }

private:
    static constexpr std::chrono::milliseconds kWait{10};

    BranchLister& lister_;
    bool taken_ = false;
};

HRESULT BranchLister::list(Space& space, IOPCItemProperties& properties, const OpxString& itemName,
                           std::vector<ListedElement>& elements) {
    const Turn turn(*this);
    if (!turn.taken()) return E_FAIL;
    HRESULT hr = moveTo(space, properties, itemName);
    if (hr != S_OK) return failed(hr) ? hr : S_OK;

    Names branches;
    Names leaves;
    hr = enumerate(space, OPC_BRANCH, branches);
    if (succeeded(hr)) hr = enumerate(space, OPC_LEAF, leaves);
    if (failed(hr)) return hr;
    elements.reserve(branches.size() + leaves.size());
    for (OpxString& name : branches) {
        hr = describeBranch(space, itemName, std::move(name), elements.emplace_back());
        if (failed(hr)) return hr;
    }
    return addLeaves(space, std::move(leaves), elements);
}

HRESULT BranchLister::listFlat(Space& space, std::vector<ListedElement>& elements) {
    const Turn turn(*this);
    if (!turn.taken()) return E_FAIL;
    Names names;
    const HRESULT hr = enumerate(space, OPC_FLAT, names);
    return failed(hr) ? hr : addLeaves(space, std::move(names), elements);
}

// S_OK: the position is the branch's; S_FALSE: it is an item, with nothing below it.
HRESULT BranchLister::moveTo(Space& space, IOPCItemProperties& properties, const OpxString& itemName) {
    const auto route = routes_.find(itemName);
    if (route == routes_.end() || !route->second.isOnlyWay) {
        const HRESULT hr = changePosition(space, OPC_BROWSE_TO, itemName);
        if (isRpcError(hr)) return hr;
        if (succeeded(hr)) return S_OK;
    }
    if (itemName.empty()) return climbToRoot(space);
    if (route != routes_.end()) {
        const HRESULT hr = moveDown(space, route->second.start, route->second.names);
        if (isRpcError(hr)) return hr;
        if (succeeded(hr)) return S_OK;
    }
    const HRESULT hr = hasItemProperties(properties, itemName);
    if (isRpcError(hr)) return hr;
    return failed(hr) ? kUnknownItemId : S_FALSE;
}

// A branch without an item ID gets its path for one, with which it is found again here.
HRESULT BranchLister::describeBranch(Space& space, const OpxString& parent, OpxString name, ListedElement& branch) {
    if (const HRESULT hr = getItemName(space, name, branch.itemName); failed(hr)) return hr;
    Route route = routeBelow(parent, name);
    if (branch.itemName.empty()) {
        route.isOnlyWay = true;
        branch.itemName = parent.empty() ? name : parent + kStep + name;
    }
    branch.name = std::move(name);
    branch.hasChildren = true;
    routes_[branch.itemName] = std::move(route);
    return S_OK;
}

BranchLister::Route BranchLister::routeBelow(const OpxString& parent, const OpxString& name) const {
    const auto known = routes_.find(parent);
    Route route = known == routes_.end() ? Route{parent, {}, false} : known->second;
    route.isOnlyWay = false;
    route.names.push_back(name);
    return route;
}

}  // namespace OpxOpc
