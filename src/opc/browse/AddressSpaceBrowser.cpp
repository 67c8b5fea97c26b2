#include "opc/browse/AddressSpaceBrowser.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "com/result_codes.h"
#include "opc/browse/ItemPropertiesInterface.h"
#include "opc/group/DaGroupMgt.h"
#include "opc/rpc_errors.h"

namespace OpxOpc {
namespace {

bool passes(const ListedElement& element, BrowseFilter filter) {
    switch (filter) {
        case BrowseFilter::Branch:
            return element.hasChildren;
        case BrowseFilter::Item:
            return element.isItem;
        case BrowseFilter::All:
            break;
    }
    return true;
}

std::size_t pageSize(const BrowseRest& rest, std::uint32_t maxElements) {
    return maxElements == 0 ? rest.left() : std::min<std::size_t>(rest.left(), maxElements);
}

// S_FALSE when a property failed, or the item itself.
HRESULT describe(const ListedElement& listed, IOPCItemProperties& server, const PropertyRequest& request,
                 OpxBrowseElement& element) {
    element.name = listed.name;
    element.itemName = listed.itemName;
    element.isItem = listed.isItem;
    element.hasChildren = listed.hasChildren;
    if (!listed.isItem || !request.wantsAny()) return S_OK;
    OpxItemProperties found;
    const HRESULT hr = queryItemProperties(server, listed.itemName, request, found);
    element.properties = std::move(found.properties);
    element.propertyCount = static_cast<std::int32_t>(element.properties.size());
    return hr;
}

HRESULT describePage(const BrowseRest& rest, const BrowseRequest& request, IOPCItemProperties& server,
                     std::vector<OpxBrowseElement>& elements) {
    HRESULT result = S_OK;
    elements.resize(pageSize(rest, request.maxElements));
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const HRESULT hr = describe(rest.elements[rest.next + i], server, request.properties, elements[i]);
        if (failed(hr)) return hr;
        if (hr != S_OK) result = S_FALSE;
    }
    return result;
}

// A flat server has nothing below its items.
HRESULT listBelowFlatItem(IOPCItemProperties& properties, const OpxString& itemName) {
    const HRESULT hr = hasItemProperties(properties, itemName);
    return failed(hr) && !isRpcError(hr) ? OPC_E_UNKNOWNITEMID : hr;
}

ItemTest itemTestOf(DaGroupMgt* group) {
    if (!group) return {};
    return [group](const std::vector<OpxString>& names, std::vector<bool>& areItems) {
        return group->findItems(names, areItems);
    };
}

}  // namespace

HRESULT AddressSpaceBrowser::browse(const Server& server, const BrowseRequest& request, OpxString& continuationPoint,
                                    std::vector<OpxBrowseElement>& elements, bool& moreElements) {
    const OpxString token = continuationPoint;
    std::optional<BrowseRest> rest;
    if (token.empty()) {
        rest.emplace();
        const HRESULT hr = listAll(server, request, *rest);
        if (failed(hr)) return hr;
    } else {
        rest = pages_.take(token, request.itemName, request.filter);
        if (!rest) return OPC_E_INVALIDCONTINUATIONPOINT;
    }

    const HRESULT hr = describePage(*rest, request, server.properties, elements);
    if (failed(hr)) {
        if (!token.empty()) pages_.giveBack(token, std::move(*rest));
        return hr;
    }
    rest->next += elements.size();
    moreElements = rest->left() > 0;
    continuationPoint = moreElements ? pages_.keep(std::move(*rest)) : OpxString();
    return hr;
}

HRESULT AddressSpaceBrowser::listAll(const Server& server, const BrowseRequest& request, BrowseRest& all) {
    all.itemName = request.itemName;
    all.filter = request.filter;
    HRESULT hr = S_OK;
    if (!server.isFlat) {
        hr = lister_.list(server.space, server.properties, request.itemName, itemTestOf(request.group), all.elements);
    } else if (!request.itemName.empty()) {
        hr = listBelowFlatItem(server.properties, request.itemName);
    } else if (request.filter != BrowseFilter::Branch) {
        hr = lister_.listFlat(server.space, all.elements);
    }
    std::erase_if(all.elements, [&](const ListedElement& element) { return !passes(element, request.filter); });
    return hr;
}

}  // namespace OpxOpc
