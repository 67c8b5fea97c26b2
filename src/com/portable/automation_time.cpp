#include "com/portable/automation_time.h"

#include <cmath>
#include <limits>

#include "com/portable/com_portable.h"

using namespace Korvex::Com;
namespace chrono = std::chrono;

namespace {

using Ticks = chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

constexpr chrono::sys_days kFileTimeEpoch = chrono::year(1601) / chrono::January / chrono::day(1);
constexpr int kLastFileTimeYear = 30827;

// The fields of a point in time that is `timeOfDay` after midnight of `day`.
SYSTEMTIME toSystemTime(chrono::sys_days day, chrono::milliseconds timeOfDay) {
    const chrono::year_month_day date(day);
    const chrono::hh_mm_ss time(timeOfDay);
    SYSTEMTIME result;
    result.wYear = static_cast<WORD>(static_cast<int>(date.year()));
    result.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
    result.wDayOfWeek = static_cast<WORD>(chrono::weekday(day).c_encoding());
    result.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
    result.wHour = static_cast<WORD>(time.hours().count());
    result.wMinute = static_cast<WORD>(time.minutes().count());
    result.wSecond = static_cast<WORD>(time.seconds().count());
    result.wMilliseconds = static_cast<WORD>(time.subseconds().count());
    return result;
}

bool isValidTimeOfDay(const SYSTEMTIME& time) {
    return time.wHour < 24 && time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

}  // namespace

namespace Korvex::Com {

double automationDate(chrono::sys_days day, TimeOfDay time) noexcept {
    const auto whole = static_cast<double>((day - kAutomationEpoch).count());
    const double sign = whole < 0 ? -1 : 1;
    // Added one after the other, as others do who make such dates: the last bit depends on it.
    return whole + sign * time.hour / 24 + sign * time.minute / (24 * 60) + sign * time.second / kSecondsPerDay;
}

}  // namespace Korvex::Com

INT VariantTimeToSystemTime(DOUBLE vtime, SYSTEMTIME* lpSystemTime) {
    if (!lpSystemTime || !isAutomationDate(vtime)) return FALSE;
    const double whole = std::trunc(vtime);
    const double seconds = std::floor(std::fabs(vtime - whole) * kSecondsPerDay + 0.5);
    auto day = kAutomationEpoch + chrono::days(static_cast<int>(whole));
    auto timeOfDay = chrono::seconds(static_cast<int>(seconds));
    if (timeOfDay >= chrono::days(1)) {
        day += chrono::days(1);
        timeOfDay -= chrono::days(1);
    }
    *lpSystemTime = toSystemTime(day, timeOfDay);
    return TRUE;
}

INT SystemTimeToVariantTime(SYSTEMTIME* lpSystemTime, DOUBLE* pvtime) {
    if (!lpSystemTime || !pvtime) return FALSE;
    const SYSTEMTIME& time = *lpSystemTime;
    if (time.wMonth > 12 || time.wDay > 31 || time.wYear > 9999) return FALSE;

    // Month 0, day 0, 31 April or hour 24 are the neighbouring day, not an error.
    const chrono::sys_days firstOfYear = chrono::year(fullYear(time.wYear)) / chrono::January / chrono::day(1);
    const chrono::year_month_day firstOfMonth =
        chrono::year_month_day(firstOfYear) + chrono::months(static_cast<int>(time.wMonth) - 1);
    const auto day = chrono::sys_days(firstOfMonth) + chrono::days(static_cast<int>(time.wDay) - 1);
    const auto timeOfDay = chrono::hours(time.wHour) + chrono::minutes(time.wMinute) + chrono::seconds(time.wSecond);
    const auto wholeDays = chrono::floor<chrono::days>(timeOfDay);
    const chrono::hh_mm_ss rest(timeOfDay - wholeDays);
    *pvtime = automationDate(day + wholeDays,
                             {static_cast<int>(rest.hours().count()), static_cast<int>(rest.minutes().count()),
                              static_cast<int>(rest.seconds().count())});
    return TRUE;
}

BOOL FileTimeToSystemTime(const FILETIME* lpFileTime, SYSTEMTIME* lpSystemTime) {
    if (!lpFileTime || !lpSystemTime) return FALSE;
    const auto count = static_cast<std::uint64_t>(lpFileTime->dwHighDateTime) << 32 | lpFileTime->dwLowDateTime;
    if (count > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return FALSE;
    const Ticks ticks(static_cast<std::int64_t>(count));
    const auto days = chrono::floor<chrono::days>(ticks);
    *lpSystemTime = toSystemTime(kFileTimeEpoch + days, chrono::floor<chrono::milliseconds>(ticks - days));
    return TRUE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, FILETIME* lpFileTime) {
    if (!lpSystemTime || !lpFileTime) return FALSE;
    const SYSTEMTIME& time = *lpSystemTime;
    if (time.wYear < 1601 || time.wYear > kLastFileTimeYear || !isValidTimeOfDay(time)) return FALSE;
    const chrono::year_month_day date(chrono::year(time.wYear), chrono::month(time.wMonth), chrono::day(time.wDay));
    if (!date.ok()) return FALSE;
    const Ticks ticks = chrono::sys_days(date) - kFileTimeEpoch + chrono::hours(time.wHour) +
                        chrono::minutes(time.wMinute) + chrono::seconds(time.wSecond) +
                        chrono::milliseconds(time.wMilliseconds);
    const auto count = static_cast<std::uint64_t>(ticks.count());
    lpFileTime->dwLowDateTime = static_cast<DWORD>(count);
    lpFileTime->dwHighDateTime = static_cast<DWORD>(count >> 32);
    return TRUE;
}

void GetSystemTimeAsFileTime(FILETIME* lpSystemTimeAsFileTime) {
    const auto now = chrono::time_point_cast<Ticks>(chrono::system_clock::now());
    const auto count = static_cast<std::uint64_t>((now - kFileTimeEpoch).count());
    lpSystemTimeAsFileTime->dwLowDateTime = static_cast<DWORD>(count);
    lpSystemTimeAsFileTime->dwHighDateTime = static_cast<DWORD>(count >> 32);
}
