#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <limits>
#include <string>
#include <type_traits>

#include "com/com.h"
#include "tests/com/VariantText.h"
#include "tests/support/rows.h"

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

SYSTEMTIME fieldsOf(const std::string& text) {
    int fields[7] = {};
    std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d.%d", &fields[0], &fields[1], &fields[2], &fields[3], &fields[4],
                &fields[5], &fields[6]);
    SYSTEMTIME time = {};
    WORD* const targets[] = {&time.wYear,   &time.wMonth,  &time.wDay,         &time.wHour,
                             &time.wMinute, &time.wSecond, &time.wMilliseconds};
    for (int i = 0; i < 7; ++i) *targets[i] = static_cast<WORD>(fields[i]);
    return time;
}

FILETIME fileTime(std::uint64_t ticks) {
    return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::uint64_t ticksOf(const FILETIME& time) {
    return static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

// What a date or a number of ticks becomes, or the fields, with "-" for what is refused and leaves its target.
std::string becomes(const std::string& number, const std::string& way, const std::string& fields) {
    const bool isFile = way.rfind("filetime", 0) == 0;
    if (way.find("to") != way.npos) {
        const FILETIME file = fileTime(isFile ? std::stoull(number) : 0);
        SYSTEMTIME time = fieldsOf("1-02-03");
        const bool done =
            isFile ? FileTimeToSystemTime(&file, &time) : VariantTimeToSystemTime(std::stod(number), &time);
        EXPECT_TRUE(done || text(time) == "1-02-03 00:00:00.000");
        return done ? text(time) : "-";
    }
    SYSTEMTIME time = fieldsOf(fields);
    double date = -7;
    FILETIME file = fileTime(7);
    const bool done = isFile ? SystemTimeToFileTime(&time, &file) : SystemTimeToVariantTime(&time, &date);
    EXPECT_TRUE(done || (date == -7 && ticksOf(file) == 7));
    if (!done) return "-";
    return isFile ? std::to_string(ticksOf(file)) : shortest(date);
}

}  // namespace

TEST(AutomationTime, DatesAndTicksBecomeFieldsAndFieldsBecomeThem) {
    for (const auto& row : Korvex::Testing::rowsOf("com/times.txt", 3)) {
        const std::string& expected = row[1].find("to") != std::string::npos ? row[2] : row[0];
        EXPECT_THAT(becomes(row[0], row[1], row[2]), Agrees(expected)) << row[0] << " " << row[1] << " " << row[2];
    }
    SYSTEMTIME saturday = {};
    ASSERT_TRUE(VariantTimeToSystemTime(39508, &saturday));
    EXPECT_EQ(saturday.wDayOfWeek, 6);
}

TEST(AutomationTime, TheRuntimesDifferOnlyWhereOursIsMeantTo) {
    SYSTEMTIME time = {};
    const bool takesNotANumber = VariantTimeToSystemTime(std::numeric_limits<double>::quiet_NaN(), &time) != FALSE;
    EXPECT_EQ(takesNotANumber, !kPortable) << "no day is not a number";
    FILETIME file = {};
    const SYSTEMTIME noSuchDay = fieldsOf("2007-02-29");
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
