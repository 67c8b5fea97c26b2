#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include <korvex/opc_da_client/DateTime.h>

#include "tests/support/rows.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

constexpr std::int64_t kTicksOfDay = 864'000'000'000;

TEST(DateTime, CountsFromTheYearOne) {
    EXPECT_EQ(DateTime().ticks(), 0);
    EXPECT_EQ(toUtf8(DateTime().toText()), "0001-01-01T00:00:00.000Z");
    EXPECT_EQ(toUtf8(DateTime(DateTime::kMaxTicks).toText()), "9999-12-31T23:59:59.9999999Z");
    EXPECT_THROW(DateTime(-1), std::out_of_range);
    EXPECT_THROW(DateTime(DateTime::kMaxTicks + 1), std::out_of_range);
}

TEST(DateTime, TalksToTheSystemClockAndFileTimes) {
    using namespace std::chrono;
    const auto march = sys_days(year(2008) / 3 / 1) + 12h + 34min + 56s + 789ms;
    const DateTime time = march;
    EXPECT_EQ(toUtf8(time.toText()), "2008-03-01T12:34:56.789Z");
    EXPECT_EQ(time_point_cast<milliseconds>(time.toSystemTime()), march);
    EXPECT_EQ(DateTime::fromFileTimeTicks(time.toFileTimeTicks()), time);
    EXPECT_EQ(DateTime::fromFileTimeTicks(116'444'736'000'000'000), DateTime(sys_days(year(1970) / 1 / 1)));
    EXPECT_EQ(toUtf8(DateTime::fromFileTimeTicks(0).toText()), "1601-01-01T00:00:00.000Z");
    EXPECT_EQ(toUtf8(DateTime::fromFileTimeTicks(1).toText()), "1601-01-01T00:00:00.0000001Z");
    EXPECT_THROW(DateTime::fromFileTimeTicks(-1), std::out_of_range);
    EXPECT_THROW(DateTime::fromFileTimeTicks(std::numeric_limits<std::int64_t>::max()), std::out_of_range);
    EXPECT_THROW(DateTime().toFileTimeTicks(), std::out_of_range);
    EXPECT_LT(DateTime(sys_days(year(2024) / 1 / 1)), DateTime::now());
}

TEST(DateTime, OleDatesBeforeTheirEpochCountTheirTimeOfDayForwards) {
    for (const auto& row : Testing::rowsOf("values/ole_dates.txt", 3)) {
        const double oleDate = std::stod(row[1]);
        const DateTime time = DateTime::fromOleDate(oleDate);
        EXPECT_EQ(toUtf8(time.toText()), row[2]);
        EXPECT_TRUE(row[0] == "rounded" || time.toOleDate() == oleDate) << row[1];
    }
    for (const double none : {-657435.5, -657435.0, 2958466.0, 1e300, std::nan("")}) {
        EXPECT_THROW(DateTime::fromOleDate(none), std::out_of_range) << none;
    }
}

TEST(DateTime, ATimeWithoutADateIsOleDayZero) {
    EXPECT_EQ(DateTime().toOleDate(), 0);
    EXPECT_EQ(DateTime(kTicksOfDay / 4).toOleDate(), 0.25);
    EXPECT_THROW(DateTime(kTicksOfDay).toOleDate(), std::out_of_range);
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
