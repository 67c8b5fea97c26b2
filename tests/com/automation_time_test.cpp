#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <limits>
#include <string>
#include <type_traits>

#include "com/com.h"
#include "tests/com/VariantText.h"

namespace {

using Korvex::Testing::Agrees;
using Korvex::Testing::shortest;

// Where text has a character type of its own, the runtime is this project's.
constexpr bool kPortable = std::is_same_v<OLECHAR, char16_t>;

std::string text(const SYSTEMTIME& time) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%d-%02d-%02d %02d:%02d:%02d.%03d", time.wYear, time.wMonth, time.wDay,
                  time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
    return buffer;
}

SYSTEMTIME systemTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int millis = 0) {
    SYSTEMTIME time = {};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    time.wHour = static_cast<WORD>(hour);
    time.wMinute = static_cast<WORD>(minute);
    time.wSecond = static_cast<WORD>(second);
    time.wMilliseconds = static_cast<WORD>(millis);
    return time;
}

FILETIME fileTime(std::uint64_t ticks) {
    return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::uint64_t ticksOf(const FILETIME& time) {
    return static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

}  // namespace

TEST(AutomationTime, DateToFieldsRoundsToTheSecondAndCarries) {
    struct {
        double date;
        const char* fields;
    } const cases[] = {
        {0, "1899-12-30 00:00:00.000"},
        {0.5, "1899-12-30 12:00:00.000"},
        {-0.25, "1899-12-30 06:00:00.000"},
        {-1.25, "1899-12-29 06:00:00.000"},
        {39508.524259259, "2008-03-01 12:34:56.000"},
        {39508.524264, "2008-03-01 12:34:56.000"},
        {39508.524266, "2008-03-01 12:34:57.000"},
        {39508.9999999, "2008-03-02 00:00:00.000"},
        {36525.9999999, "2000-01-01 00:00:00.000"},
        {60, "1900-02-28 00:00:00.000"},
        {-657434.5, "100-01-01 12:00:00.000"},
        {2958465.999, "9999-12-31 23:58:34.000"},
    };
    for (const auto& row : cases) {
        SYSTEMTIME time = {};
        ASSERT_TRUE(VariantTimeToSystemTime(row.date, &time)) << row.date;
        EXPECT_EQ(text(time), row.fields) << row.date;
    }
    SYSTEMTIME saturday = {};
    ASSERT_TRUE(VariantTimeToSystemTime(39508, &saturday));
    EXPECT_EQ(saturday.wDayOfWeek, 6);
}

TEST(AutomationTime, DatesOutsideTheYears100To9999AreRefusedAndLeaveTheFields) {
    for (const double date : {-657435.0, 2958466.0, 1e10, -1e10, std::numeric_limits<double>::infinity()}) {
        SYSTEMTIME time = systemTime(1, 2, 3);
        EXPECT_FALSE(VariantTimeToSystemTime(date, &time)) << date;
        EXPECT_EQ(text(time), "1-02-03 00:00:00.000");
    }
}

TEST(AutomationTime, FieldsToDateDropMillisecondsAndCarry) {
    struct {
        SYSTEMTIME time;
        double date;
    } cases[] = {
        {systemTime(2008, 3, 1, 12, 34, 56, 789), 39508.524259259255},
        {systemTime(1899, 12, 30), 0},
        {systemTime(1899, 12, 30, 6), 0.25},
        {systemTime(1899, 12, 29, 18), -1.75},
        {systemTime(100, 1, 1), -657434},
        {systemTime(9999, 12, 31, 23, 59, 59, 999), 2958465.999988426},
        {systemTime(1000, 1, 1, 1, 1, 1), -328716.04237268522},
        {systemTime(49, 1, 1), 54424},
        {systemTime(50, 1, 1), 18264},
        {systemTime(2008, 2, 30), 39508},
        {systemTime(2008, 0, 1), 39417},
        {systemTime(2008, 1, 0), 39447},
        {systemTime(2008, 1, 1, 25), 39449.041666666664},
    };
    for (auto& row : cases) {
        double date = -7;
        ASSERT_TRUE(SystemTimeToVariantTime(&row.time, &date)) << text(row.time);
        EXPECT_THAT(shortest(date), Agrees(shortest(row.date))) << text(row.time);
    }
    for (SYSTEMTIME time : {systemTime(10000, 1, 1), systemTime(2008, 13, 1), systemTime(2008, 2, 32)}) {
        double date = -7;
        EXPECT_FALSE(SystemTimeToVariantTime(&time, &date)) << text(time);
        EXPECT_EQ(date, -7);
    }
}

TEST(FileTime, ToFieldsTruncatesToMilliseconds) {
    struct {
        std::uint64_t ticks;
        const char* fields;
    } const cases[] = {
        {0, "1601-01-01 00:00:00.000"},
        {9999, "1601-01-01 00:00:00.000"},
        {10000, "1601-01-01 00:00:00.001"},
        {116444736000000000, "1970-01-01 00:00:00.000"},
        {128488484967899999, "2008-03-01 12:34:56.789"},
        {2650467743999999999, "9999-12-31 23:59:59.999"},
        {0x7FFFFFFFFFFFFFFF, "30828-09-14 02:48:05.477"},
    };
    for (const auto& row : cases) {
        const FILETIME file = fileTime(row.ticks);
        SYSTEMTIME time = {};
        ASSERT_TRUE(FileTimeToSystemTime(&file, &time)) << row.ticks;
        EXPECT_EQ(text(time), row.fields) << row.ticks;
    }
    for (const std::uint64_t ticks : {0x8000000000000000u, 0xFFFFFFFFFFFFFFFFu}) {
        const FILETIME file = fileTime(ticks);
        SYSTEMTIME time = systemTime(1, 2, 3);
        EXPECT_FALSE(FileTimeToSystemTime(&file, &time)) << ticks;
        EXPECT_EQ(time.wDay, 3);
    }
}

TEST(FileTime, FromFieldsTakesValidTimesOfItsYearsOnly) {
    struct {
        SYSTEMTIME time;
        std::uint64_t ticks;
    } const valid[] = {
        {systemTime(1601, 1, 1), 0},
        {systemTime(1970, 1, 1, 0, 0, 0, 1), 116444736000010000},
        {systemTime(2000, 2, 29, 1, 2, 3, 4), 125962597230040000},
        {systemTime(2008, 3, 1, 12, 34, 56, 789), 128488484967890000},
        {systemTime(30827, 12, 31), 9223149024000000000},
    };
    for (const auto& row : valid) {
        FILETIME file = fileTime(7);
        ASSERT_TRUE(SystemTimeToFileTime(&row.time, &file)) << text(row.time);
        EXPECT_EQ(ticksOf(file), row.ticks) << text(row.time);
    }
    const SYSTEMTIME invalid[] = {
        systemTime(1600, 12, 31, 23, 59, 59, 999),
        systemTime(2008, 2, 30),
        systemTime(2008, 13, 1),
        systemTime(2008, 0, 1),
        systemTime(2008, 1, 0),
        systemTime(2008, 4, 31),
        systemTime(2008, 1, 1, 24),
        systemTime(2008, 1, 1, 0, 60),
        systemTime(2008, 1, 1, 0, 0, 60),
        systemTime(2008, 1, 1, 0, 0, 0, 1000),
        systemTime(65535, 1, 1),
    };
    for (const SYSTEMTIME& time : invalid) {
        FILETIME file = fileTime(7);
        EXPECT_FALSE(SystemTimeToFileTime(&time, &file)) << text(time);
        EXPECT_EQ(ticksOf(file), 7u);
    }
}

TEST(AutomationTime, TheRuntimesDifferOnlyWhereOursIsMeantTo) {
    SYSTEMTIME time = {};
    const bool takesNotANumber = VariantTimeToSystemTime(std::numeric_limits<double>::quiet_NaN(), &time) != FALSE;
    EXPECT_EQ(takesNotANumber, !kPortable) << "no day is not a number";
    FILETIME file = {};
    const SYSTEMTIME noSuchDay = systemTime(2007, 2, 29);
    EXPECT_EQ(SystemTimeToFileTime(&noSuchDay, &file) != FALSE, !kPortable) << "29 February only in leap years";
}

TEST(FileTime, NowIsTheSystemClocksTime) {
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr std::int64_t kTicksTo1970 = 116444736000000000;
    const auto clock = [] {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        return static_cast<std::uint64_t>(std::chrono::duration_cast<Ticks>(now).count() + kTicksTo1970);
    };
    constexpr std::uint64_t kClockStep = 500'000;
    const std::uint64_t before = clock();
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    EXPECT_GE(ticksOf(now) + kClockStep, before);
    EXPECT_LE(ticksOf(now), clock() + kClockStep);
}
