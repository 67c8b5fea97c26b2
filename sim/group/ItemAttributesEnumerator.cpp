#include "sim/group/ItemAttributesEnumerator.h"

#include <algorithm>

#include "sim/plant/item_properties.h"
#include "sim/steering/serve.h"

namespace Korvex::Simulation {
namespace {

void describe(OPCHANDLE handle, const GroupItem& item, OPCITEMATTRIBUTES& attributes) {
    attributes.szAccessPath = giveText(item.accessPath);
    attributes.szItemID = giveText(item.item->id());
    attributes.bActive = item.active ? TRUE : FALSE;
    attributes.hClient = item.clientHandle;
    attributes.hServer = handle;
    attributes.dwAccessRights = item.item->accessRights();
    attributes.vtRequestedDataType = item.requestedType;
    attributes.vtCanonicalDataType = item.item->canonicalType();
    attributes.dwEUType = engineeringUnitType(*item.item);
    attributes.vEUInfo = engineeringUnitInfo(*item.item).detach();
}

}  // namespace

HRESULT ItemAttributesEnumerator::Next(ULONG count, OPCITEMATTRIBUTES** attributes, ULONG* fetched) {
    return serve("IEnumOPCItemAttributes::Next", note("count", count), outputs(out(attributes), out(fetched)),
                 [&]() -> HRESULT {
                     const std::size_t given = std::min<std::size_t>(count, left());
                     Results<OPCITEMATTRIBUTES> results(given);
                     for (std::size_t i = 0; i < given; ++i) {
                         const auto& [handle, item] = items_[position_ + i];
                         describe(handle, item, results[i]);
                     }
                     position_ += given;
                     results.give(attributes);
                     *fetched = static_cast<ULONG>(given);
                     return given == count ? S_OK : S_FALSE;
                 });
}

HRESULT ItemAttributesEnumerator::Skip(ULONG count) {
    return serve("IEnumOPCItemAttributes::Skip", note("count", count), outputs(), [&]() -> HRESULT {
        const std::size_t skipped = std::min<std::size_t>(count, left());
        position_ += skipped;
        return skipped == count ? S_OK : S_FALSE;
    });
}

HRESULT ItemAttributesEnumerator::Reset() {
    return serve("IEnumOPCItemAttributes::Reset", note(), outputs(), [&]() -> HRESULT {
        position_ = 0;
        return S_OK;
    });
}

HRESULT ItemAttributesEnumerator::Clone(IEnumOPCItemAttributes** clone) {
    return serve("IEnumOPCItemAttributes::Clone", note(), outputs(out(clone)), [&]() -> HRESULT {
        auto copy = makeObject<ItemAttributesEnumerator>(std::map<OPCHANDLE, GroupItem>(items_.begin(), items_.end()));
        copy->position_ = position_;
        *clone = copy.detach();
        return S_OK;
    });
}

}  // namespace Korvex::Simulation
