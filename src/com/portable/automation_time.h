// OLE automation dates: days since 30 December 1899 with the time of day as the fraction. Before that
// day the fraction still counts forward from midnight, so -1.25 is 29 December 1899, 6:00.
#pragma once

#include <chrono>

namespace Korvex::Com {

inline constexpr int kSecondsPerDay = 86400;
inline constexpr std::chrono::sys_days kAutomationEpoch =
    std::chrono::year(1899) / std::chrono::December / std::chrono::day(30);

// True from 1 January 100 to 31 December 9999; false for a NaN.
constexpr bool isAutomationDate(double date) noexcept {
    return date > -657435.0 && date < 2958466.0;
}

struct TimeOfDay {
    int hour = 0;
    int minute = 0;
    int second = 0;
};

double automationDate(std::chrono::sys_days day, TimeOfDay time) noexcept;

// A year of at most two digits is meant as one from 1950 to 2049.
constexpr int fullYear(int year) noexcept {
    return year >= 100 ? year : year >= 50 ? 1900 + year : 2000 + year;
}

}  // namespace Korvex::Com
