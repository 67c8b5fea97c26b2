#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include <korvex/opc_da_client/Decimal.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

constexpr const char* kLargest = "79228162514264337593543950335";

std::string asText(const Decimal& decimal) {
    return toUtf8(decimal.toText());
}

TEST(Decimal, TextKeepsTheScale) {
    const std::pair<const char*, const char*> cases[] = {
        {"0", "0"},         {"-0", "0"},     {"1.50", "1.50"},     {"-12.5", "-12.5"}, {"+7", "7"},
        {".5", "0.5"},      {"5.", "5"},     {"0012.3", "12.3"},   {"0.005", "0.005"}, {"1.5e3", "1500"},
        {"15e-3", "0.015"}, {"1E+2", "100"}, {kLargest, kLargest},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(asText(Decimal::fromText(text)), expected) << text;
}

TEST(Decimal, DigitsThatDoNotFitAreRoundedHalfToEven) {
    const std::pair<const char*, const char*> cases[] = {
        {"0.12345678901234567890123456785", "0.1234567890123456789012345678"},
        {"0.12345678901234567890123456775", "0.1234567890123456789012345678"},
        {"0.123456789012345678901234567750001", "0.1234567890123456789012345678"},
        {"0.123456789012345678901234567850001", "0.1234567890123456789012345679"},
        {"79228162514264337593543950334.5", "79228162514264337593543950334"},
        {"7.9228162514264337593543950335", "7.9228162514264337593543950335"},
        {"7.92281625142643375935439503355", "7.922816251426433759354395034"},
        {"1e-28", "0.0000000000000000000000000001"},
        {"1e-30", "0.0000000000000000000000000000"},
        {"1e-2000000000", "0"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Decimal::fromText(text), Decimal::fromText(expected)) << text;
        EXPECT_LE(Decimal::fromText(text).scale(), Decimal::kMaxScale);
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
    const std::pair<double, const char*> cases[] = {{0.1, "0.1"},
                                                    {-1.5, "-1.5"},
                                                    {1.0 / 3, "0.333333333333333"},
                                                    {1e28, "10000000000000000000000000000"},
                                                    {123456789012345678.0, "123456789012346000"},
                                                    {1e-40, "0"},
                                                    {-0.0, "0"}};
    for (const auto& [number, text] : cases) EXPECT_EQ(asText(Decimal::fromDouble(number)), text);
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
