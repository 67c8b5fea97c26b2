// A point in time.
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <ratio>

#include <korvex/export.h>
#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

/// UTC in ticks of 100 ns since 0001-01-01 00:00:00, up to the end of the year 9999. A value outside
/// that range is refused with std::out_of_range. Immutable; threads may share it.
class KORVEX_OPC_API DateTime {
public:
    /// A duration in ticks of 100 ns.
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

    /// The last tick of the year 9999.
    static constexpr std::int64_t kMaxTicks = 3'155'378'975'999'999'999;

    /// The minimal date, 0001-01-01 00:00:00.
    constexpr DateTime() noexcept = default;
    /// From ticks since 0001-01-01 00:00:00 UTC.
    explicit DateTime(std::int64_t ticks);

    /// From any system-clock time; what is finer than a tick is cut off.
    template <typename Duration>
    DateTime(const std::chrono::sys_time<Duration>& time)
        : DateTime(kTicksTo1970 + std::chrono::floor<Ticks>(time.time_since_epoch()).count()) {}

    /// The current time.
    static DateTime now();

    /// From 100-ns ticks since 1601-01-01 UTC.
    static DateTime fromFileTimeTicks(std::int64_t fileTimeTicks);

    /// From days since 1899-12-30 with the time of day as fraction, rounded to the millisecond.
    static DateTime fromOleDate(double oleDate);

    /// Ticks since 0001-01-01 00:00:00 UTC.
    std::int64_t ticks() const noexcept { return ticks_; }

    /// A duration_cast takes it to std::chrono::system_clock::time_point, which covers fewer years.
    std::chrono::sys_time<Ticks> toSystemTime() const noexcept {
        return std::chrono::sys_time<Ticks>(Ticks(ticks_ - kTicksTo1970));
    }

    /// Throws std::out_of_range before 1601.
    std::int64_t toFileTimeTicks() const;

    /// In milliseconds. Throws std::out_of_range before the year 100; the minimal date is 0.
    double toOleDate() const;

    /// "2008-03-01T12:34:56.789Z", with seven digits behind the point where three do not tell it all.
    OpxString toText() const;

    /// Compares the ticks.
    friend auto operator<=>(const DateTime&, const DateTime&) = default;

private:
    static constexpr std::int64_t kTicksTo1970 = 621'355'968'000'000'000;

    std::int64_t ticks_ = 0;
};

}  // namespace Korvex::OPC::OpcDaClient
