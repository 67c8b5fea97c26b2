#include <korvex/native/OpxDate.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <utility>

#include <korvex/native/OpxTypeConversionException.h>

#include "com/com.h"
#include "com/platform.h"
#include "values/NumberText.h"

namespace OpxOpc {
namespace {

namespace chrono = std::chrono;
using Korvex::Com::CalendarTime;

constexpr std::int64_t kSecondsOfDay = 86400;
constexpr std::int64_t kLastSecond = 32535215999;  // 3000-12-31 23:59:59

// Days since 1899-12-30.
constexpr int kOleDayOf1970 = 25569;
constexpr double kBeforeOleDates = -657435.0;  // 31 December 99
constexpr double kEndOfOleDates = 2958466.0;   // 1 January 10000
constexpr double kMillisecondsOfDay = 86400e3;
constexpr chrono::milliseconds kLastOleTime =
    chrono::days(static_cast<int>(kEndOfOleDates) - kOleDayOf1970) - chrono::milliseconds(1);

[[noreturn]] void throwInvalidDate() {
    throw OpxTypeConversionException(OpxTypeConversionException::kInvalidDate);
}

void requireRepresentable(std::int64_t seconds) {
    if (seconds < 0 || seconds > kLastSecond) throwInvalidDate();
}

// ---- The calendar --------------------------------------------------------------------------------

std::chrono::year_month_day dateOf(const CalendarTime& t) noexcept {
    return {std::chrono::year(t.year), std::chrono::month(static_cast<unsigned>(t.month)),
            std::chrono::day(static_cast<unsigned>(t.day))};
}

bool isCalendarTime(const CalendarTime& t) noexcept {
    return dateOf(t).ok() && t.hour >= 0 && t.hour < 24 && t.minute >= 0 && t.minute < 60 && t.second >= 0 &&
           t.second < 60;
}

std::int64_t secondsOf(const CalendarTime& t) noexcept {
    const std::int64_t days = std::chrono::sys_days(dateOf(t)).time_since_epoch().count();
    return days * kSecondsOfDay + std::int64_t{t.hour} * 3600 + std::int64_t{t.minute} * 60 + t.second;
}

CalendarTime utcCalendarTime(std::int64_t seconds) {
    requireRepresentable(seconds);
    const std::chrono::sys_days day{std::chrono::days(seconds / kSecondsOfDay)};
    const std::chrono::year_month_day date{day};
    const int second = static_cast<int>(seconds % kSecondsOfDay);
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            second / 3600,
            second / 60 % 60,
            second % 60};
}

CalendarTime localTime(std::int64_t seconds) {
    requireRepresentable(seconds);
    const auto local = Korvex::Com::localCalendarTime(seconds);
    if (!local) throwInvalidDate();
    return *local;
}

// The instant, with the zone fields that hold now.
OpxDate withCurrentZone(std::int64_t seconds, std::uint16_t milliseconds) {
    const Korvex::Com::ZonedTime now = Korvex::Com::currentTime();
    return {seconds, milliseconds, now.minutesWest, now.daylightSaving};
}

// ---- File times ----------------------------------------------------------------------------------

constexpr std::uint64_t kTicksOfSecond = 10'000'000;
constexpr std::uint64_t kTicksOfMillisecond = 10'000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
constexpr std::uint16_t kLastMillisecond = 999;

// ---- Text out ------------------------------------------------------------------------------------

OpxString dateText(const CalendarTime& t) {
    return paddedText(t.year, 4) + OLECHAR('-') + paddedText(t.month, 2) + OLECHAR('-') + paddedText(t.day, 2);
}

OpxString timeText(const CalendarTime& t, std::uint16_t milliseconds) {
    return paddedText(t.hour, 2) + OLECHAR(':') + paddedText(t.minute, 2) + OLECHAR(':') + paddedText(t.second, 2) +
           OLECHAR('.') + paddedText(milliseconds, 3);
}

// Whole hours only: a zone with a half-hour offset is shown without the half hour.
OpxString zoneText(const OpxDate& date) {
    const int hours = -(date.timezone() / 60) + (date.dstflag() != 0 ? 1 : 0);
    return (hours < 0 ? OLESTR("-") : OLESTR("+")) + paddedText(std::abs(hours), 2) + OLESTR(":00");
}

// ---- Text in -------------------------------------------------------------------------------------

// Reads ISO 8601 text by position.
class IsoReader {
public:
    explicit IsoReader(OpxStringView text) : text_(text) {
        if (text_.size() < kShortest) throwInvalidDate();
    }

    CalendarTime calendarTime() const {
        const CalendarTime t{datePart(0, 4),  datePart(5, 2),  datePart(8, 2),
                             timePart(11, 2), timePart(14, 2), timePart(17, 2)};
        if (!isCalendarTime(t)) throwInvalidDate();
        return t;
    }

    std::uint16_t milliseconds() const {
        const std::size_t count = std::min<std::size_t>(fractionLength(), 3);
        return static_cast<std::uint16_t>(parseInt32(text_.substr(kFraction + 1, count)).value);
    }

    // Seconds east of UTC.
    std::int64_t zoneOffset() const {
        const std::size_t designator = hasFraction() ? kFraction + 1 + fractionLength() : kFraction;
        if (designator >= text_.size()) throwInvalidDate();
        const OLECHAR sign = text_[designator];
        if (sign == OLECHAR('Z')) return 0;
        if (sign != OLECHAR('+') && sign != OLECHAR('-')) throwInvalidDate();

        const bool withMinutes = designator + 3 < text_.size() && text_[designator + 3] == OLECHAR(':');
        const std::int64_t minutes = twoDigits(designator + 1) * 60 + (withMinutes ? twoDigits(designator + 4) : 0);
        return (sign == OLECHAR('-') ? -minutes : minutes) * 60;
    }

private:
    static constexpr std::size_t kShortest = 20;
    static constexpr std::size_t kFraction = 19;  // where "." or the zone designator stands

    int datePart(std::size_t position, std::size_t length) const {
        const int value = parseInt32(text_.substr(position, length)).value;
        if (value == 0) throwInvalidDate();
        return value;
    }

    int timePart(std::size_t position, std::size_t length) const {
        const auto parsed = parseInt32(text_.substr(position, length));
        if (parsed.consumed == 0) throwInvalidDate();
        return parsed.value;
    }

    std::int64_t twoDigits(std::size_t position) const {
        const OpxStringView digits = text_.substr(std::min(position, text_.size()), 2);
        if (digits.size() != 2 || !isDecimalDigit(digits[0]) || !isDecimalDigit(digits[1])) throwInvalidDate();
        return parseInt32(digits).value;
    }

    bool hasFraction() const noexcept { return text_[kFraction] == OLECHAR('.'); }

    std::size_t fractionLength() const noexcept {
        if (!hasFraction()) return 0;
        std::size_t end = kFraction + 1;
        while (end < text_.size() && isDecimalDigit(text_[end])) ++end;
        return end - (kFraction + 1);
    }

    OpxStringView text_;
};

}  // namespace

OpxDate::OpxDate(std::int64_t seconds, std::uint16_t milliseconds, std::int16_t minutesWest,
                 std::int16_t daylightSaving) noexcept
    : time_(seconds), millitm_(milliseconds), timezone_(minutesWest), dstflag_(daylightSaving) {}

OpxDate OpxDate::now() {
    const Korvex::Com::ZonedTime now = Korvex::Com::currentTime();
    return {now.seconds, now.milliseconds, now.minutesWest, now.daylightSaving};
}

OpxDate OpxDate::fromOleDate(double oleDate) {
    const bool isDate = oleDate > kBeforeOleDates && oleDate < kEndOfOleDates;
    if (!isDate) throwInvalidDate();  // not-a-number too
    const double day = std::trunc(oleDate);
    // The time of day counts forward from midnight, before 1899-12-30 too.
    const double ofDay = std::floor(std::fabs(oleDate - day) * kMillisecondsOfDay + 0.5);
    const chrono::milliseconds rounded =
        chrono::days(static_cast<int>(day) - kOleDayOf1970) + chrono::milliseconds(static_cast<int>(ofDay));
    // Rounding leads into no other year than the number's.
    const chrono::milliseconds time = std::min(rounded, kLastOleTime);
    const auto whole = chrono::floor<chrono::seconds>(time);
    return withCurrentZone(whole.count(), static_cast<std::uint16_t>((time - whole).count()));
}

OpxDate OpxDate::fromFileTime(const FILETIME& fileTime) {
    const std::uint64_t ticks = (std::uint64_t{fileTime.dwHighDateTime} << 32) | fileTime.dwLowDateTime;
    if (!std::in_range<std::int64_t>(ticks)) throwInvalidDate();
    const auto seconds = static_cast<std::int64_t>(ticks / kTicksOfSecond) - kSecondsFrom1601To1970;
    return withCurrentZone(seconds, static_cast<std::uint16_t>(ticks / kTicksOfMillisecond % 1000));
}

OpxDate OpxDate::fromIsoText(OpxStringView text) {
    const IsoReader reader(text);
    const std::int64_t seconds = secondsOf(reader.calendarTime()) - reader.zoneOffset();
    requireRepresentable(seconds);
    return withCurrentZone(seconds, reader.milliseconds());
}

double OpxDate::toOleDate() const {
    const CalendarTime t = utcCalendarTime(time_);
    const std::int64_t day = time_ / kSecondsOfDay + kOleDayOf1970;
    // Added one after the other, as others do who make such dates: the last bit depends on it.
    return static_cast<double>(day) + t.hour / 24.0 + t.minute / (24.0 * 60) +
           t.second / static_cast<double>(kSecondsOfDay) + millitm_ / kMillisecondsOfDay;
}

FILETIME OpxDate::toFileTime() const {
    requireRepresentable(time_);
    if (millitm_ > kLastMillisecond) throwInvalidDate();
    const auto seconds = static_cast<std::uint64_t>(time_ + kSecondsFrom1601To1970);
    const std::uint64_t ticks = seconds * kTicksOfSecond + millitm_ * kTicksOfMillisecond;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

OpxString OpxDate::toDateTimeText(std::int32_t mode) const {
    if (mode == kUtc) {
        const CalendarTime t = utcCalendarTime(time_);
        return dateText(t) + OLECHAR('T') + timeText(t, millitm_) + OLECHAR('Z');
    }
    if (mode == kLocal) {
        const CalendarTime t = localTime(time_);
        return dateText(t) + OLECHAR('T') + timeText(t, millitm_) + zoneText(*this);
    }
    return OLESTR("YYYY-MM-DDTHH:MM:SS.mmm+00:00");
}

OpxString OpxDate::toDateText(std::int32_t mode) const {
    return mode == kUtc ? dateText(utcCalendarTime(time_)) : OpxString(OLESTR("YYYY-MM-DD"));
}

OpxString OpxDate::toTimeText(std::int32_t mode) const {
    if (mode == kUtc) return timeText(utcCalendarTime(time_), millitm_) + OLECHAR('Z');
    if (mode == kLocal) return timeText(localTime(time_), millitm_) + zoneText(*this);
    return OLESTR("HH:MM:SS.mmm+00:00");
}

}  // namespace OpxOpc
