// How the native layers name an item.
#pragma once

#include <cstdint>

#include <korvex/native/OpxVType.h>
#include <korvex/text.h>

namespace OpxOpc {

/// Names one item of a server. A call updates the records it is given: the server handle and, where
/// no type was requested, the item's canonical type.
struct OpxItemIdentifier {
    OpxString itemName;                       ///< OPC item ID
    OpxString itemPath;                       ///< OPC access path; never sent to the server
    std::uint32_t serverHandle = 0;           ///< a hint for the next call with the same record
    std::uint32_t clientHandle = 0;           ///< comes back with callbacks
    Opx::VType dataType = Opx::VType::Empty;  ///< requested type; Empty asks for the canonical one
    std::int32_t accessRights = 0;            ///< OPC access rights mask, as the server reported it
    /// Whether the item is to deliver changes.
    bool active = true;
    /// Not used.
    std::int32_t reserved = 0;
};

}  // namespace OpxOpc
