#include "api/PropertyConversion.h"

#include <charconv>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include <korvex/opc_da_client/PropertyID.h>

#include "api/ItemConversion.h"
#include "values/TypeConverter.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

// The value of a data type property that names no type: something, and equal to nothing an application has.
struct UnknownDataType {
    bool operator==(const UnknownDataType&) const = default;
};

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient

template <>
struct std::hash<Korvex::OPC::OpcDaClient::UnknownDataType> {
    std::size_t operator()(const Korvex::OPC::OpcDaClient::UnknownDataType&) const noexcept { return 0; }
};

namespace Korvex::OPC::OpcDaClient {
namespace {

// The type that a number names; the number comes as servers choose to send it.
Object typeNamedBy(const Object& number) {
    const std::string text = toUtf8(number.toText());
    std::int32_t tag = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), tag);
    if (error != std::errc() || end != text.data() + text.size()) return UnknownDataType();
    return TypeConverter::GetType(static_cast<Opx::VType>(tag));
}

void copyValue(const OpxOpc::OpxVariant& native, ItemProperty& property) {
    Object value;
    const std::int32_t conversion = ToPublicValue(native, value);
    if (conversion != S_OK) property.ResultID(ResultID(conversion));
    if (property.PropertyID() == PropertyID::DATATYPE && !value.isNull()) value = typeNamedBy(value);
    property.Value(std::move(value));
}

ItemProperty copyProperty(const OpxOpc::OpxItemProperty& native, bool withValue) {
    ItemProperty property;
    property.PropertyID(native.propertyId);
    property.ResultID(ResultID(native.resultCode));
    if (withValue) copyValue(native.value, property);
    property.DataType(TypeConverter::GetType(native.dataType));
    property.Description(native.description);
    property.ItemName(native.itemName);
    property.ItemPath(native.itemPath);
    return property;
}

}  // namespace

ItemProperties CopyItemProperties(const std::vector<OpxOpc::OpxItemProperty>& native, bool withValues) {
    ItemProperties result(native.size());
    for (const OpxOpc::OpxItemProperty& property : native) {
        result.RequestedItemProperties().push_back(copyProperty(property, withValues));
    }
    return result;
}

}  // namespace Korvex::OPC::OpcDaClient
