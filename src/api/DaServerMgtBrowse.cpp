// Browsing and item properties.
#include <utility>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "api/ArgumentChecks.h"
#include "api/DaServerMgtPrivate.h"
#include "api/HandleHResult.h"
#include "api/ItemConversion.h"
#include "api/PropertyConversion.h"
#include "trace/InterfaceScope.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;

namespace {

OpxOpc::BrowseFilter nativeFilter(BrowseFilter filter) {
    switch (filter) {
        case BrowseFilter::BRANCH:
            return OpxOpc::BrowseFilter::Branch;
        case BrowseFilter::ITEM:
            return OpxOpc::BrowseFilter::Item;
        case BrowseFilter::ALL:
            break;
    }
    return OpxOpc::BrowseFilter::All;
}

std::vector<std::uint32_t> nativeIds(const NullableArray<std::int32_t>& propertyIDs) {
    if (propertyIDs.isNull()) return {};
    return {propertyIDs.value().begin(), propertyIDs.value().end()};
}

// The sentence stands where the parameter's name belongs.
void checkPropertyIds(const NullableArray<std::int32_t>& propertyIDs) {
    if (propertyIDs.isNull()) {
        throw ArgumentNullException("Value must not be null.",
                                    "propertyIDs must not be null, if returnAllProperties is false");
    }
    if (propertyIDs.size() == 0) {
        throw ArgumentException("propertyIDs must not be empty, if returnAllProperties is false", nullptr);
    }
}

BrowseElement copyElement(const OpxOpc::OpxBrowseElement& native, bool withValues) {
    BrowseElement element;
    element.Name(native.name);
    element.ItemName(native.itemName);
    element.ItemPath(native.itemPath);
    element.HasChildren(native.hasChildren);
    element.IsItem(native.isItem);
    element.ItemProperties(CopyItemProperties(native.properties, withValues));
    return element;
}

ReturnCode returnCodeOf(std::int32_t hr) {
    return hr == S_OK ? ReturnCode::SUCCEEDED : ReturnCode::ITEMERROR;
}

}  // namespace

ReturnCode DaServerMgt::Browse(const NullableText& itemName, const NullableText& itemPath,
                               NullableText& continuationPoint, std::int32_t maxElementsReturned,
                               BrowseFilter browseFilter, const NullableArray<std::int32_t>& propertyIDs,
                               bool returnAllProperties, bool returnPropertyValues,
                               NullableArray<BrowseElement>& BrowseElements, bool& moreElements) {
    const InterfaceScope trace("MCPP::DaServerMgt::Browse");
    if (itemName.isNull()) HandleNullReference("itemName");
    if (continuationPoint.isNull()) HandleNullReference("continuationPoint");
    if (maxElementsReturned < 0) HandleNegativeNumber("maxElementsReturned");

    OpxString point = continuationPoint.value();
    std::vector<OpxOpc::OpxBrowseElement> elements;
    const std::int32_t hr = d_->native()->m_OpxDaClient.browse(
        itemName.value(), itemPath.valueOrEmpty(), point, static_cast<std::uint32_t>(maxElementsReturned),
        nativeFilter(browseFilter), nativeIds(propertyIDs), returnAllProperties, returnPropertyValues, elements,
        &moreElements);
    continuationPoint = std::move(point);
    HandleHResult(hr);

    std::vector<BrowseElement> found;
    found.reserve(elements.size());
    for (const auto& element : elements) found.push_back(copyElement(element, returnPropertyValues));
    BrowseElements = std::move(found);
    trace.leave(hr);
    return returnCodeOf(hr);
}

ReturnCode DaServerMgt::GetProperties(NullableArray<ItemIdentifier>& itemIdentifiers,
                                      const NullableArray<std::int32_t>& propertyIDs, bool returnAllProperties,
                                      bool returnPropertyValues, NullableArray<ItemProperties>& itemProperties) {
    const InterfaceScope trace("MCPP::DaServerMgt::GetProperties");
    CheckArray(itemIdentifiers, "itemIdentifiers");
    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    const std::vector<OpxOpc::OpxItemIdentifier> items = CreateItemIdentifierVector(identifiers);
    std::vector<std::uint32_t> ids;
    if (!returnAllProperties) {
        checkPropertyIds(propertyIDs);
        ids = nativeIds(propertyIDs);
    }

    std::vector<OpxOpc::OpxItemProperties> results;
    const std::int32_t hr =
        d_->native()->m_OpxDaClient.getProperties(items, ids, returnAllProperties, returnPropertyValues, results);
    HandleHResult(hr);
    std::vector<ItemProperties> properties(identifiers.size());
    for (std::size_t i = 0; i < properties.size() && i < results.size(); ++i) {
        identifiers[i].ResultID(ResultID(results[i].resultCode));
        properties[i] = CopyItemProperties(results[i].properties, returnPropertyValues);
    }
    itemProperties = std::move(properties);
    trace.leave(hr);
    return returnCodeOf(hr);
}

}  // namespace Korvex::OPC::OpcDaClient
