#include "opc/group/WriteConversion.h"

#include <vector>

#include <gtest/gtest.h>

#include "com/owners.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using OpxOpc::convertForWrite;
using OpxOpc::OpxVariant;
using OpxOpc::WriteConversion;

constexpr LCID kEnglish = 0x409;
constexpr LCID kGerman = 0x407;

OpxVariant text(const OLECHAR* value) {
    return OpxVariant::of(value);
}

OpxVariant doubles(std::initializer_list<double> values) {
    std::vector<OpxVariant> elements;
    for (const double value : values) elements.push_back(OpxVariant::of(value));
    return OpxVariant::arrayOf(VType::Double, std::move(elements));
}

struct Case {
    const char* name;
    OpxVariant value;
    VType itemType;
    LCID locale;
    WriteConversion outcome;
    VARTYPE sentType;
    const char* sentText;  // of the value when it is read back
};

TEST(WriteConversion, a_value_is_sent_as_its_item_s_type_or_as_nothing) {
    constexpr auto kDone = WriteConversion::Done;
    constexpr auto kNotConverted = WriteConversion::NotConverted;
    constexpr auto kNotCopied = WriteConversion::NotCopied;
    const Case cases[] = {
        {"no type asked", OpxVariant::of(1.5), VType::Empty, kEnglish, kDone, VT_R8, "1.5"},
        {"a type without tag", OpxVariant::of(1.5), VType::Unknown, kEnglish, kDone, VT_R8, "1.5"},
        {"same type", OpxVariant::of(1.5), VType::Double, kGerman, kDone, VT_R8, "1.5"},
        {"number to number", OpxVariant::of(2.5), VType::Int16, kEnglish, kDone, VT_I2, "2"},
        {"English text", text(OLESTR("1.5")), VType::Double, kEnglish, kDone, VT_R8, "1.5"},
        {"German text", text(OLESTR("1,5")), VType::Double, kGerman, kDone, VT_R8, "1.5"},
        {"truth by its word", OpxVariant::of(true), VType::String, kEnglish, kDone, VT_BSTR, "True"},
        {"not a number", text(OLESTR("x")), VType::Int32, kEnglish, kNotConverted, VT_EMPTY, ""},
        {"out of range", OpxVariant::of(std::int32_t{300}), VType::UInt8, kEnglish, kNotConverted, VT_EMPTY, ""},
        {"array of no element type", OpxVariant::of(true), VType::Array, kEnglish, kNotConverted, VT_EMPTY, ""},
        {"text to doubles", text(OLESTR("{1.5|2}")), Opx::arrayOf(VType::Double), kEnglish, kDone, VT_ARRAY | VT_R8,
         "{1.5|2}"},
        {"text to floats", text(OLESTR("{1,5}")), Opx::arrayOf(VType::Float), kGerman, kDone, VT_ARRAY | VT_R4,
         "{1.5}"},
        {"doubles to floats", doubles({1.5, 2}), Opx::arrayOf(VType::Float), kEnglish, kDone, VT_ARRAY | VT_R4,
         "{1.5|2}"},
        {"by way of a text that German reads otherwise", doubles({1.5}), Opx::arrayOf(VType::Float), kGerman, kDone,
         VT_ARRAY | VT_R4, "{15}"},
        {"doubles to decimals", doubles({1.25, -3}), Opx::arrayOf(VType::Decimal), kEnglish, kDone, VT_ARRAY | VT_CY,
         "{1.25|-3}"},
        {"text to dates", text(OLESTR("{2008-03-01 12:34:56}")), Opx::arrayOf(VType::Date), kEnglish, kDone,
         VT_ARRAY | VT_DATE, "{2008-03-01T12:34:56.000Z}"},
        {"no elements", text(OLESTR("{}")), Opx::arrayOf(VType::Double), kEnglish, kDone, VT_ARRAY | VT_R8, "{}"},
        {"one element that does not parse", text(OLESTR("{1|x|3}")), Opx::arrayOf(VType::Double), kEnglish,
         kNotConverted, VT_EMPTY, ""},
        {"scalar to reals", OpxVariant::of(1.5), Opx::arrayOf(VType::Float), kEnglish, kNotCopied, VT_EMPTY, ""},
        {"text to integers", text(OLESTR("{1|2}")), Opx::arrayOf(VType::Int16), kGerman, kDone, VT_ARRAY | VT_I2,
         "{1|2}"},
        {"text that is no integer", text(OLESTR("{x}")), Opx::arrayOf(VType::Int16), kEnglish, kNotCopied, VT_EMPTY,
         ""},
        {"array to scalar", doubles({1}), VType::Int32, kEnglish, kNotCopied, VT_EMPTY, ""},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        Com::UniqueVariant sent;
        EXPECT_EQ(convertForWrite(each.value, each.itemType, each.locale, sent), each.outcome);
        EXPECT_EQ(sent.vt, each.sentType);
        EXPECT_EQ(toUtf8(OpxVariant::of(static_cast<const VARIANT&>(sent)).toString()), each.sentText);
    }
}

}  // namespace
}  // namespace Korvex::Testing
