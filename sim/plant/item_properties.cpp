#include "sim/plant/item_properties.h"

#include <algorithm>

#include "sim/FileTime.h"
#include "sim/Simulation.h"

namespace Korvex::Simulation {
namespace {

// The scan rate that the server promises, in milliseconds.
constexpr float kScanRate = 10.0F;

enum PropertyId : DWORD {
    kCanonicalType = 1,
    kValue = 2,
    kQuality = 3,
    kTimestamp = 4,
    kAccessRights = 5,
    kServerScanRate = 6,
    kEuType = 7,
    kEuInfo = 8,
    kEuUnits = 100,
    kDescription = 101,
    kHighEu = 102,
    kLowEu = 103,
};

bool isRead(DWORD id) {
    return id == kValue || id == kQuality || id == kTimestamp;
}

HRESULT readProperty(PlantItem& item, DWORD id, Value& value) {
    const Sample sample = item.scan();
    if (failed(sample.error)) return sample.error;
    if (id == kValue)
        value = sample.value;
    else if (id == kQuality)
        value = makeScalar(VT_I2, static_cast<SHORT>(sample.quality));
    else
        value = makeDate(toDate(sample.time));
    return S_OK;
}

Value fixedProperty(const PlantItem& item, DWORD id) {
    const ItemDefinition& definition = item.definition();
    switch (id) {
        case kCanonicalType:
            return makeScalar(VT_I2, static_cast<SHORT>(item.canonicalType()));
        case kAccessRights:
            return makeInt32(static_cast<std::int32_t>(item.accessRights()));
        case kServerScanRate:
            return makeScalar(VT_R4, kScanRate);
        case kEuType:
            return makeInt32(engineeringUnitType(item));
        case kEuInfo:
            return makeTextArray(definition.states);
        case kDescription:
            return makeText(definition.description);
        case kEuUnits:
            return makeText(definition.analog->units);
        case kHighEu:
            return makeDouble(definition.analog->high);
        default:
            return makeDouble(definition.analog->low);
    }
}

bool hasProperty(const PlantItem& item, DWORD id) {
    const std::vector<ItemProperty> properties = propertiesOf(item);
    return std::any_of(properties.begin(), properties.end(), [&](const auto& each) { return each.id == id; });
}

}  // namespace

std::vector<ItemProperty> propertiesOf(const PlantItem& item) {
    const ItemDefinition& definition = item.definition();
    std::vector<ItemProperty> properties = {
        {kCanonicalType, VT_I2, OLESTR("Item Canonical Data Type")},
        {kValue, item.canonicalType(), OLESTR("Item Value")},
        {kQuality, VT_I2, OLESTR("Item Quality")},
        {kTimestamp, VT_DATE, OLESTR("Item Timestamp")},
        {kAccessRights, VT_I4, OLESTR("Item Access Rights")},
        {kServerScanRate, VT_R4, OLESTR("Server Scan Rate")},
        {kEuType, VT_I4, OLESTR("Item EU Type")},
    };
    if (!definition.states.empty()) properties.push_back({kEuInfo, arrayOf(VT_BSTR), OLESTR("Item EU Info")});
    if (definition.analog) properties.push_back({kEuUnits, VT_BSTR, OLESTR("EU Units")});
    properties.push_back({kDescription, VT_BSTR, OLESTR("Item Description")});
    if (definition.analog) {
        properties.push_back({kHighEu, VT_R8, OLESTR("High EU")});
        properties.push_back({kLowEu, VT_R8, OLESTR("Low EU")});
    }
    return properties;
}

HRESULT propertyValue(PlantItem& item, DWORD id, Value& value) {
    if (!hasProperty(item, id)) return OPC_E_INVALID_PID;
    if (isRead(id)) return readProperty(item, id, value);
    value = fixedProperty(item, id);
    return S_OK;
}

HRESULT propertyItemId(const PlantItem& item, DWORD id, OpxString& itemId) {
    if (!hasProperty(item, id)) return OPC_E_INVALID_PID;
    OpxString candidate = item.id();
    if (id == kEuUnits) candidate += OLESTR(".Units");
    if (id == kHighEu) candidate += OLESTR(".High");
    if (id == kLowEu) candidate += OLESTR(".Low");
    std::shared_ptr<PlantItem> found;
    if (candidate == item.id() || failed(simulation().plant.find(candidate, found))) return E_FAIL;
    itemId = std::move(candidate);
    return S_OK;
}

OPCEUTYPE engineeringUnitType(const PlantItem& item) {
    if (item.definition().analog) return OPC_ANALOG;
    return item.definition().states.empty() ? OPC_NOENUM : OPC_ENUMERATED;
}

Value engineeringUnitInfo(const PlantItem& item) {
    const ItemDefinition& definition = item.definition();
    if (definition.analog)
        return makeArray(VT_R8, {makeDouble(definition.analog->low), makeDouble(definition.analog->high)});
    return definition.states.empty() ? Value() : makeTextArray(definition.states);
}

}  // namespace Korvex::Simulation
