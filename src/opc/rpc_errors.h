// Telling that a call did not get through from a server's own answer.
#pragma once

#include "com/com.h"

namespace OpxOpc {

// Whether `hr` comes from one call alone, though COM made it: the server's method failed inside, or what was
// to be carried could not be.
inline bool isFailureOfOneCall(HRESULT hr) noexcept {
    switch (static_cast<std::uint32_t>(hr)) {
        case 0x8001000Bu:  // RPC_E_CLIENT_CANTMARSHAL_DATA
        case 0x8001000Cu:  // RPC_E_CLIENT_CANTUNMARSHAL_DATA
        case 0x8001000Du:  // RPC_E_SERVER_CANTMARSHAL_DATA
        case 0x8001000Eu:  // RPC_E_SERVER_CANTUNMARSHAL_DATA
        case 0x8001000Fu:  // RPC_E_INVALID_DATA
        case 0x80010010u:  // RPC_E_INVALID_PARAMETER
        case 0x80010104u:  // RPC_E_FAULT
        case 0x80010105u:  // RPC_E_SERVERFAULT
        case 0x80010107u:  // RPC_E_INVALIDMETHOD
        case 0x800706C6u:  // RPC_X_INVALID_BOUND
        case 0x800706D1u:  // RPC_S_PROCNUM_OUT_OF_RANGE
        case 0x800706E7u:  // RPC_S_ZERO_DIVIDE
        case 0x800706E8u:  // RPC_S_ADDRESS_ERROR
        case 0x800706E9u:  // RPC_S_FP_DIV_ZERO
        case 0x800706EAu:  // RPC_S_FP_UNDERFLOW
        case 0x800706EBu:  // RPC_S_FP_OVERFLOW
        case 0x800706F4u:  // RPC_X_NULL_REF_POINTER
        case 0x800706F5u:  // RPC_X_ENUM_VALUE_OUT_OF_RANGE
        case 0x800706F6u:  // RPC_X_BYTE_COUNT_TOO_SMALL
        case 0x800706F7u:  // RPC_X_BAD_STUB_DATA
            return true;
        default:
            return false;
    }
}

// Whether the server was lost on the way to it or in the call.
inline bool isServerLost(HRESULT hr) noexcept {
    switch (static_cast<std::uint32_t>(hr)) {
        case 0x800706BAu:  // RPC_S_SERVER_UNAVAILABLE
        case 0x800706BEu:  // RPC_S_CALL_FAILED
        case 0x800706BFu:  // RPC_S_CALL_FAILED_DNE
        case 0x80010007u:  // RPC_E_SERVER_DIED
        case 0x80010012u:  // RPC_E_SERVER_DIED_DNE
        case 0x80010108u:  // RPC_E_DISCONNECTED
            return true;
        default:
            return false;
    }
}

// Whether `hr` comes from the call's way to the server: the server is gone, busy or out of reach, and
// other calls would fare no better.
inline bool isRpcError(HRESULT hr) noexcept {
    constexpr std::uint32_t kRpcFacility = 0x80010000u;
    constexpr std::uint32_t kWindowsFacility = 0x80070000u;
    constexpr std::uint32_t kFirstRpcCode = 1700;  // RPC_S_INVALID_STRING_BINDING
    constexpr std::uint32_t kLastRpcCode = 1999;
    if (isFailureOfOneCall(hr)) return false;
    const auto value = static_cast<std::uint32_t>(hr);
    const std::uint32_t facility = value & 0xFFFF0000u;
    const std::uint32_t code = value & 0xFFFFu;
    if (facility == kWindowsFacility) return code >= kFirstRpcCode && code <= kLastRpcCode;
    return facility == kRpcFacility;
}

}  // namespace OpxOpc
