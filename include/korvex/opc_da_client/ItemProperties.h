// The properties of an item, which a server tells besides its value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <korvex/opc_da_client/NullableText.h>
#include <korvex/opc_da_client/Object.h>
#include <korvex/opc_da_client/ResultID.h>
#include <korvex/opc_da_client/Type.h>

namespace Korvex::OPC::OpcDaClient {

/// One property of one item. Every field has a getter and a setter of the same name.
class ItemProperty {
public:
    /// One of PropertyID's, or a number of the server's own from 5000 on.
    std::int32_t PropertyID() const noexcept { return m_PropertyID; }
    /// Sets it.
    void PropertyID(std::int32_t value) noexcept { m_PropertyID = value; }

    /// The server's description of the property.
    const NullableText& Description() const noexcept { return m_Description; }
    /// Sets it.
    void Description(NullableText value) { m_Description = std::move(value); }

    /// The type of the value.
    const Type& DataType() const noexcept { return m_DataType; }
    /// Sets it.
    void DataType(Type value) noexcept { m_DataType = value; }

    /// Null unless values were asked for. Of PropertyID::DATATYPE it is a Type.
    const Object& Value() const noexcept { return m_Value; }
    /// Sets it.
    void Value(Object value) { m_Value = std::move(value); }

    /// The item that is this property, to be read or subscribed to; empty where there is none.
    const NullableText& ItemName() const noexcept { return m_ItemName; }
    /// Sets it.
    void ItemName(NullableText value) { m_ItemName = std::move(value); }
    /// Always empty.
    const NullableText& ItemPath() const noexcept { return m_ItemPath; }
    /// Sets it.
    void ItemPath(NullableText value) { m_ItemPath = std::move(value); }

    /// Why there is no value, or no such property.
    const OpcDaClient::ResultID& ResultID() const noexcept { return m_ResultID; }
    /// Sets it.
    void ResultID(const OpcDaClient::ResultID& value) noexcept { m_ResultID = value; }

private:
    std::int32_t m_PropertyID = 0;
    NullableText m_Description;
    Type m_DataType;
    Object m_Value;
    NullableText m_ItemName;
    NullableText m_ItemPath;
    OpcDaClient::ResultID m_ResultID{0};
};

/// The properties of one item.
class ItemProperties {
public:
    /// Has no properties yet, and room for `capacity`.
    explicit ItemProperties(std::size_t capacity = 0) { m_RequestedItemProperties.reserve(capacity); }

    /// The properties that were asked for, or all.
    const std::vector<ItemProperty>& RequestedItemProperties() const noexcept { return m_RequestedItemProperties; }
    /// The same, to be changed.
    std::vector<ItemProperty>& RequestedItemProperties() noexcept { return m_RequestedItemProperties; }
    /// Sets it.
    void RequestedItemProperties(std::vector<ItemProperty> value) { m_RequestedItemProperties = std::move(value); }

private:
    std::vector<ItemProperty> m_RequestedItemProperties;
};

}  // namespace Korvex::OPC::OpcDaClient
