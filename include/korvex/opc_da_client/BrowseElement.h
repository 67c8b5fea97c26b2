// An element of a server's address space.
#pragma once

#include <cstdint>
#include <utility>

#include <korvex/opc_da_client/ItemProperties.h>
#include <korvex/opc_da_client/NullableText.h>

namespace Korvex::OPC::OpcDaClient {

/// Which elements are wanted.
enum class BrowseFilter : std::int32_t {
    ALL = 0,
    BRANCH = 1,  ///< that have elements below them
    ITEM = 2,    ///< that can be read or written
};

/// One element; it may be an item and have elements below it at once. Every field has a getter and a
/// setter of the same name.
class BrowseElement {
public:
    /// Its name within the branch, for display.
    const NullableText& Name() const noexcept { return m_Name; }
    /// Sets it.
    void Name(NullableText value) { m_Name = std::move(value); }

    /// Its name in the server: what an ItemIdentifier takes, and Browse to go on below it.
    const NullableText& ItemName() const noexcept { return m_ItemName; }
    /// Sets it.
    void ItemName(NullableText value) { m_ItemName = std::move(value); }
    /// Always empty.
    const NullableText& ItemPath() const noexcept { return m_ItemPath; }
    /// Sets it.
    void ItemPath(NullableText value) { m_ItemPath = std::move(value); }

    /// Whether it can be read or written.
    bool IsItem() const noexcept { return m_IsItem; }
    /// Sets it.
    void IsItem(bool value) noexcept { m_IsItem = value; }

    /// Whether elements lie below it.
    bool HasChildren() const noexcept { return m_HasChildren; }
    /// Sets it.
    void HasChildren(bool value) noexcept { m_HasChildren = value; }

    /// Those that were asked for, of an item.
    const OpcDaClient::ItemProperties& ItemProperties() const noexcept { return m_ItemProperties; }
    /// Sets it.
    void ItemProperties(OpcDaClient::ItemProperties value) { m_ItemProperties = std::move(value); }

private:
    NullableText m_Name;
    NullableText m_ItemName;
    NullableText m_ItemPath;
    bool m_IsItem = false;
    bool m_HasChildren = false;
    OpcDaClient::ItemProperties m_ItemProperties;
};

}  // namespace Korvex::OPC::OpcDaClient
