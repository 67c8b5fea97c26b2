#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <string>

#include <korvex/native/OpxDate.h>

#include "com/com.h"
#include "tests/support/rows.h"
#include "tests/values/conversion_reason.h"

namespace OpxOpc {
namespace {

constexpr std::int64_t kMarch2008 = 1204374896;  // 2008-03-01 12:34:56 UTC
constexpr std::int64_t kLastSecond = 32535215999;
constexpr std::int64_t kTicksTo1970 = 116444736000000000;

FILETIME fileTime(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

std::uint64_t ticksOf(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

TEST(OpxDate, PrintsEachFormInUtc) {
    const OpxDate date = OpxDate::fromFileTime(fileTime(kTicksTo1970 + kMarch2008 * 10000000 + 7890000));
    EXPECT_EQ(toUtf8(date.toDateTimeText(OpxDate::kUtc)), "2008-03-01T12:34:56.789Z");
    EXPECT_EQ(toUtf8(date.toDateText(OpxDate::kUtc)), "2008-03-01");
    EXPECT_EQ(toUtf8(date.toTimeText(OpxDate::kUtc)), "12:34:56.789Z");
    EXPECT_EQ(toUtf8(OpxDate().toDateTimeText(OpxDate::kUtc)), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(toUtf8(OpxDate(kLastSecond, 999).toDateTimeText(OpxDate::kUtc)), "3000-12-31T23:59:59.999Z");
}

TEST(OpxDate, LocalTextTakesItsOffsetFromTheStoredZone) {
    struct Case {
        std::int16_t minutesWest, daylightSaving;
        const char* suffix;
    };
    const Case cases[] = {{-60, 1, "+02:00"}, {300, 0, "-05:00"}, {300, 1, "-04:00"}, {-330, 0, "+05:00"},
                          {210, 0, "-03:00"}, {0, 0, "+00:00"},   {60, 1, "+00:00"}};
    for (const Case& c : cases) {
        const OpxDate date(kMarch2008, 7, c.minutesWest, c.daylightSaving);
        const std::string full = toUtf8(date.toDateTimeText(OpxDate::kLocal));
        const std::string time = toUtf8(date.toTimeText(OpxDate::kLocal));
        EXPECT_EQ(full.size(), 29u);
        EXPECT_EQ(full.substr(19), std::string(".007") + c.suffix);
        EXPECT_EQ(time, full.substr(11));
    }
}

TEST(OpxDate, AnotherModeGivesTheTemplate) {
    const OpxDate unprintable(-1, 0);
    EXPECT_EQ(toUtf8(unprintable.toDateTimeText(0)), "YYYY-MM-DDTHH:MM:SS.mmm+00:00");
    EXPECT_EQ(toUtf8(unprintable.toDateText(OpxDate::kLocal)), "YYYY-MM-DD");
    EXPECT_EQ(toUtf8(unprintable.toTimeText(3)), "HH:MM:SS.mmm+00:00");
}

TEST(OpxDate, ReadsIsoTextByPosition) {
    for (const auto& row : Korvex::Testing::rowsOf("values/iso_dates.txt", 2)) {
        std::string read = "none";
        const auto reason = reasonOf([&] {
            const OpxDate date = OpxDate::fromIsoText(fromUtf8(row[0]));
            read = std::to_string(date.time()) + "." + std::to_string(date.millitm());
        });
        EXPECT_EQ(read, row[1]) << row[0];
        EXPECT_EQ(reason.value_or(3), 3) << row[0];
    }
    EXPECT_EQ(reasonOf([] { OpxDate::fromIsoText(OLESTR("")); }), 3);
    EXPECT_EQ(reasonOf([] { OpxDate::fromIsoText(OLESTR("2008-03-01T12:34:56 ")); }), 3);
}

TEST(OpxDate, FileTimesKeepMillisecondsAndTheYearsBefore1970) {
    const std::uint64_t ticks = kTicksTo1970 + kMarch2008 * 10000000 + 7899999;
    EXPECT_EQ(OpxDate::fromFileTime(fileTime(ticks)).millitm(), 789);
    EXPECT_EQ(ticksOf(OpxDate(kMarch2008, 789).toFileTime()), ticks - 9999);
    EXPECT_EQ(OpxDate::fromFileTime(fileTime(0)).time(), -11644473600);
    EXPECT_EQ(reasonOf([] { OpxDate::fromFileTime(fileTime(0x8000000000000000)); }), 3);
}

TEST(OpxDate, OleDatesKeepMillisecondsBothWays) {
    for (const std::int64_t seconds : {std::int64_t{0}, std::int64_t{1}, kMarch2008, kLastSecond}) {
        for (const auto milliseconds : std::initializer_list<std::uint16_t>{0, 1, 789, 999}) {
            const OpxDate back = OpxDate::fromOleDate(OpxDate(seconds, milliseconds).toOleDate());
            EXPECT_EQ(back.time(), seconds);
            EXPECT_EQ(back.millitm(), milliseconds);
        }
    }
    EXPECT_EQ(OpxDate(0, 0).toOleDate(), 25569.0);
    EXPECT_EQ(OpxDate(kMarch2008, 0).toOleDate(), 39508.524259259255);  // as the platforms make it
}

TEST(OpxDate, OleDatesMayBeAnyOfTheYears100To9999) {
    constexpr std::int64_t kDay = 86'400'000;
    const std::pair<double, std::int64_t> cases[] = {// in milliseconds since 1899-12-30
                                                     {0, 0},
                                                     {-0.25, kDay / 4},
                                                     {-1.25, -kDay + kDay / 4},
                                                     {-109205.0, -109205 * kDay},
                                                     {-657434.0, -657434 * kDay},
                                                     {2958465.5, 2958465 * kDay + kDay / 2},
                                                     {39508.99999999999, 39509 * kDay},
                                                     {2958465.9999999995, 2958466 * kDay - 1}};
    for (const auto& [oleDate, milliseconds] : cases) {
        const OpxDate date = OpxDate::fromOleDate(oleDate);
        EXPECT_EQ(date.time() * 1000 + date.millitm(), milliseconds - 25569 * kDay) << oleDate;
    }
    for (const double none : {-657435.0, 2958466.0, 1e300, std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(reasonOf([&] { OpxDate::fromOleDate(none); }), 3) << none;
    }
}

TEST(OpxDate, WhatCannotBeRepresentedIsRefusedByEveryConversion) {
    for (const OpxDate& date : {OpxDate(-1, 0), OpxDate(kLastSecond + 1, 0)}) {
        EXPECT_EQ(reasonOf([&] { date.toOleDate(); }), 3);
        EXPECT_EQ(reasonOf([&] { date.toFileTime(); }), 3);
        EXPECT_EQ(reasonOf([&] { date.toDateTimeText(OpxDate::kUtc); }), 3);
        EXPECT_EQ(reasonOf([&] { date.toDateTimeText(OpxDate::kLocal); }), 3);
        EXPECT_EQ(reasonOf([&] { date.toDateText(OpxDate::kUtc); }), 3);
        EXPECT_EQ(reasonOf([&] { date.toTimeText(OpxDate::kLocal); }), 3);
    }
}

TEST(OpxDate, NowIsTheSystemClocksTimeAndItsZoneIsThatOfConvertedDates) {
    const std::int64_t before =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    const OpxDate now = OpxDate::now();
    EXPECT_NEAR(static_cast<double>(now.time()), static_cast<double>(before), 2);
    EXPECT_LT(now.millitm(), 1000);
    for (const OpxDate& converted : {OpxDate::fromOleDate(30000), OpxDate::fromFileTime(fileTime(kTicksTo1970)),
                                     OpxDate::fromIsoText(OLESTR("2008-07-01T12:34:56Z"))}) {
        EXPECT_EQ(converted.timezone(), now.timezone());
        EXPECT_EQ(converted.dstflag(), now.dstflag());
    }
}

}  // namespace
}  // namespace OpxOpc
