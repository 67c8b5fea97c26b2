#include "api/ItemConversion.h"

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

void copyBack(const OpxItemIdentifier& item, std::int32_t result, ItemIdentifier& identifier) {
    identifier.ServerHandle(static_cast<std::int32_t>(item.serverHandle));
    identifier.DataType(TypeConverter::GetType(item.dataType));
    identifier.ResultID(ResultID(result));
}

// A value that cannot be taken over is null, and the item's result says why.
Object publicValue(const OpxOpc::OpxVariant& value, ItemIdentifier& identifier) {
    try {
        return TypeConverter::toPublic(value);
    } catch (const OpxOpc::OpxTypeConversionException&) {
        identifier.ResultID(ResultID(kTypeMismatch));
    } catch (const ObjectConversionException&) {
        identifier.ResultID(ResultID(E_FAIL));
    }
    return {};
}

DateTime publicTime(const OpxOpc::OpxDate& time) {
    try {
        return GetDateTimeFromFileTimeUtc(time.toFileTime());
    } catch (const OpxOpc::OpxTypeConversionException&) {
        return {};
    }
}

ItemValue publicItemValue(const OpxItemValue& native, ItemIdentifier& identifier) {
    ItemValue result;
    result.Value(publicValue(native.value, identifier));
    result.Quality(QualityID(native.quality));
    result.TimeStamp(publicTime(native.timestamp));
    return result;
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

ReturnCode ItemResults::returnCode(bool allQualitiesGood) const {
    const auto bits = static_cast<std::int32_t>(hr_ == S_OK ? ReturnCode::SUCCEEDED : ReturnCode::ITEMERROR) |
                      static_cast<std::int32_t>(allQualitiesGood ? ReturnCode::SUCCEEDED : ReturnCode::QUALITYNOTGOOD);
    return static_cast<ReturnCode>(bits);
}

std::vector<ItemValue> ReadItemValues(const std::vector<OpxItemIdentifier>& items,
                                      const std::vector<OpxItemValue>& values, const ItemResults& results,
                                      std::vector<ItemIdentifier>& identifiers, bool& allGood) {
    std::vector<ItemValue> itemValues(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        copyBack(items[i], results[i], identifiers[i]);
        if (results[i] != S_OK || i >= values.size()) continue;
        itemValues[i] = publicItemValue(values[i], identifiers[i]);
        allGood = allGood && itemValues[i].Quality()->IsGood();
    }
    return itemValues;
}

DateTime GetDateTimeFromFileTimeUtc(const FILETIME& fileTime) {
    LibT::lInOut("==> MCPP::DaServerMgt::GetDateTimeFromFileTimeUtc");
    const auto ticks = (static_cast<std::uint64_t>(fileTime.dwHighDateTime) << 32) | fileTime.dwLowDateTime;
    const DateTime result = DateTime::fromFileTimeTicks(static_cast<std::int64_t>(ticks));
    LibT::lInOut("<== MCPP::DaServerMgt::GetDateTimeFromFileTimeUtc");
    return result;
}

}  // namespace Korvex::OPC::OpcDaClient
