// Telling that a call did not get through from a server's own answer.
#pragma once

#include "com/com.h"

namespace OpxOpc {

// Whether `hr` comes from the call's way to the server: the server is gone, busy or out of reach, and
// other calls would fare no better.
inline bool isRpcError(HRESULT hr) noexcept {
    constexpr std::uint32_t kRpcFacility = 0x80010000u;
    constexpr std::uint32_t kWindowsFacility = 0x80070000u;
    constexpr std::uint32_t kFirstRpcCode = 1700;  // RPC_S_INVALID_STRING_BINDING
    constexpr std::uint32_t kLastRpcCode = 1999;
    const auto value = static_cast<std::uint32_t>(hr);
    const std::uint32_t facility = value & 0xFFFF0000u;
    const std::uint32_t code = value & 0xFFFFu;
    if (facility == kWindowsFacility) return code >= kFirstRpcCode && code <= kLastRpcCode;
    return facility == kRpcFacility;
}

}  // namespace OpxOpc
