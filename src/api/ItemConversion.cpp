#include "api/ItemConversion.h"

#include <utility>

#include <korvex/opc_da_client/Exceptions.h>

#include "trace/LibT.h"
#include "values/TypeConverter.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::LibT;
using OpxOpc::OpxItemIdentifier;
using OpxOpc::OpxItemValue;

namespace {

constexpr HRESULT kTypeMismatch = hresult(0x80020005u);

OpxItemIdentifier nativeIdentifier(const ItemIdentifier& identifier) {
    OpxItemIdentifier item;
    item.itemName = identifier.ItemName().valueOrEmpty();
    item.itemPath = identifier.ItemPath().valueOrEmpty();
    item.serverHandle = static_cast<std::uint32_t>(identifier.ServerHandle());
    item.clientHandle = identifier.ClientHandle().hashCode();
    if (!identifier.DataType().isNull()) item.dataType = TypeConverter::GetOpxVT(identifier.DataType());
    return item;
}

DateTime publicTime(const OpxOpc::OpxDate& time) {
    try {
        return GetDateTimeFromFileTimeUtc(time.toFileTime());
    } catch (const OpxOpc::OpxTypeConversionException&) {
        return {};
    }
}

}  // namespace

std::vector<OpxItemIdentifier> CreateItemIdentifierVector(const std::vector<ItemIdentifier>& itemIdentifiers) {
    LibT::lInOut("==> MCPP::DaServerMgt::CreateItemIdentifierVector");
    std::vector<OpxItemIdentifier> items;
    items.reserve(itemIdentifiers.size());
    for (const ItemIdentifier& identifier : itemIdentifiers) items.push_back(nativeIdentifier(identifier));
    LibT::lInOut("<== MCPP::DaServerMgt::CreateItemIdentifierVector");
    return items;
}

ItemHandles CreateItemHandles(const std::vector<ItemIdentifier>& itemIdentifiers) {
    ItemHandles handles;
    for (const ItemIdentifier& identifier : itemIdentifiers) {
        handles.emplace(identifier.ClientHandle().hashCode(), identifier.ClientHandle());
    }
    return handles;
}

void CopyItemResults(const std::vector<OpxItemIdentifier>& items, const ItemResults& results,
                     std::vector<ItemIdentifier>& identifiers) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        identifiers[i].ServerHandle(static_cast<std::int32_t>(items[i].serverHandle));
        identifiers[i].DataType(TypeConverter::GetType(items[i].dataType));
        identifiers[i].ResultID(ResultID(results[i]));
    }
}

std::int32_t ToPublicValue(const OpxOpc::OpxVariant& value, Object& result) {
    try {
        result = TypeConverter::toPublic(value);
        return S_OK;
    } catch (const OpxOpc::OpxTypeConversionException&) {
        return kTypeMismatch;
    } catch (const ObjectConversionException&) {
        return E_FAIL;
    }
}

std::int32_t CopyItemValue(const OpxItemValue& native, ItemValue& itemValue) {
    Object value;
    const std::int32_t conversion = ToPublicValue(native.value, value);
    itemValue.Value(std::move(value));
    itemValue.Quality(QualityID(native.quality));
    itemValue.TimeStamp(publicTime(native.timestamp));
    return conversion;
}

ReturnCode ItemResults::returnCode(bool allQualitiesGood) const {
    const auto bits = static_cast<std::int32_t>(hr_ == S_OK ? ReturnCode::SUCCEEDED : ReturnCode::ITEMERROR) |
                      static_cast<std::int32_t>(allQualitiesGood ? ReturnCode::SUCCEEDED : ReturnCode::QUALITYNOTGOOD);
    return static_cast<ReturnCode>(bits);
}

std::vector<ItemValue> ReadItemValues(const std::vector<OpxItemValue>& values, const ItemResults& results,
                                      std::vector<ItemIdentifier>& identifiers, bool& allGood) {
    std::vector<ItemValue> itemValues(identifiers.size());
    for (std::size_t i = 0; i < identifiers.size(); ++i) {
        if (results[i] != S_OK || i >= values.size()) continue;
        const std::int32_t conversion = CopyItemValue(values[i], itemValues[i]);
        if (conversion != S_OK) identifiers[i].ResultID(ResultID(conversion));
        allGood = allGood && itemValues[i].Quality()->IsGood();
    }
    return itemValues;
}

std::vector<OpxItemValue> CreateItemValueVector(const NullableArray<ItemValue>& itemValues) {
    LibT::lInOut("==> MCPP::DaServerMgt::CreateItemValueVector");
    if (itemValues.isNull()) throw NullReferenceException();
    std::vector<OpxItemValue> values(itemValues.size(), OpxItemValue());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool hasNativeForm = TypeConverter::toNative(itemValues[i].Value(), values[i].value);
        // An empty value would be converted to the item's zero, and written.
        if (!hasNativeForm) values[i].value = OpxOpc::OpxVariant::unknown();
    }
    LibT::lInOut("<== MCPP::DaServerMgt::CreateItemValueVector");
    return values;
}

std::int32_t CodeOf(const std::vector<std::int32_t>& errors, std::size_t i) {
    return errors.empty() ? S_OK : errors.at(i);
}

DateTime GetDateTimeFromFileTimeUtc(const FILETIME& fileTime) {
    LibT::lInOut("==> MCPP::DaServerMgt::GetDateTimeFromFileTimeUtc");
    const auto ticks = (static_cast<std::uint64_t>(fileTime.dwHighDateTime) << 32) | fileTime.dwLowDateTime;
    const DateTime result = DateTime::fromFileTimeTicks(static_cast<std::int64_t>(ticks));
    LibT::lInOut("<== MCPP::DaServerMgt::GetDateTimeFromFileTimeUtc");
    return result;
}

}  // namespace Korvex::OPC::OpcDaClient
