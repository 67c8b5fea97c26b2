// An item of a server, as calls take it.
#pragma once

#include <cstdint>
#include <utility>

#include <korvex/opc_da_client/NullableText.h>
#include <korvex/opc_da_client/Object.h>
#include <korvex/opc_da_client/ResultID.h>
#include <korvex/opc_da_client/Type.h>

namespace Korvex::OPC::OpcDaClient {

/// Every field has a getter and a setter of the same name. `ServerHandle`, `DataType` and `ResultID`
/// are overwritten by every call that takes the identifier. Not safe to be used by several threads.
class ItemIdentifier {
public:
    ItemIdentifier() : ItemIdentifier("", "") {}
    /// An item without a handle.
    ItemIdentifier(NullableText itemID, NullableText itemPath)
        : ItemIdentifier(std::move(itemID), std::move(itemPath), Object()) {}
    /// An item with a handle.
    ItemIdentifier(NullableText itemID, NullableText itemPath, Object handleClient)
        : m_ItemName(std::move(itemID)), m_ItemPath(std::move(itemPath)), m_HandleClient(std::move(handleClient)) {}

    /// The item's name in the server's address space.
    const NullableText& ItemName() const noexcept { return m_ItemName; }
    /// Sets it.
    void ItemName(NullableText value) { m_ItemName = std::move(value); }

    /// Tells some servers how to reach the item; else empty.
    const NullableText& ItemPath() const noexcept { return m_ItemPath; }
    /// Sets it.
    void ItemPath(NullableText value) { m_ItemPath = std::move(value); }

    /// The number by which the library knows the item.
    std::int32_t ServerHandle() const noexcept { return m_HandleServer; }
    /// Sets it.
    void ServerHandle(std::int32_t value) noexcept { m_HandleServer = value; }

    /// A value of the application's own, which comes back with the item's values.
    const Object& ClientHandle() const noexcept { return m_HandleClient; }
    /// Sets it.
    void ClientHandle(Object value) { m_HandleClient = std::move(value); }

    /// The type in which values are wanted, null for the server's own; after a call the item's type.
    const Type& DataType() const noexcept { return m_DataType; }
    /// Sets it.
    void DataType(Type value) noexcept { m_DataType = value; }

    /// The item's result in the last call.
    const OpcDaClient::ResultID& ResultID() const noexcept { return m_ResultID; }
    /// Sets it.
    /// Sets it.
    void ResultID(const OpcDaClient::ResultID& value) noexcept { m_ResultID = value; }

private:
    NullableText m_ItemName;
    NullableText m_ItemPath;
    std::int32_t m_HandleServer = 0;
    Object m_HandleClient;
    Type m_DataType;
    OpcDaClient::ResultID m_ResultID{0};
};

}  // namespace Korvex::OPC::OpcDaClient
