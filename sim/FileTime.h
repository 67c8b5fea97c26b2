// FILETIMEs as counts of 100 ns since 1601 UTC.
#pragma once

#include <chrono>
#include <cstdint>

#include "com/com.h"

namespace Korvex::Simulation {

inline constexpr std::uint64_t kTicksPerMillisecond = 10'000;

constexpr std::uint64_t ticksOf(FILETIME time) noexcept {
    return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

constexpr FILETIME fileTime(std::uint64_t ticks) noexcept {
    return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

inline FILETIME now() noexcept {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr std::int64_t kUnixEpoch = 116'444'736'000'000'000;
    const auto sinceUnixEpoch = std::chrono::system_clock::now().time_since_epoch();
    return fileTime(static_cast<std::uint64_t>(std::chrono::duration_cast<Ticks>(sinceUnixEpoch).count() + kUnixEpoch));
}

// The automation date of the same instant, with its fraction of a second.
constexpr DATE toDate(FILETIME time) noexcept {
    constexpr double kTicksPerDay = 864e9;
    constexpr double kDaysFrom1601To1899 = 109'205;
    return static_cast<double>(ticksOf(time)) / kTicksPerDay - kDaysFrom1601To1899;
}

}  // namespace Korvex::Simulation
