#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "tests/com/VariantText.h"
#include "tests/support/rows.h"
#include "tests/values/conversion_reason.h"

namespace OpxOpc {
namespace {

using Opx::VType;

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

// A cell whose signs for white space are replaced by it.
std::string whiteSpace(std::string cell) {
    std::replace(cell.begin(), cell.end(), '~', ' ');
    const std::size_t at = cell.find('^');
    return at == std::string::npos ? cell : cell.replace(at, 1, "\t\r\n");
}

TEST(OpxVariant, ConvertsFromEveryTypeToEveryOtherOne) {
    for (const auto& row : Korvex::Testing::rowsOf("values/variant_conversions.txt", 3)) {
        const Korvex::Com::UniqueVariant source = Korvex::Testing::makeVariant(whiteSpace(row[0]));
        const VType target = OpxVariant::typeFromVarType(Korvex::Testing::typeNamed(row[1]));
        EXPECT_EQ(converted(OpxVariant::of(static_cast<const VARIANT&>(source)), target), row[2])
            << row[0] << " to " << row[1];
    }
    EXPECT_EQ(reasonOf([] { of(1e-40f).toFloat(); }), 0) << "a float that is kept is no conversion's result";
    try {
        of(std::uint64_t{1}).toDouble();
        FAIL();
    } catch (const OpxTypeConversionException& failure) {
        EXPECT_STREQ(failure.what(),
                     "error C2520: conversion from unsigned __int64 to double not implemented, use signed __int64");
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

TEST(OpxVariant, WhatNoVariantHoldsHasTruthAndTextToo) {
    const std::tuple<OpxVariant, bool, const char*> cases[] = {
        {OpxVariant(), false, ""},
        {of(OpxDate(512, 999)), false, "1970-01-01T00:08:32.999Z"},
        {of(OpxDate(513, 0)), true, "1970-01-01T00:08:33.000Z"},
        {of(OpxDate(-1, 0)), true, "<Invalid Data>"},
        {OpxVariant::unknown(), false, "UNKNOWN"},
        {OpxVariant::error(OpxTypeConversionException::kOverflow), false, "OVERFLOW"},
        {OpxVariant::error(OpxTypeConversionException::kInvalidType), true, "INVALIDTYPE"},
        {OpxVariant::error(OpxTypeConversionException::kInvalidConversion), true, "INVALIDCONVERSION"},
        {OpxVariant::error(OpxTypeConversionException::kInvalidDate), true, "INVALIDDATE"},
        {OpxVariant::error(OpxTypeConversionException::kNotSupported), true, "NOTSUPPORTED"},
        {OpxVariant::arrayOf(VType::Int16, {}), true, "{}"},
        {OpxVariant::arrayOf(VType::Variant, {of(std::int16_t{1}), of(OpxDate(-1, 0)), OpxVariant()}), true,
         "{1|<Invalid Data>|}"},
    };
    for (const auto& [value, truth, expected] : cases) {
        EXPECT_EQ(toUtf8(value.toString()), expected);
        EXPECT_EQ(value.toBool(), truth) << expected;
    }
}

OpxVariant int16Array() {
    return OpxVariant::arrayOf(VType::Int16, {of(std::int16_t{1}), of(std::int16_t{2}), of(std::int16_t{3})});
}

TEST(OpxVariant, ArraysConvertFromTextAndElementByElement) {
    constexpr VType kInt16Array = Opx::arrayOf(VType::Int16);
    constexpr VType kStringArray = Opx::arrayOf(VType::String);
    constexpr VType kVariantArray = Opx::arrayOf(VType::Variant);
    const std::tuple<OpxVariant, VType, const char*> cases[] = {
        {text(OLESTR("{1|2|3}")), kInt16Array, "{1|2|3}"},
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
        {text(OLESTR("{ a|b }")), kStringArray, "{ a|b }"},
        {OpxVariant(), kInt16Array, "reason 2"}};
    for (const auto& [source, target, result] : cases)
        EXPECT_EQ(converted(source, target), result) << toUtf8(source.toString());

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
