#include "sim/server/ItemPropertiesFacet.h"

#include "sim/Simulation.h"
#include "sim/plant/item_properties.h"

namespace Korvex::Simulation {

HRESULT ItemPropertiesFacet::QueryAvailableProperties(LPWSTR itemId, DWORD* count, DWORD** ids, LPWSTR** descriptions,
                                                      VARTYPE** types) {
    return serve("IOPCItemProperties::QueryAvailableProperties", note("item", itemId),
                 outputs(out(count), array(ids, count), array(descriptions, count), array(types, count)),
                 [&]() -> HRESULT {
                     std::shared_ptr<PlantItem> item;
                     const HRESULT found = simulation().plant.find(viewOf(itemId), item);
                     if (failed(found)) return found;
                     const auto properties = propertiesOf(*item);
                     Results<DWORD> numbers(properties.size());
                     Results<LPWSTR> texts(properties.size());
                     Results<VARTYPE> variantTypes(properties.size());
                     for (std::size_t i = 0; i < properties.size(); ++i) {
                         numbers[i] = properties[i].id;
                         texts[i] = giveText(properties[i].description);
                         variantTypes[i] = properties[i].type;
                     }
                     *count = static_cast<DWORD>(properties.size());
                     numbers.give(ids);
                     texts.give(descriptions);
                     variantTypes.give(types);
                     return S_OK;
                 });
}

HRESULT ItemPropertiesFacet::GetItemProperties(LPWSTR itemId, DWORD count, DWORD* ids, VARIANT** values,
                                               HRESULT** errors) {
    return serve("IOPCItemProperties::GetItemProperties", note("item", itemId, "count", count),
                 outputs(array(values, count), array(errors, count)), [&]() -> HRESULT {
                     if (count == 0 || !ids) return E_INVALIDARG;
                     std::shared_ptr<PlantItem> item;
                     const HRESULT found = simulation().plant.find(viewOf(itemId), item);
                     if (failed(found)) return found;
                     Results<VARIANT> data(count);
                     Results<HRESULT> codes(count);
                     for (DWORD i = 0; i < count; ++i) {
                         Value value;
                         codes[i] = propertyValue(*item, ids[i], value);
                         data[i] = value.detach();
                     }
                     const HRESULT overall = overallResult(codes);
                     data.give(values);
                     codes.give(errors);
                     return overall;
                 });
}

HRESULT ItemPropertiesFacet::LookupItemIDs(LPWSTR itemId, DWORD count, DWORD* ids, LPWSTR** itemIds, HRESULT** errors) {
    return serve("IOPCItemProperties::LookupItemIDs", note("item", itemId, "count", count),
                 outputs(array(itemIds, count), array(errors, count)), [&]() -> HRESULT {
                     if (count == 0 || !ids) return E_INVALIDARG;
                     std::shared_ptr<PlantItem> item;
                     const HRESULT found = simulation().plant.find(viewOf(itemId), item);
                     if (failed(found)) return found;
                     Results<LPWSTR> names(count);
                     Results<HRESULT> codes(count);
                     for (DWORD i = 0; i < count; ++i) {
                         OpxString name;
                         codes[i] = propertyItemId(*item, ids[i], name);
                         if (succeeded(codes[i])) names[i] = giveText(name);
                     }
                     const HRESULT overall = overallResult(codes);
                     names.give(itemIds);
                     codes.give(errors);
                     return overall;
                 });
}

}  // namespace Korvex::Simulation
