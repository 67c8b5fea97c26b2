#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/values/conversion_reason.h"

namespace OpxOpc {
namespace {

using Opx::VType;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

template <typename T>
OpxVariant of(T value) {
    return OpxVariant::of(value);
}

// What a value becomes under a tag: its text, or the reason why it does not become anything.
std::string converted(const OpxVariant& value, VType target) {
    OpxVariant copy = value;
    try {
        copy.changeType(target);
    } catch (const OpxTypeConversionException& failure) {
        EXPECT_EQ(copy.type(), value.type());
        EXPECT_EQ(copy.toString(), value.toString());
        return "reason " + std::to_string(failure.reason());
    }
    EXPECT_EQ(copy.type(), target);
    return toUtf8(copy.toString());
}

struct Conversion {
    OpxVariant source;
    VType target;
    const char* result;
};

template <std::size_t size>
void expectAll(const Conversion (&conversions)[size]) {
    for (const Conversion& c : conversions) {
        EXPECT_EQ(converted(c.source, c.target), c.result)
            << toUtf8(c.source.toString()) << " (tag " << toInt(c.source.type()) << ") to tag " << toInt(c.target);
    }
}

TEST(OpxVariant, TextIsFalseOnlyAsZeroOrWithFalseAtItsStart) {
    for (const OLECHAR* no : {OLESTR("False"), OLESTR("FALSEx"), OLESTR("falsehood"), OLESTR("0")}) {
        EXPECT_FALSE(text(no).toBool()) << toUtf8(no);
    }
    for (const OLECHAR* yes : {OLESTR(""), OLESTR("00"), OLESTR(" false"), OLESTR("no"), OLESTR("fals")}) {
        EXPECT_TRUE(text(yes).toBool()) << toUtf8(yes);
    }
}

TEST(OpxVariant, IntegersHaveTheTagOfTheirSizeAndSign) {
    constexpr VType kLong = sizeof(long) == 4 ? VType::Int32 : VType::Int64;
    constexpr VType kUnsignedLong = sizeof(long) == 4 ? VType::UInt32 : VType::UInt64;
    EXPECT_EQ(of(-5).type(), VType::Int32);
    EXPECT_EQ(of(5u).type(), VType::UInt32);
    EXPECT_EQ(of(-5l).type(), kLong);
    EXPECT_EQ(of(5ul).type(), kUnsignedLong);
    EXPECT_EQ(of(-5ll).type(), VType::Int64);
    EXPECT_EQ(of(~0ull).type(), VType::UInt64);
    EXPECT_EQ(of(-5l).toInt8(), -5);
    EXPECT_EQ(of(~0ull).toUInt64(), ~std::uint64_t{0});
}

TEST(OpxVariant, TruthOfAnythingElseIsItsLowestByte) {
    EXPECT_FALSE(OpxVariant().toBool());
    EXPECT_FALSE(of(std::int32_t{256}).toBool());
    EXPECT_TRUE(of(std::int32_t{257}).toBool());
    EXPECT_TRUE(of(std::int64_t{-1}).toBool());
    EXPECT_FALSE(of(1.0).toBool());
    EXPECT_TRUE(of(0.1).toBool());
    EXPECT_TRUE(of(0.1f).toBool());
    EXPECT_FALSE(of(OpxDate(512, 999)).toBool());
    EXPECT_TRUE(of(OpxDate(513, 0)).toBool());
    EXPECT_FALSE(of(OpxDecimal::fromScaled(256)).toBool());
    EXPECT_TRUE(OpxVariant::arrayOf(VType::Int16, {}).toBool());
    EXPECT_FALSE(OpxVariant::unknown().toBool());
    EXPECT_FALSE(OpxVariant::error(0).toBool());
    EXPECT_TRUE(OpxVariant::error(2).toBool());
}

TEST(OpxVariant, IntegersConvertWithinTheTargetsRange) {
    expectAll({{of(true), VType::Int8, "1"},
               {of(std::uint8_t{255}), VType::Int8, "reason 0"},
               {of(std::int8_t{-128}), VType::Int64, "-128"},
               {of(std::int32_t{-1}), VType::UInt16, "reason 0"},
               {of(std::uint32_t{0x80000000}), VType::Int32, "reason 0"},
               {of(std::int64_t{-1}), VType::UInt64, "reason 0"},
               {of(std::uint64_t{0x7FFFFFFF}), VType::Int32, "2147483647"},
               {of(std::uint64_t{0x80000000}), VType::Int32, "reason 0"},
               {of(std::numeric_limits<std::uint64_t>::max()), VType::UInt64, "18446744073709551615"},
               {of(OpxDecimal::fromScaled(15000)), VType::Int32, "1"},
               {of(OpxDecimal::fromScaled(-19999)), VType::Int32, "-1"},
               {of(OpxDecimal::fromScaled(-10000)), VType::UInt8, "reason 0"}});
}

TEST(OpxVariant, RealsAreTestedAgainstTheRangeBeforeTheyAreRounded) {
    expectAll({{of(127.0), VType::Int8, "127"},
               {of(126.5), VType::Int8, "127"},
               {of(127.4), VType::Int8, "reason 0"},
               {of(-128.0), VType::Int8, "-127"},
               {of(-128.4), VType::Int8, "reason 0"},
               {of(2.4), VType::Int16, "2"},
               {of(2.5), VType::Int16, "3"},
               {of(-1.0), VType::Int16, "0"},
               {of(-2.5), VType::Int16, "-2"},
               {of(-2.6), VType::Int16, "-2"},
               {of(-0.1), VType::UInt8, "reason 0"},
               {of(255.0), VType::UInt8, "255"},
               {of(2147483647.0), VType::Int32, "2147483647"},
               {of(2147483648.0), VType::Int32, "reason 0"},
               {of(4294967295.0), VType::UInt32, "4294967295"},
               {of(kInfinity), VType::Int64, "reason 0"},
               {of(-kInfinity), VType::UInt64, "reason 0"}});
}

TEST(OpxVariant, RealsAtTheEdgeOfWideIntegersAndNotANumberHaveFixedResults) {
    constexpr float kTwoTo31 = 2147483648.0f;
    constexpr double kTwoTo63 = 9223372036854775808.0;
    expectAll({{of(kTwoTo31), VType::Int32, "-2147483648"},
               {of(std::nextafter(kTwoTo31, 1e30f)), VType::Int32, "reason 0"},
               {of(kTwoTo63), VType::Int64, "-9223372036854775808"},
               {of(std::nextafter(kTwoTo63, 0)), VType::Int64, "9223372036854774784"},
               {of(2 * kTwoTo31), VType::UInt32, "reason 0"},
               {of(2 * kTwoTo63), VType::UInt64, "reason 0"},
               {of(kTwoTo63), VType::UInt64, "9223372036854775808"},
               {of(kNotANumber), VType::Int32, "-2147483648"},
               {of(kNotANumber), VType::Int64, "-9223372036854775808"},
               {of(static_cast<float>(kNotANumber)), VType::Int32, "-2147483648"},
               {of(kNotANumber), VType::Int8, "reason 0"},
               {of(kNotANumber), VType::Int16, "reason 0"},
               {of(kNotANumber), VType::UInt8, "reason 0"},
               {of(kNotANumber), VType::UInt32, "reason 0"},
               {of(kNotANumber), VType::UInt64, "reason 0"},
               {of(kNotANumber), VType::Decimal, "reason 0"}});
}

TEST(OpxVariant, TextConvertsToNarrowIntegersOnlyAsAWhole) {
    expectAll({{text(OLESTR("12")), VType::Int32, "12"},
               {text(OLESTR(" \t\r\n12")), VType::Int32, "12"},
               {text(OLESTR("+12")), VType::Int32, "12"},
               {text(OLESTR("12 ")), VType::Int32, "reason 1"},
               {text(OLESTR("1.0")), VType::Int32, "reason 1"},
               {text(OLESTR("")), VType::Int32, "0"},
               {text(OLESTR(" ")), VType::Int32, "reason 1"},
               {text(OLESTR("-")), VType::Int32, "reason 1"},
               {text(OLESTR("0x10")), VType::Int32, "reason 1"},
               {text(OLESTR("99999999999")), VType::Int32, "reason 0"},
               {text(OLESTR("99999999999x")), VType::Int32, "reason 1"},
               {text(OLESTR("128")), VType::Int8, "reason 0"},
               {text(OLESTR("-128")), VType::Int8, "-128"},
               {text(OLESTR("-1")), VType::UInt32, "4294967295"},
               {text(OLESTR("-1")), VType::UInt8, "reason 0"},
               {text(OLESTR("-4294967295")), VType::UInt8, "1"},
               {text(OLESTR("4294967296")), VType::UInt32, "reason 0"}});
}

TEST(OpxVariant, TextConvertsToWideIntegersUpToTheFirstForeignCharacter) {
    expectAll({{text(OLESTR("12 ")), VType::Int64, "12"},
               {text(OLESTR("12abc")), VType::UInt64, "12"},
               {text(OLESTR("abc")), VType::Int64, "0"},
               {text(OLESTR(" ")), VType::Int64, "0"},
               {text(OLESTR("0x10")), VType::Int64, "0"},
               {text(OLESTR("-1")), VType::UInt64, "18446744073709551615"},
               {text(OLESTR("9223372036854775807")), VType::UInt64, "9223372036854775807"},
               {text(OLESTR("9223372036854775808")), VType::UInt64, "reason 0"},
               {text(OLESTR("-9223372036854775809")), VType::Int64, "reason 0"}});
}

TEST(OpxVariant, FloatsRefuseWhatIsTooLargeAndWhatIsTooSmall) {
    expectAll({{of(1e39), VType::Float, "reason 0"},
               {of(-kInfinity), VType::Float, "reason 0"},
               {of(1e-40), VType::Float, "reason 0"},
               {of(0.0), VType::Float, "0"},
               {of(double{std::numeric_limits<float>::max()}), VType::Float, "3.40282e+38"},
               {of(double{std::numeric_limits<float>::min()}), VType::Float, "1.17549e-38"},
               {of(kNotANumber), VType::Float, "nan"},
               {text(OLESTR("1.5")), VType::Float, "1.5"},
               {of(OpxDecimal::fromScaled(-12345)), VType::Float, "-1.2345"}});
}

TEST(OpxVariant, DoublesTakeEveryNumberButUnsigned64BitOnes) {
    expectAll({{of(true), VType::Double, "1"},
               {of(std::uint32_t{4294967295}), VType::Double, "4294967295"},
               {of(std::numeric_limits<std::int64_t>::min()), VType::Double, "-9.22337203685e+18"},
               {of(0.1f), VType::Double, "0.10000000149"},
               {of(OpxDecimal::fromScaled(15000)), VType::Double, "1.5"},
               {text(OLESTR("")), VType::Double, "0"},
               {text(OLESTR(" -1.5e2")), VType::Double, "-150"},
               {text(OLESTR("1.5 ")), VType::Double, "reason 1"},
               {text(OLESTR("1,5")), VType::Double, "reason 1"},
               {text(OLESTR("0x1p3")), VType::Double, "reason 1"},
               {text(OLESTR("inf")), VType::Double, "reason 1"},
               {text(OLESTR("1e400")), VType::Double, "reason 0"},
               {OpxVariant(), VType::Double, "reason 2"},
               {of(std::uint64_t{0}), VType::Double, "reason 4"},
               {of(std::uint64_t{0}), VType::Float, "reason 4"}});
    try {
        of(std::uint64_t{1}).toDouble();
        FAIL();
    } catch (const OpxTypeConversionException& failure) {
        EXPECT_STREQ(failure.what(),
                     "error C2520: conversion from unsigned __int64 to double not implemented, use signed __int64");
    }
}

TEST(OpxVariant, DecimalsTakeIntegersExactlyAndRealsRounded) {
    expectAll({{of(true), VType::Decimal, "1"},
               {of(std::int64_t{-92233720368547}), VType::Decimal, "-92233720368547"},
               {of(std::int64_t{92233720368548}), VType::Decimal, "reason 0"},
               {of(std::numeric_limits<std::uint64_t>::max()), VType::Decimal, "reason 0"},
               {of(1.23456), VType::Decimal, "1.2346"},
               {of(0.5f), VType::Decimal, "0.5"},
               {text(OLESTR("12.5")), VType::Decimal, "12.5"},
               {text(OLESTR("12.5 ")), VType::Decimal, "reason 1"},
               {of(OpxDate()), VType::Decimal, "reason 2"}});
}

TEST(OpxVariant, DatesComeFromIsoTextOnly) {
    expectAll({{text(OLESTR("2008-03-01T12:34:56.789Z")), VType::Date, "2008-03-01T12:34:56.789Z"},
               {text(OLESTR("2008-03-01")), VType::Date, "reason 3"},
               {of(std::int32_t{0}), VType::Date, "reason 2"},
               {of(39508.5), VType::Date, "reason 2"},
               {of(OpxDate()), VType::Int64, "reason 2"}});
}

TEST(OpxVariant, TextOfEachTag) {
    const std::pair<OpxVariant, const char*> cases[] = {
        {OpxVariant(), ""},
        {of(true), "true"},
        {of(false), "false"},
        {of(std::int8_t{-128}), "-128"},
        {of(std::uint8_t{200}), "200"},
        {of(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
        {of(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615"},
        {of(0.1f), "0.1"},
        {of(1234567.0f), "1.23457e+06"},
        {of(1e-7), "1e-07"},
        {text(OLESTR("a|b")), "a|b"},
        {of(OpxDate(-1, 0)), "<Invalid Data>"},
        {of(OpxDecimal::fromScaled(-1234)), "-.1234"},
        {OpxVariant::unknown(), "UNKNOWN"},
        {OpxVariant::error(OpxTypeConversionException::kOverflow), "OVERFLOW"},
        {OpxVariant::error(OpxTypeConversionException::kInvalidType), "INVALIDTYPE"},
        {OpxVariant::error(OpxTypeConversionException::kInvalidConversion), "INVALIDCONVERSION"},
        {OpxVariant::error(OpxTypeConversionException::kInvalidDate), "INVALIDDATE"},
        {OpxVariant::error(OpxTypeConversionException::kNotSupported), "NOTSUPPORTED"},
        {OpxVariant::arrayOf(VType::Int16, {}), "{}"},
        {OpxVariant::arrayOf(VType::Variant, {of(std::int16_t{1}), of(OpxDate(-1, 0)), OpxVariant()}),
         "{1|<Invalid Data>|}"},
    };
    for (const auto& [value, expected] : cases) EXPECT_EQ(toUtf8(value.toString()), expected);
}

OpxVariant int16Array() {
    return OpxVariant::arrayOf(VType::Int16, {of(std::int16_t{1}), of(std::int16_t{2}), of(std::int16_t{3})});
}

TEST(OpxVariant, ArraysConvertFromTextAndElementByElement) {
    constexpr VType kInt16Array = Opx::arrayOf(VType::Int16);
    constexpr VType kStringArray = Opx::arrayOf(VType::String);
    constexpr VType kVariantArray = Opx::arrayOf(VType::Variant);
    expectAll({{text(OLESTR("{1|2|3}")), kInt16Array, "{1|2|3}"},
               {text(OLESTR("{}")), kInt16Array, "{}"},
               {text(OLESTR("{|}")), kStringArray, "{|}"},
               {text(OLESTR("{1|2}")), kVariantArray, "{1|2}"},
               {text(OLESTR("{1|x}")), kInt16Array, "reason 1"},
               {text(OLESTR("1|2|3")), kInt16Array, "reason 2"},
               {text(OLESTR("{1|2|3")), kInt16Array, "reason 2"},
               {text(OLESTR("{")), kInt16Array, "reason 2"},
               {text(OLESTR("")), kInt16Array, "reason 2"},
               {int16Array(), VType::String, "{1|2|3}"},
               {int16Array(), VType::Int16, "reason 2"},
               {int16Array(), kStringArray, "{1|2|3}"},
               {OpxVariant::arrayOf(VType::Double, {of(1.5), of(1e6)}), kInt16Array, "reason 0"},
               {of(std::int16_t{1}), kInt16Array, "reason 2"},
               {OpxVariant(), kInt16Array, "reason 2"}});

    OpxVariant mixed = int16Array();
    mixed.changeType(kVariantArray);
    EXPECT_EQ(mixed.elements()[0].type(), VType::Int16);
    OpxVariant split = text(OLESTR("{1|2|3}"));
    split.changeType(kInt16Array);
    ASSERT_EQ(split.elements().size(), 3u);
    EXPECT_EQ(split.elements()[2].toInt16(), 3);
}

TEST(OpxVariant, SomeTagsAreNoConversionsTarget) {
    const std::int32_t kNoTargets[] = {-1, 0, 6, 11, 17, 18, 19, 20, 127, 128, 134, 139, 146, 147, 256};
    for (const std::int32_t target : kNoTargets) {
        EXPECT_EQ(converted(text(OLESTR("{1}")), VType(target)), "reason 2") << target;
    }
    EXPECT_EQ(converted(OpxVariant(), VType::Empty), "");
    EXPECT_EQ(converted(OpxVariant::unknown(), VType::Unknown), "UNKNOWN");
    EXPECT_EQ(converted(OpxVariant::unknown(), VType::String), "UNKNOWN");
    EXPECT_EQ(converted(OpxVariant::error(2), VType::Int32), "reason 2");
}

TEST(OpxVariant, ArraysHoldElementsOfTheirTypeOnly) {
    EXPECT_EQ(reasonOf([] { OpxVariant::arrayOf(VType::Int16, {of(1.0)}); }), 2);
    for (const VType none : {VType::Empty, VType::Unknown, VType::Error, VType::Array, VType(6)}) {
        EXPECT_EQ(reasonOf([&] { OpxVariant::arrayOf(none, {}); }), 2) << toInt(none);
    }
}

TEST(OpxVariant, CopiesAreIndependent) {
    OpxVariant original = int16Array();
    const OpxVariant copy = original;
    original = OLESTR("text");
    const OpxVariant moved = std::move(original);
    EXPECT_EQ(toUtf8(copy.toString()), "{1|2|3}");
    EXPECT_EQ(toUtf8(moved.toString()), "text");
    EXPECT_EQ(toUtf8(text(nullptr).toString()), "");
    EXPECT_EQ(text(nullptr).type(), VType::String);
}

}  // namespace
}  // namespace OpxOpc
