// The summary of a call on items.
#pragma once

#include <cstdint>

namespace Korvex::OPC::OpcDaClient {

/// Failures of the whole call are exceptions; these tell whether to look at the single items. The
/// first four combine as bits.
enum class ReturnCode : std::int32_t {
    SUCCEEDED = 0,
    ITEMERROR = 1,       ///< at least one item has a ResultID that is not S_OK
    QUALITYNOTGOOD = 2,  ///< at least one value's quality is not good
    ITEMERRORANDQUALITYBAD = 3,
    UNSUPPORTEDUPDATERATE = 4,  ///< the server revised the update rate; only ever alone
};

}  // namespace Korvex::OPC::OpcDaClient
