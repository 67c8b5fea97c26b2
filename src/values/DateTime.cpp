#include <korvex/opc_da_client/DateTime.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "values/NumberText.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using OpxOpc::paddedText;

constexpr std::int64_t kTicksOfMillisecond = 10'000;
constexpr std::int64_t kTicksOfSecond = 1000 * kTicksOfMillisecond;
constexpr std::int64_t kTicksOfDay = 86'400 * kTicksOfSecond;
constexpr std::int64_t kMillisecondsOfDay = 86'400'000;

constexpr std::int64_t kTicksTo1601 = 584'388 * kTicksOfDay;
constexpr std::int64_t kTicksTo1899 = 693'593 * kTicksOfDay;   // 30 December 1899
constexpr std::int64_t kFirstOleTicks = 36'159 * kTicksOfDay;  // 1 January 100
constexpr double kBeforeOleDates = -657'435.0;                 // 31 December 99
constexpr double kEndOfOleDates = 2'958'466.0;                 // 1 January 10000
constexpr std::int64_t kLastMillisecond = DateTime::kMaxTicks / kTicksOfMillisecond * kTicksOfMillisecond;

std::int64_t inRange(std::int64_t ticks) {
    if (ticks < 0 || ticks > DateTime::kMaxTicks) throw std::out_of_range("date outside the years 1 to 9999");
    return ticks;
}

// Before 1899-12-30 an OLE date's whole days count backwards while its fraction still counts forwards
// from midnight: -1.25 is 06:00 on 29 December. These two translate between such a number and the plain
// distance in milliseconds.
std::int64_t distanceOf(double oleDate) noexcept {
    const double day = std::trunc(oleDate);
    const double ofDay = std::floor(std::fabs(oleDate - day) * static_cast<double>(kMillisecondsOfDay) + 0.5);
    return static_cast<std::int64_t>(day) * kMillisecondsOfDay + static_cast<std::int64_t>(ofDay);
}

std::int64_t oleMillisecondsOf(std::int64_t distance) noexcept {
    if (distance >= 0) return distance;
    const std::int64_t beforeMidnight = distance % kMillisecondsOfDay;
    return beforeMidnight == 0 ? distance : distance - 2 * (kMillisecondsOfDay + beforeMidnight);
}

}  // namespace

DateTime::DateTime(std::int64_t ticks) : ticks_(inRange(ticks)) {}

DateTime DateTime::now() {
    return std::chrono::system_clock::now();
}

DateTime DateTime::fromFileTimeTicks(std::int64_t fileTimeTicks) {
    if (fileTimeTicks < 0 || fileTimeTicks > kMaxTicks - kTicksTo1601) throw std::out_of_range("file time");
    return DateTime(fileTimeTicks + kTicksTo1601);
}

std::int64_t DateTime::toFileTimeTicks() const {
    if (ticks_ < kTicksTo1601) throw std::out_of_range("date before 1601");
    return ticks_ - kTicksTo1601;
}

DateTime DateTime::fromOleDate(double oleDate) {
    const bool representable = oleDate > kBeforeOleDates && oleDate < kEndOfOleDates;
    if (!representable) throw std::out_of_range("OLE date");  // not-a-number too
    const std::int64_t ticks = kTicksTo1899 + distanceOf(oleDate) * kTicksOfMillisecond;
    // Rounding leads into no other year than the number's.
    return DateTime(std::min(ticks, kLastMillisecond));
}

double DateTime::toOleDate() const {
    // A time without a date belongs to day 0 of either calendar.
    const std::int64_t ticks = ticks_ < kTicksOfDay ? ticks_ + kTicksTo1899 : ticks_;
    if (ticks < kFirstOleTicks) throw std::out_of_range("date before the year 100");
    const std::int64_t distance = (ticks - kTicksTo1899) / kTicksOfMillisecond;
    return static_cast<double>(oleMillisecondsOf(distance)) / static_cast<double>(kMillisecondsOfDay);
}

OpxString DateTime::toText() const {
    const auto time = toSystemTime();
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::int64_t ofDay = (time - day).count();
    const std::int64_t seconds = ofDay / kTicksOfSecond;
    const std::int64_t fraction = ofDay % kTicksOfSecond;

    const OpxString dateText = paddedText(static_cast<int>(date.year()), 4) + OLECHAR('-') +
                               paddedText(static_cast<unsigned>(date.month()), 2) + OLECHAR('-') +
                               paddedText(static_cast<unsigned>(date.day()), 2);
    const OpxString timeText = paddedText(seconds / 3600, 2) + OLECHAR(':') + paddedText(seconds / 60 % 60, 2) +
                               OLECHAR(':') + paddedText(seconds % 60, 2);
    const OpxString fractionText =
        fraction % kTicksOfMillisecond == 0 ? paddedText(fraction / kTicksOfMillisecond, 3) : paddedText(fraction, 7);
    return dateText + OLECHAR('T') + timeText + OLECHAR('.') + fractionText + OLECHAR('Z');
}

}  // namespace Korvex::OPC::OpcDaClient
