// Result codes and quality words of OPC Data Access as this server answers them.
#pragma once

#include "com/com.h"

namespace Korvex::Simulation {

inline constexpr HRESULT OPC_E_INVALIDHANDLE = hresult(0xC0040001);
inline constexpr HRESULT OPC_E_BADTYPE = hresult(0xC0040004);
inline constexpr HRESULT OPC_E_BADRIGHTS = hresult(0xC0040006);
inline constexpr HRESULT OPC_E_UNKNOWNITEMID = hresult(0xC0040007);
inline constexpr HRESULT OPC_E_INVALIDITEMID = hresult(0xC0040008);
inline constexpr HRESULT OPC_E_RANGE = hresult(0xC004000B);
inline constexpr HRESULT OPC_E_DUPLICATENAME = hresult(0xC004000C);
inline constexpr HRESULT OPC_S_UNSUPPORTEDRATE = hresult(0x0004000D);
inline constexpr HRESULT OPC_S_CLAMP = hresult(0x0004000E);
inline constexpr HRESULT OPC_S_INUSE = hresult(0x0004000F);
inline constexpr HRESULT OPC_E_INVALID_PID = hresult(0xC0040203);
inline constexpr HRESULT OPC_E_INVALIDCONTINUATIONPOINT = hresult(0xC0040403);

// COM's answer for a server that is gone.
inline constexpr HRESULT kServerUnavailable = hresult(0x800706BA);

inline constexpr WORD kQualityBad = 0x00;
inline constexpr WORD kQualityOutOfService = 0x1C;
inline constexpr WORD kQualityUncertain = 0x40;
inline constexpr WORD kQualityGood = 0xC0;
inline constexpr WORD kLimitLow = 0x01;
inline constexpr WORD kLimitHigh = 0x02;
inline constexpr WORD kLimitConstant = 0x03;

constexpr bool isGood(WORD quality) noexcept {
    return (quality & 0xC0) == kQualityGood;
}

}  // namespace Korvex::Simulation
