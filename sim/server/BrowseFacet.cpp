#include "sim/server/BrowseFacet.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "sim/Simulation.h"
#include "sim/plant/NamePattern.h"
#include "sim/plant/item_properties.h"

namespace Korvex::Simulation {
namespace {

// Which properties a client wants to have.
struct PropertyRequest {
    std::vector<DWORD> ids;  // empty for all
    bool values;
    bool any;

    static PropertyRequest of(bool all, bool values, DWORD count, const DWORD* ids) {
        PropertyRequest request{{}, values, all || count > 0};
        if (!all && ids) request.ids.assign(ids, ids + count);
        return request;
    }
};

HRESULT describe(PlantItem& item, DWORD id, bool withValue, OPCITEMPROPERTY& property) {
    property.dwPropertyID = id;
    const auto known = propertiesOf(item);
    const auto found = std::find_if(known.begin(), known.end(), [&](const auto& each) { return each.id == id; });
    if (found == known.end()) return OPC_E_INVALID_PID;
    property.vtDataType = found->type;
    property.szDescription = giveText(found->description);
    OpxString itemId;
    if (succeeded(propertyItemId(item, id, itemId))) property.szItemID = giveText(itemId);
    if (!withValue) return S_OK;
    Value value;
    const HRESULT result = propertyValue(item, id, value);
    property.vValue = value.detach();
    return result;
}

// S_FALSE if a property could not be had.
HRESULT describeItem(PlantItem& item, const PropertyRequest& request, OPCITEMPROPERTIES& described) {
    std::vector<DWORD> ids = request.ids;
    if (ids.empty())
        for (const ItemProperty& each : propertiesOf(item)) ids.push_back(each.id);
    Results<OPCITEMPROPERTY> properties(ids.size());
    HRESULT overall = S_OK;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        properties[i].hrErrorID = describe(item, ids[i], request.values, properties[i]);
        if (failed(properties[i].hrErrorID)) overall = S_FALSE;
    }
    described.hrErrorID = overall;
    described.dwNumProperties = static_cast<DWORD>(ids.size());
    properties.give(&described.pItemProperties);
    return overall;
}

HRESULT describeElement(const Element& found, const PropertyRequest& request, OPCBROWSEELEMENT& element) {
    element.szName = giveText(found.name);
    element.szItemID = giveText(found.path);
    element.dwFlagValue = (found.hasChildren ? OPC_BROWSE_HASCHILDREN : 0) | (found.item ? OPC_BROWSE_ISITEM : 0);
    if (!found.item || !request.any) return S_OK;
    return describeItem(*found.item, request, element.ItemProperties);
}

std::vector<Element> elementsBelow(OpxStringView branch) {
    if (simulation().options.get().organization == OPC_NS_HIERARCHIAL) return simulation().plant.children(branch);
    std::vector<Element> elements;
    for (const auto& item : simulation().plant.itemsBelow(branch))
        elements.push_back({item->id(), item->id(), false, item});
    return elements;
}

bool passes(const Element& element, OPCBROWSEFILTER filter, OpxStringView pattern) {
    if (filter == OPC_BROWSE_FILTER_BRANCHES && !element.hasChildren) return false;
    if (filter == OPC_BROWSE_FILTER_ITEMS && !element.item) return false;
    return matchesPattern(element.name, pattern);
}

// Returns the children of a branch; an item without branch has none.
HRESULT findElements(OpxStringView branch, OPCBROWSEFILTER filter, OpxStringView pattern, std::vector<Element>& found) {
    std::shared_ptr<PlantItem> item;
    if (!simulation().plant.isBranch(branch)) return simulation().plant.find(branch, item);
    found = elementsBelow(branch);
    std::erase_if(found, [&](const Element& each) { return !passes(each, filter, pattern); });
    return S_OK;
}

// A continuation point says where a browse goes on and that it is the same browse: "12@Branch".
OpxString continuationPoint(std::size_t position, OpxStringView branch) {
    return fromUtf8(std::to_string(position)) + OLESTR("@") + OpxString(branch);
}

// The position in a continuation point; false if it is none of this branch.
bool readContinuationPoint(LPCWSTR point, OpxStringView branch, std::size_t elementCount, std::size_t& position) {
    position = 0;
    if (viewOf(point).empty()) return true;
    const std::string text = toUtf8(viewOf(point));
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), position);
    return error == std::errc() && position <= elementCount && continuationPoint(position, branch) == viewOf(point);
}

std::size_t elementsPerCall(DWORD maximum, std::size_t left) {
    const DWORD limit = simulation().options.get().browseLimit;
    if (maximum > 0) left = std::min<std::size_t>(left, maximum);
    return limit > 0 ? std::min<std::size_t>(left, limit) : left;
}

}  // namespace

// A browse that goes on is answered from what it began with, so that a page costs no more for coming late.
HRESULT BrowseFacet::elementsFor(const Question& question, bool goesOn, Answer& answer) {
    const ScopedLock lock(mutex_);
    if (!goesOn || !lastAnswer_ || lastQuestion_ != question) {
        std::vector<Element> found;
        const HRESULT result = findElements(question.branch, question.filter, question.pattern, found);
        if (failed(result)) return result;
        lastQuestion_ = question;
        lastAnswer_ = std::make_shared<const std::vector<Element>>(std::move(found));
    }
    answer = lastAnswer_;
    return S_OK;
}

void BrowseFacet::forgetAnswer() {
    const ScopedLock lock(mutex_);
    lastAnswer_.reset();
}

HRESULT BrowseFacet::GetProperties(DWORD itemCount, LPWSTR* itemIds, BOOL withValues, DWORD propertyCount,
                                   DWORD* propertyIds, OPCITEMPROPERTIES** properties) {
    return serve("IOPCBrowse::GetProperties",
                 note("items", itemCount, "values", withValues, "properties", propertyCount),
                 outputs(array(properties, itemCount)), [&]() -> HRESULT {
                     if (itemCount == 0 || !itemIds || (propertyCount > 0 && !propertyIds)) return E_INVALIDARG;
                     const auto request =
                         PropertyRequest::of(propertyCount == 0, withValues != FALSE, propertyCount, propertyIds);
                     Results<OPCITEMPROPERTIES> described(itemCount);
                     HRESULT overall = S_OK;
                     for (DWORD i = 0; i < itemCount; ++i) {
                         std::shared_ptr<PlantItem> item;
                         const HRESULT found = simulation().plant.find(viewOf(itemIds[i]), item);
                         if (failed(found)) described[i].hrErrorID = found;
                         if (failed(found) || describeItem(*item, request, described[i]) != S_OK) overall = S_FALSE;
                     }
                     described.give(properties);
                     return overall;
                 });
}

HRESULT BrowseFacet::Browse(LPWSTR itemId, LPWSTR* point, DWORD maximum, OPCBROWSEFILTER filter, LPWSTR namePattern,
                            LPWSTR vendorFilter, BOOL allProperties, BOOL withValues, DWORD propertyCount,
                            DWORD* propertyIds, BOOL* moreElements, DWORD* count, OPCBROWSEELEMENT** elements) {
    return serve("IOPCBrowse::Browse",
                 note("item", itemId, "continuation", point ? LPCWSTR(*point) : nullptr, "max", maximum, "filter",
                      filter, "name", namePattern, "vendor", vendorFilter),
                 outputs(out(moreElements), out(count), array(elements, count)), [&]() -> HRESULT {
                     if (!point || filter < OPC_BROWSE_FILTER_ALL || filter > OPC_BROWSE_FILTER_ITEMS)
                         return E_INVALIDARG;
                     if (propertyCount > 0 && !propertyIds) return E_INVALIDARG;
                     const OpxStringView branch = viewOf(itemId);
                     const Question question{OpxString(branch), filter, OpxString(viewOf(namePattern))};
                     Answer answer;
                     if (const HRESULT result = elementsFor(question, !viewOf(*point).empty(), answer); failed(result))
                         return result;
                     const std::vector<Element>& found = *answer;
                     std::size_t position = 0;
                     if (!readContinuationPoint(*point, branch, found.size(), position))
                         return OPC_E_INVALIDCONTINUATIONPOINT;

                     const std::size_t given = elementsPerCall(maximum, found.size() - position);
                     const auto request =
                         PropertyRequest::of(allProperties != FALSE, withValues != FALSE, propertyCount, propertyIds);
                     Results<OPCBROWSEELEMENT> described(given);
                     HRESULT overall = S_OK;
                     for (std::size_t i = 0; i < given; ++i)
                         if (describeElement(found[position + i], request, described[i]) != S_OK) overall = S_FALSE;
                     const bool finished = position + given == found.size();
                     if (finished) forgetAnswer();
                     const LPWSTR next = giveText(finished ? OpxString() : continuationPoint(position + given, branch));
                     CoTaskMemFree(std::exchange(*point, next));
                     *count = static_cast<DWORD>(given);
                     described.give(elements);
                     return overall;
                 });
}

}  // namespace Korvex::Simulation
