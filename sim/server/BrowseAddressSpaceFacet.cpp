#include "sim/server/BrowseAddressSpaceFacet.h"

#include "sim/Simulation.h"
#include "sim/com/Enumerator.h"
#include "sim/plant/NamePattern.h"

namespace Korvex::Simulation {
namespace {

bool isFlat() {
    return simulation().options.get().organization == OPC_NS_FLAT;
}

OpxString below(const OpxString& branch, OpxStringView name) {
    return branch.empty() ? OpxString(name) : branch + OLESTR(".") + OpxString(name);
}

struct ItemFilter {
    VARTYPE dataType;
    DWORD accessRights;

    bool passes(const PlantItem& item) const {
        return (dataType == VT_EMPTY || item.canonicalType() == dataType) &&
               (accessRights == 0 || (item.accessRights() & accessRights) != 0);
    }
};

std::vector<OpxString> namesBelow(const OpxString& branch, OPCBROWSETYPE browseType, const ItemFilter& filter) {
    std::vector<OpxString> names;
    if (browseType == OPC_FLAT) {
        for (const auto& item : simulation().plant.itemsBelow(branch))
            if (filter.passes(*item)) names.push_back(item->id());
        return names;
    }
    for (const Element& element : simulation().plant.children(branch)) {
        const bool wanted =
            browseType == OPC_BRANCH ? element.hasChildren : element.item && filter.passes(*element.item);
        if (wanted) names.push_back(element.name);
    }
    return names;
}

HRESULT giveNames(std::vector<OpxString> names, LPENUMSTRING* enumerator) {
    const bool none = names.empty();
    *enumerator = makeObject<StringEnumerator>(std::move(names)).detach();
    return none ? S_FALSE : S_OK;
}

}  // namespace

HRESULT BrowseAddressSpaceFacet::QueryOrganization(OPCNAMESPACETYPE* organization) {
    return serve("IOPCBrowseServerAddressSpace::QueryOrganization", note(), outputs(out(organization)),
                 [&]() -> HRESULT {
                     *organization = simulation().options.get().organization;
                     return S_OK;
                 });
}

HRESULT BrowseAddressSpaceFacet::ChangeBrowsePosition(OPCBROWSEDIRECTION direction, LPCWSTR target) {
    return serve("IOPCBrowseServerAddressSpace::ChangeBrowsePosition", note("direction", direction, "target", target),
                 outputs(), [&]() -> HRESULT {
                     if (isFlat()) return E_FAIL;
                     const OpxString current = position();
                     switch (direction) {
                         case OPC_BROWSE_TO:
                             return moveTo(OpxString(viewOf(target)));
                         case OPC_BROWSE_DOWN:
                             return viewOf(target).empty() ? E_INVALIDARG : moveTo(below(current, target));
                         case OPC_BROWSE_UP: {
                             if (current.empty()) return E_FAIL;
                             const std::size_t dot = current.rfind('.');
                             return moveTo(dot == OpxString::npos ? OpxString() : current.substr(0, dot));
                         }
                     }
                     return E_INVALIDARG;
                 });
}

HRESULT BrowseAddressSpaceFacet::BrowseOPCItemIDs(OPCBROWSETYPE browseType, LPCWSTR pattern, VARTYPE dataType,
                                                  DWORD accessRights, LPENUMSTRING* names) {
    return serve("IOPCBrowseServerAddressSpace::BrowseOPCItemIDs",
                 note("type", browseType, "filter", pattern, "datatype", dataType, "rights", accessRights),
                 outputs(out(names)), [&]() -> HRESULT {
                     if (browseType < OPC_BRANCH || browseType > OPC_FLAT) return E_INVALIDARG;
                     if (isFlat() && browseType == OPC_BRANCH) return giveNames({}, names);
                     auto found = namesBelow(position(), isFlat() ? OPC_FLAT : browseType, {dataType, accessRights});
                     std::erase_if(found, [&](const auto& name) { return !matchesPattern(name, viewOf(pattern)); });
                     return giveNames(std::move(found), names);
                 });
}

HRESULT BrowseAddressSpaceFacet::GetItemID(LPWSTR name, LPWSTR* itemId) {
    return serve("IOPCBrowseServerAddressSpace::GetItemID", note("name", name), outputs(out(itemId)), [&]() -> HRESULT {
        const OpxString full(viewOf(name));
        const OpxString relative = full.empty() ? position() : below(position(), full);
        const bool known = simulation().plant.exists(relative);
        if (!known && !simulation().plant.exists(full)) return E_INVALIDARG;
        *itemId = giveText(known ? relative : full);
        return S_OK;
    });
}

HRESULT BrowseAddressSpaceFacet::BrowseAccessPaths(LPCWSTR itemId, LPENUMSTRING* paths) {
    return serve("IOPCBrowseServerAddressSpace::BrowseAccessPaths", note("item", itemId), outputs(out(paths)),
                 [&]() -> HRESULT {
                     std::shared_ptr<PlantItem> item;
                     const HRESULT found = simulation().plant.find(viewOf(itemId), item);
                     return failed(found) ? found : giveNames({}, paths);
                 });
}

OpxString BrowseAddressSpaceFacet::position() const {
    const ScopedLock lock(mutex_);
    return position_;
}

HRESULT BrowseAddressSpaceFacet::moveTo(OpxString path) {
    if (!simulation().plant.isBranch(path)) return E_INVALIDARG;
    const ScopedLock lock(mutex_);
    position_ = std::move(path);
    return S_OK;
}

}  // namespace Korvex::Simulation
