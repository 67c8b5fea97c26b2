#include "opc/browse/ItemPropertyRecords.h"

#include "opc/server_texts.h"

namespace OpxOpc {
namespace {

constexpr std::int32_t kDataTypeProperty = 1;

// Servers tell an item's type as COM numbers it. What is no number stays what it is.
void replaceByTag(OpxVariant& varType) {
    if (varType.type() == Opx::VType::Empty) return;
    try {
        varType = static_cast<std::int32_t>(OpxVariant::typeFromVarType(varType.toUInt16()));
    } catch (const OpxTypeConversionException&) {
        return;
    }
}

OpxItemProperty takeProperty(const OPCITEMPROPERTY& answered, bool withValue) {
    OpxItemProperty property;
    property.propertyId = static_cast<std::int32_t>(answered.dwPropertyID);
    property.dataType = OpxVariant::typeFromVarType(answered.vtDataType);
    property.description = textOf(answered.szDescription);
    property.itemName = textOf(answered.szItemID);
    property.resultCode = answered.hrErrorID;
    if (withValue && succeeded(answered.hrErrorID)) takePropertyValue(answered.vValue, property);
    return property;
}

}  // namespace

void takePropertyValue(const VARIANT& value, OpxItemProperty& property) {
    try {
        property.value = value;
    } catch (const OpxTypeConversionException&) {
        property.value.clear();
        property.resultCode = DISP_E_TYPEMISMATCH;
    }
    if (property.propertyId == kDataTypeProperty) replaceByTag(property.value);
}

HRESULT takeItemProperties(const OPCITEMPROPERTIES& answered, const PropertyRequest& request,
                           std::vector<OpxItemProperty>& properties) {
    HRESULT hr = failed(answered.hrErrorID) ? S_FALSE : S_OK;
    const DWORD count = answered.pItemProperties ? answered.dwNumProperties : 0;
    properties.reserve(count);
    for (DWORD i = 0; i < count; ++i) {
        properties.push_back(takeProperty(answered.pItemProperties[i], request.values));
        if (failed(properties.back().resultCode)) hr = S_FALSE;
    }
    return hr;
}

}  // namespace OpxOpc
