// Result codes and quality words of OPC Data Access, which this server answers.
#pragma once

#include "com/result_codes.h"

namespace Korvex::Simulation {

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
