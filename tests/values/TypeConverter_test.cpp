#include <gtest/gtest.h>

#include <map>
#include <string>

#include "com/owners.h"
#include "tests/support/rows.h"
#include "tests/values/conversion_reason.h"
#include "values/TypeConverter.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using Kind = Type::Kind;
using Com::UniqueVariant;
using Opx::VType;
using OpxOpc::OpxDate;
using OpxOpc::OpxDecimal;
using OpxOpc::OpxVariant;

VType tag(std::int32_t number) {
    return VType(number);
}

TEST(TypeConverter, EachPublicTypeRequestsATagAndIsReportedOfOne) {
    const std::map<std::string, Kind> kinds = {{"Boolean", Kind::Boolean},
                                               {"Int16", Kind::Int16},
                                               {"Int32", Kind::Int32},
                                               {"Int64", Kind::Int64},
                                               {"UInt8", Kind::UInt8},
                                               {"UInt16", Kind::UInt16},
                                               {"UInt32", Kind::UInt32},
                                               {"UInt64", Kind::UInt64},
                                               {"Float", Kind::Float},
                                               {"Double", Kind::Double},
                                               {"String", Kind::String},
                                               {"DateTime", Kind::DateTime},
                                               {"Decimal", Kind::Decimal},
                                               {"Character", Kind::Character},
                                               {"Int8", Kind::Int8},
                                               {"None", Kind::None},
                                               {"Object", Kind::Object},
                                               {"Type", Kind::Type},
                                               {"Application", Kind::Application}};
    const auto expectReported = [](const std::string& number, const Type& type) {
        if (number == "-") return;
        EXPECT_EQ(TypeConverter::GetType(tag(std::stoi(number))), type) << number;
    };
    for (const auto& row : Testing::rowsOf("values/tags.txt", 5)) {
        const Type scalar = Type::scalar(kinds.at(row[0]));
        const Type array = Type::arrayOf(kinds.at(row[0]));
        EXPECT_EQ(std::to_string(toInt(TypeConverter::GetOpxVT(scalar))), row[1]) << row[0];
        EXPECT_EQ(std::to_string(toInt(TypeConverter::GetOpxVT(array))), row[2]) << row[0];
        expectReported(row[3], scalar);
        expectReported(row[4], array);
    }
    for (const std::int32_t none : {-1, 0, 6, 11, 17, 18, 19, 20, 127, 134, 139, 146, 147, 1000})
        EXPECT_EQ(TypeConverter::GetType(tag(none)), Type::scalar(Kind::Object)) << none;
    EXPECT_EQ(TypeConverter::GetType(TypeConverter::GetOpxVT(Type::of<std::vector<char16_t>>())),
              Type::of<std::vector<std::int8_t>>());
}

struct Crossing {
    Object value;
    std::int32_t tag;
    Object back;
};

void expectCrossing(const Crossing& c) {
    OpxVariant native;
    EXPECT_TRUE(TypeConverter::toNative(c.value, native)) << toUtf8(c.value.toText());
    EXPECT_EQ(toInt(native.type()), c.tag) << toUtf8(c.value.toText());
    EXPECT_EQ(TypeConverter::toPublic(native), c.back) << toUtf8(c.value.toText());
}

TEST(TypeConverter, ValuesCrossToTheNativeSideAndBack) {
    const DateTime march = std::chrono::sys_time<std::chrono::milliseconds>(std::chrono::milliseconds(1204374896789));
    const std::pair<Object, std::int32_t> values[] = {
        {nullptr, 0},
        {true, 1},
        {std::int8_t{-128}, 2},
        {std::int16_t{-32768}, 3},
        {-5, 4},
        {-5ll, 5},
        {std::uint8_t{255}, 7},
        {std::uint16_t{65535}, 8},
        {5u, 9},
        {~0ull, 10},
        {1.5f, 12},
        {-2.25, 13},
        {"Größe", 14},
        {"", 14},
        {march, 15},
        {Decimal::fromText("-12.3457"), 16},
        {Decimal::fromText("123456789012345.6789"), 16},
        {Decimal::fromText("-922337203685477.5808"), 16},
        {std::vector<bool>{true, false}, 129},
        {std::vector<std::int8_t>{-1, 1}, 130},
        {std::vector<std::int16_t>{-1, 1}, 131},
        {std::vector<int>{}, 132},
        {std::vector<long long>{-1, 1}, 133},
        {std::vector<std::uint8_t>{1, 255}, 135},
        {std::vector<std::uint16_t>{1, 65535}, 136},
        {std::vector<unsigned>{1, 2, 3}, 137},
        {std::vector<unsigned long long>{1}, 138},
        {std::vector<float>{1.5f}, 140},
        {std::vector<double>{1.5, -1.5}, 141},
        {std::vector<std::string>{"a", ""}, 142},
        {std::vector<DateTime>{march}, 143},
        {std::vector<Decimal>{Decimal::fromText("0.5"), Decimal(-7)}, 144},
        {std::vector<Object>{1, "b", nullptr, std::vector<int>{2, 3}, Decimal::fromText("1.5")}, 145},
    };
    for (const auto& [value, number] : values) expectCrossing({value, number, value});
}

TEST(TypeConverter, CharactersBecomeNumbersAndDecimalsLoseDigits) {
    expectCrossing({u'A', 8, std::uint16_t{65}});
    expectCrossing({std::vector<char16_t>{u'A', u'B'}, 136, std::vector<std::uint16_t>{65, 66}});
    expectCrossing({Decimal::fromText("12.34567"), 16, Decimal::fromText("12.3457")});
}

TEST(TypeConverter, ValuesWithoutANativeFormAreSentAsEmpty) {
    const Object values[] = {Type::of<int>(), std::make_shared<int>(1), std::vector<Object>{1, Type::of<int>()},
                             Decimal::fromText("1e20"),  // no currency
                             DateTime(std::chrono::sys_days(std::chrono::year(50) / 1 / 1))};
    for (const Object& value : values) {
        OpxVariant native = OpxVariant::of(true);
        EXPECT_FALSE(TypeConverter::toNative(value, native)) << toUtf8(value.toText());
        EXPECT_TRUE(native.isEmpty()) << toUtf8(value.toText());
    }
}

TEST(TypeConverter, DatesThatCannotBeWrittenAreReadAsTheyAre) {
    using namespace std::chrono;
    const OpxVariant none = OpxVariant::of(OpxDate::fromOleDate(-109205));
    const OpxVariant late = OpxVariant::of(OpxDate(32535216000, 5));
    const DateTime publicNone = sys_days(year(1601) / 1 / 1);
    const DateTime publicLate = sys_days(year(3001) / 1 / 1) + milliseconds(5);
    EXPECT_EQ(TypeConverter::toPublic(none), publicNone);
    const OpxVariant dates = OpxVariant::arrayOf(VType::Date, {late, none});
    EXPECT_EQ(TypeConverter::toPublic(dates), (std::vector<DateTime>{publicLate, publicNone}));
    const OpxVariant last = OpxVariant::of(OpxDate::fromOleDate(2958465.9999999995));
    const DateTime publicLast = sys_days(year(9999) / 12 / 31) + hours(24) - milliseconds(1);
    EXPECT_EQ(TypeConverter::toPublic(OpxVariant::arrayOf(VType::Date, {last, none})),
              (std::vector<DateTime>{publicLast, publicNone}));
    EXPECT_EQ(TypeConverter::toPublic(OpxVariant::arrayOf(VType::Variant, {OpxVariant::of(1), none, dates})),
              (std::vector<Object>{1, publicNone, std::vector<DateTime>{publicLate, publicNone}}));
    EXPECT_EQ(TypeConverter::toPublic(OpxVariant::of(OpxDate(-62135596800, 0))), DateTime());
    for (const std::int64_t second : {-62135596801, 253402300800, INT64_MAX}) {
        EXPECT_THROW(TypeConverter::toPublic(OpxVariant::of(OpxDate(second, 0))), ObjectConversionException);
    }

    OpxVariant native;
    ASSERT_TRUE(TypeConverter::toNative(publicNone, native));
    UniqueVariant variant;
    EXPECT_EQ(OpxOpc::reasonOf([&] { native.toVariant(variant); }), 3);
}

TEST(TypeConverter, ValuesWithoutAVariantAreRefusedWithTheirReason) {
    using OpxOpc::reasonOf;
    EXPECT_EQ(reasonOf([] { TypeConverter::toPublic(OpxVariant::unknown()); }), 2);
    EXPECT_EQ(reasonOf([] { TypeConverter::toPublic(OpxVariant::error(0)); }), 2);
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
