#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include <korvex/opc_da_client/Decimal.h>

#include "tests/support/rows.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

constexpr const char* kLargest = "79228162514264337593543950335";

std::string asText(const Decimal& decimal) {
    return toUtf8(decimal.toText());
}

TEST(Decimal, TextKeepsTheScaleAndDigitsThatDoNotFitAreRoundedHalfToEven) {
    for (const auto& row : Testing::rowsOf("values/decimal_texts.txt", 3)) {
        const Decimal decimal =
            row[0] == "double" ? Decimal::fromDouble(std::stod(row[1])) : Decimal::fromText(row[1].c_str());
        EXPECT_EQ(decimal, Decimal::fromText(row[2].c_str())) << row[1];
        EXPECT_LE(decimal.scale(), Decimal::kMaxScale);
        EXPECT_TRUE(row[0] == "rounded" || asText(decimal) == row[2]) << row[1];
    }
}

TEST(Decimal, RefusesWhatIsNoNumberOrTooLarge) {
    for (const char* text : {"", "-", ".", "1,5", " 1", "1 ", "1.2.3", "e5", "1e", "1e+-2", "--1", "0x1", "nan"}) {
        EXPECT_THROW(Decimal::fromText(text), std::invalid_argument) << text;
    }
    EXPECT_THROW(Decimal::fromText(nullptr), std::invalid_argument);
    for (const char* text :
         {"79228162514264337593543950336", "79228162514264337593543950335.5", "1e29", "-1e2000000000"}) {
        EXPECT_THROW(Decimal::fromText(text), std::out_of_range) << text;
    }
    EXPECT_THROW(Decimal::fromParts(false, 0, 1, 29), std::out_of_range);
}

TEST(Decimal, NumbersConvertBothWays) {
    EXPECT_EQ(asText(Decimal(std::numeric_limits<std::int64_t>::min())), "-9223372036854775808");
    EXPECT_EQ(asText(Decimal(std::numeric_limits<std::uint64_t>::max())), "18446744073709551615");
    for (const double none : {8e28, -1e300, std::nan(""), std::numeric_limits<double>::infinity()}) {
        EXPECT_THROW(Decimal::fromDouble(none), std::out_of_range) << none;
    }
    EXPECT_EQ(Decimal::fromText("-12345.678").toDouble(), -12345.678);
    EXPECT_EQ(Decimal::fromText(kLargest).toDouble(), 79228162514264337593543950335.0);
}

TEST(Decimal, ComparesByValueWhateverTheScale) {
    const char* const ascending[] = {"-79228162514264337593543950335", "-1.5", "-1.49", "-1e-28", "0", "1e-28",
                                     "1.4999999999999999999999999999", "1.5",  "2",     kLargest};
    for (std::size_t i = 0; i + 1 < std::size(ascending); ++i) {
        EXPECT_LT(Decimal::fromText(ascending[i]), Decimal::fromText(ascending[i + 1])) << ascending[i];
    }
    EXPECT_EQ(Decimal::fromText("1.5"), Decimal::fromText("1.500"));
    EXPECT_EQ(Decimal(), Decimal::fromParts(true, 0, 0, 5));
    EXPECT_EQ(asText(Decimal::fromText("-100.500").normalised()), "-100.5");
    EXPECT_EQ(asText(Decimal(100).normalised()), "100");
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
