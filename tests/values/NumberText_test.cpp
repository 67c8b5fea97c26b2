#include <gtest/gtest.h>

#include <limits>

#include "values/NumberText.h"

namespace OpxOpc {
namespace {

TEST(NumberText, RealsParseUpToTheFirstForeignCharacter) {
    struct Case {
        const OLECHAR* text;
        double value;
        std::size_t consumed;
    };
    const Case cases[] = {
        {OLESTR(""), 0, 0},         {OLESTR("-"), 0, 0},           {OLESTR("."), 0, 0},
        {OLESTR("e5"), 0, 0},       {OLESTR("1.5"), 1.5, 3},       {OLESTR("5."), 5, 2},
        {OLESTR(" \t+.5"), 0.5, 5}, {OLESTR("-1e3x"), -1000, 4},   {OLESTR("2e"), 2, 1},
        {OLESTR("2e+"), 2, 1},      {OLESTR("1E-2"), 0.01, 4},     {OLESTR("1,5"), 1, 1},
        {OLESTR("0x10"), 0, 1},     {OLESTR("inf"), 0, 0},         {OLESTR("nan"), 0, 0},
        {OLESTR("1d5"), 1, 1},      {OLESTR("4e-320"), 4e-320, 6}, {OLESTR("0e999999999999999999999"), 0, 23}};
    for (const Case& c : cases) {
        const auto parsed = parseDouble(c.text);
        EXPECT_EQ(parsed.value, c.value) << toUtf8(c.text);
        EXPECT_EQ(parsed.consumed, c.consumed) << toUtf8(c.text);
        EXPECT_FALSE(parsed.outOfRange) << toUtf8(c.text);
    }
    for (const OLECHAR* text : {OLESTR("1e309"), OLESTR("-1e309"), OLESTR("1e-400"), OLESTR("0.001e-330"),
                                OLESTR("1e99999999999999999999")}) {
        EXPECT_TRUE(parseDouble(text).outOfRange) << toUtf8(text);
    }
}

TEST(NumberText, RealsPrintAsPrintfDoesWithOneFormForTheSpecialValues) {
    struct Case {
        double value;
        int digits;
        const char* text;
    };
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
    const Case cases[] = {{0.1, 6, "0.1"},
                          {1e20, 12, "1e+20"},
                          {1e-7, 12, "1e-07"},
                          {1234567, 6, "1.23457e+06"},
                          {1.0 / 3, 12, "0.333333333333"},
                          {-2.5, 6, "-2.5"},
                          {1e300, 6, "1e+300"},
                          {kInfinity, 6, "inf"},
                          {-kInfinity, 6, "-inf"},
                          {kNotANumber, 6, "nan"},
                          {-kNotANumber, 6, "nan"}};
    for (const Case& c : cases) EXPECT_EQ(toUtf8(realText(c.value, c.digits)), c.text);
}

}  // namespace
}  // namespace OpxOpc
