#include <gtest/gtest.h>

#include <limits>

#include <korvex/native/OpxDecimal.h>

#include "tests/values/conversion_reason.h"

namespace OpxOpc {
namespace {

TEST(OpxDecimal, TextTreatsTheSignAsACharacter) {
    struct Case {
        std::int64_t scaled;
        const char* text;
    };
    const Case cases[] = {
        {0, "0"},         {12345, "1.2345"}, {10000, "1"},
        {15000, "1.5"},   {50, "0.005"},     {1, "0.0001"},
        {-15000, "-1.5"}, {-1234, "-.1234"}, {-5, "0.00-5"},
        {-50, "0.0-5"},   {1000000, "100"},  {std::numeric_limits<std::int64_t>::min(), "-922337203685477.5808"}};
    for (const Case& c : cases) EXPECT_EQ(toUtf8(OpxDecimal::fromScaled(c.scaled).toText()), c.text) << c.scaled;
}

TEST(OpxDecimal, AcceptsATenthOfWhatItCouldStore) {
    constexpr std::int64_t kLimit = 92233720368547;
    EXPECT_EQ(OpxDecimal::fromInt64(kLimit).scaled(), kLimit * 10000);
    EXPECT_EQ(OpxDecimal::fromInt64(-kLimit).scaled(), -kLimit * 10000);
    EXPECT_EQ(OpxDecimal::fromDouble(92233720368547.0).scaled(), 922337203685469952);  // the nearest double

    for (const std::int64_t outside : {kLimit + 1, -kLimit - 1, std::numeric_limits<std::int64_t>::max(),
                                       std::numeric_limits<std::int64_t>::min()}) {
        EXPECT_EQ(reasonOf([&] { OpxDecimal::fromInt64(outside); }), 0) << outside;
    }
    for (const double outside : {92233720368547.1, -92233720368547.1, std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(reasonOf([&] { OpxDecimal::fromDouble(outside); }), 0) << outside;
    }
}

TEST(OpxDecimal, RoundsRealsByAddingAHalfAndTruncating) {
    EXPECT_EQ(OpxDecimal::fromDouble(1.23456).scaled(), 12346);
    EXPECT_EQ(OpxDecimal::fromDouble(1.23454).scaled(), 12345);
    EXPECT_EQ(OpxDecimal::fromDouble(-1.0).scaled(), -9999);
    EXPECT_DOUBLE_EQ(OpxDecimal::fromScaled(-12345).toDouble(), -1.2345);
}

}  // namespace
}  // namespace OpxOpc
