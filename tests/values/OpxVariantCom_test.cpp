#include <array>

#include <gtest/gtest.h>

#include "com/owners.h"
#include "tests/com/VariantText.h"
#include "tests/support/rows.h"
#include "tests/values/conversion_reason.h"

namespace OpxOpc {
namespace {

using Korvex::Com::makeBstr;
using Korvex::Com::UniqueSafeArray;
using Korvex::Com::UniqueVariant;
using Opx::VType;

// Out into a VARIANT and back again.
OpxVariant roundTrip(const OpxVariant& value) {
    UniqueVariant variant;
    value.toVariant(variant);
    return OpxVariant::of(static_cast<const VARIANT&>(variant));
}

template <typename T>
OpxVariant of(T value) {
    return OpxVariant::of(value);
}

UniqueVariant arrayVariant(VARTYPE type, UniqueSafeArray array) {
    UniqueVariant variant;
    variant.vt = static_cast<VARTYPE>(VT_ARRAY | type);
    variant.parray = array.release();
    return variant;
}

// A VARIANT of a type, with all bits of its payload 0.
UniqueVariant emptyOf(std::uint32_t type) {
    UniqueVariant variant;
    variant.vt = static_cast<VARTYPE>(type);
    return variant;
}

std::optional<std::int32_t> reasonFor(const VARIANT& variant) {
    OpxVariant value = of(true);
    const auto reason = reasonOf([&] { value = variant; });
    EXPECT_EQ(value.isEmpty(), reason.has_value());
    return reason;
}

// A float may be too small to be a conversion's result, but not to be kept.
TEST(OpxVariantCom, ScalarsTakeTheVariantTypeOfTheirTagAndComeBack) {
    for (const char* each : {"EMPTY", "BOOL -1", "I1 -128", "I2 -32768", "I4 -2147483647", "I8 -9223372036854775807",
                             "UI1 255", "UI2 65535", "UI4 4294967295", "UI8 18446744073709551615", "R4 1.5", "R4 1e-45",
                             "R8 2.25", "BSTR Größe", "DATE 39508.524259259255", "CY -5"}) {
        const UniqueVariant variant = Korvex::Testing::makeVariant(each);
        UniqueVariant back;
        OpxVariant::of(static_cast<const VARIANT&>(variant)).toVariant(back);
        EXPECT_EQ(back.vt, variant.vt) << each;
        EXPECT_EQ(Korvex::Testing::valueText(back), Korvex::Testing::valueText(variant)) << each;
    }
}

TEST(OpxVariantCom, TruthIsMinusOneOutsideAndAnythingButZeroInside) {
    UniqueVariant variant;
    of(true).toVariant(variant);
    EXPECT_EQ(variant.boolVal, -1);
    variant.boolVal = 2;
    EXPECT_TRUE(OpxVariant::of(static_cast<const VARIANT&>(variant)).toBool());
}

TEST(OpxVariantCom, ArraysTakeTheVariantTypeOfTheirElementsAndComeBack) {
    struct Case {
        OpxVariant value;
        VARTYPE element;
    };
    const Case cases[] = {
        {OpxVariant::arrayOf(VType::Bool, {of(true), of(false)}), VT_BOOL},
        {OpxVariant::arrayOf(VType::UInt8, {of(std::uint8_t{1}), of(std::uint8_t{255})}), VT_UI1},
        {OpxVariant::arrayOf(VType::Int64, {of(std::int64_t{-1})}), VT_I8},
        {OpxVariant::arrayOf(VType::Float, {of(1.5f), of(-2.5f), of(0.0f)}), VT_R4},
        {OpxVariant::arrayOf(VType::String, {text(OLESTR("a")), text(OLESTR(""))}), VT_BSTR},
        {OpxVariant::arrayOf(VType::Date, {of(OpxDate(86400, 0))}), VT_DATE},
        {OpxVariant::arrayOf(VType::Decimal, {of(OpxDecimal::fromScaled(15000))}), VT_CY},
        {OpxVariant::arrayOf(VType::Double, {}), VT_R8},
        {OpxVariant::arrayOf(VType::Variant, {of(std::int8_t{1}), text(OLESTR("b")), OpxVariant(),
                                              OpxVariant::arrayOf(VType::Int16, {of(std::int16_t{7})})}),
         VT_VARIANT}};
    for (const Case& c : cases) {
        UniqueVariant variant;
        c.value.toVariant(variant);
        EXPECT_EQ(variant.vt, VT_ARRAY | c.element);
        EXPECT_EQ(variant.parray->rgsabound[0].lLbound, 0);
        const OpxVariant back = roundTrip(c.value);
        EXPECT_EQ(back.type(), c.value.type());
        EXPECT_EQ(back.toString(), c.value.toString());
    }
}

// Of decimals as "-high:middle:low/scale" and currencies in ten-thousandths.
TEST(OpxVariantCom, DecimalsBecomeCurrencyDigitByDigitRoundedHalfToEven) {
    const auto decimal = [](const std::string& text) { return Korvex::Testing::makeVariant("DEC " + text); };
    for (const auto& row : Korvex::Testing::rowsOf("values/decimals.txt", 2)) {
        const UniqueVariant source = decimal(row[0]);
        if (row[1] == "-") {
            EXPECT_EQ(reasonFor(source), 0) << row[0];
            continue;
        }
        const OpxVariant value = OpxVariant::of(static_cast<const VARIANT&>(source));
        EXPECT_EQ(std::to_string(value.toDecimal().scaled()), row[1]) << row[0];
        UniqueVariant currency;
        value.toVariant(currency);
        EXPECT_EQ(currency.vt, VT_CY);
        EXPECT_EQ(std::to_string(currency.cyVal.int64), row[1]);
    }
    UniqueSafeArray array(SafeArrayCreateVector(VT_DECIMAL, 0, 1));
    UniqueVariant tooLarge = decimal("1:0:0/0");
    LONG index = 0;
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, &tooLarge.decVal), S_OK);
    EXPECT_EQ(reasonFor(arrayVariant(VT_DECIMAL, std::move(array))), 0);
}

TEST(OpxVariantCom, TypesWithoutATagAreRefused) {
    // VT_ARRAY | VT_I4 comes without its array.
    const std::uint32_t kTypes[] = {VT_NULL,
                                    VT_ERROR,
                                    VT_INT,
                                    VT_UINT,
                                    VT_UNKNOWN,
                                    VT_DISPATCH,
                                    VT_VARIANT,
                                    VT_BYREF | VT_I4,
                                    VT_ARRAY | VT_EMPTY,
                                    VT_ARRAY | VT_I4,
                                    VT_ARRAY | VT_BYREF | VT_I4};
    for (const std::uint32_t type : kTypes) {
        VARIANT variant = emptyOf(type).detach();
        EXPECT_EQ(reasonFor(variant), 1) << type;
        const bool hasTag = type == (VT_ARRAY | VT_I4);
        EXPECT_EQ(OpxVariant::typeFromVarType(variant.vt) == VType::Unknown, !hasTag) << type;
    }
    EXPECT_EQ(reasonFor(emptyOf(VT_BSTR)), std::nullopt);  // a null text is ""
}

TEST(OpxVariantCom, ADateThatCannotBeReadIsReasonThree) {
    UniqueVariant variant = emptyOf(VT_DATE);
    variant.date = 1e9;
    EXPECT_EQ(reasonFor(variant), 3);
}

TEST(OpxVariantCom, ArraysOfAServerMayStartAnywhereButHaveOneDimension) {
    UniqueSafeArray shifted(SafeArrayCreateVector(VT_I4, -5, 2));
    LONG index = -4;
    std::int32_t element = 42;
    ASSERT_EQ(SafeArrayPutElement(shifted.get(), &index, &element), S_OK);
    const UniqueVariant variant = arrayVariant(VT_I4, std::move(shifted));
    EXPECT_EQ(toUtf8(OpxVariant::of(static_cast<const VARIANT&>(variant)).toString()), "{0|42}");

    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    EXPECT_EQ(reasonFor(arrayVariant(VT_I4, UniqueSafeArray(SafeArrayCreate(VT_I4, 2, bounds)))), 1);
}

// A server that contradicts itself must not make the library read past an array or follow a number as
// if it were a pointer.
TEST(OpxVariantCom, ArraysThatHoldSomethingElseThanTheVariantSaysAreRefused) {
    UniqueVariant narrow = arrayVariant(VT_I8, UniqueSafeArray(SafeArrayCreateVector(VT_I2, 0, 4)));
    EXPECT_EQ(reasonFor(narrow), 1);
    narrow.vt = VT_ARRAY | VT_I2;

    UniqueVariant numbers = arrayVariant(VT_BSTR, UniqueSafeArray(SafeArrayCreateVector(VT_I8, 0, 1)));
    LONG index = 0;
    std::int64_t wild = 0x1234567812345678;
    ASSERT_EQ(SafeArrayPutElement(numbers.parray, &index, &wild), S_OK);
    EXPECT_EQ(reasonFor(numbers), 1);
    numbers.vt = VT_ARRAY | VT_I8;
    EXPECT_EQ(reasonFor(numbers), std::nullopt);
}

TEST(OpxVariantCom, ArraysWithoutATypeAreTakenByTheirFeatures) {
    const auto kept = makeBstr(OLESTR("own"));
    BSTR texts[] = {kept.get()};
    UniqueVariant numbers[1];
    of(std::int32_t{5}).toVariant(numbers[0]);
    SAFEARRAY array = {};
    array.cDims = 1;
    array.rgsabound[0].cElements = 1;
    VARIANT variant = {};
    variant.parray = &array;
    const auto taken = [&](VARTYPE type, std::size_t size, void* data, unsigned features) {
        array.fFeatures = static_cast<USHORT>(FADF_STATIC | FADF_FIXEDSIZE | features);
        array.cbElements = static_cast<ULONG>(size);
        array.pvData = data;
        variant.vt = static_cast<VARTYPE>(VT_ARRAY | type);
        return toUtf8(OpxVariant::of(static_cast<const VARIANT&>(variant)).toString());
    };
    EXPECT_EQ(taken(VT_BSTR, sizeof(BSTR), texts, FADF_BSTR), "{own}");
    EXPECT_EQ(taken(VT_VARIANT, sizeof(VARIANT), numbers, FADF_VARIANT), "{5}");
    EXPECT_EQ(reasonOf([&] { taken(VT_BSTR, sizeof(BSTR), texts, 0); }), 1);
    EXPECT_EQ(reasonOf([&] { taken(VT_BSTR, sizeof(BSTR), texts, FADF_VARIANT); }), 1);
    EXPECT_EQ(reasonOf([&] { taken(VT_VARIANT, sizeof(VARIANT), numbers, FADF_BSTR); }), 1);
}

TEST(OpxVariantCom, AFailedConversionKeepsWhatTheVariantHeld) {
    UniqueVariant variant;
    text(OLESTR("kept")).toVariant(variant);
    const OpxVariant unprintable = OpxVariant::arrayOf(VType::Date, {of(OpxDate(0, 0)), of(OpxDate(-1, 0))});
    EXPECT_EQ(reasonOf([&] { unprintable.toVariant(variant); }), 3);
    EXPECT_EQ(reasonOf([&] { OpxVariant::unknown().toVariant(variant); }), 2);
    EXPECT_EQ(reasonOf([&] { OpxVariant::error(1).toVariant(variant); }), 2);
    ASSERT_EQ(variant.vt, VT_BSTR);
    EXPECT_EQ(toUtf8(Korvex::Com::bstrView(variant.bstrVal)), "kept");
}

TEST(OpxVariantCom, TagsAndVariantTypesMapOntoEachOther) {
    struct Pair {
        std::int32_t tag;
        std::uint32_t type;
    };
    const Pair pairs[] = {{0, VT_EMPTY}, {1, VT_BOOL}, {2, VT_I1},    {3, VT_I2},    {4, VT_I4},
                          {5, VT_I8},    {7, VT_UI1},  {8, VT_UI2},   {9, VT_UI4},   {10, VT_UI8},
                          {12, VT_R4},   {13, VT_R8},  {14, VT_BSTR}, {15, VT_DATE}, {16, VT_CY}};
    for (const Pair& pair : pairs) {
        EXPECT_EQ(OpxVariant::varTypeFromType(VType(pair.tag)), pair.type);
        EXPECT_EQ(toInt(OpxVariant::typeFromVarType(static_cast<VARTYPE>(pair.type))), pair.tag);
        if (pair.tag == 0) continue;
        EXPECT_EQ(OpxVariant::varTypeFromType(VType(128 + pair.tag)), VT_ARRAY | pair.type);
        EXPECT_EQ(toInt(OpxVariant::typeFromVarType(static_cast<VARTYPE>(VT_ARRAY | pair.type))), 128 + pair.tag);
    }
    EXPECT_EQ(OpxVariant::varTypeFromType(VType(145)), VT_ARRAY | VT_VARIANT);
    EXPECT_EQ(toInt(OpxVariant::typeFromVarType(VT_ARRAY | VT_VARIANT)), 145);
    EXPECT_EQ(toInt(OpxVariant::typeFromVarType(VT_DECIMAL)), 16);
    EXPECT_EQ(toInt(OpxVariant::typeFromVarType(VT_ARRAY | VT_DECIMAL)), 144);
    for (const std::int32_t none : {6, 11, 17, 18, 19, 20, 127, 128, 134, 139, 146, 300}) {
        EXPECT_EQ(OpxVariant::varTypeFromType(VType(none)), VT_UNKNOWN) << none;
    }
}

TEST(OpxVariantCom, AnArrayNestedTooDeeplyIsNoValue) {
    for (const int depth : {60, 70}) {
        OpxVariant nested = OpxVariant::of(std::int32_t{1});
        for (int i = 0; i < depth; ++i) nested = OpxVariant::arrayOf(VType::Variant, {nested});
        Korvex::Com::UniqueVariant variant;
        nested.toVariant(variant);
        OpxVariant loaded;
        if (depth <= 64) {
            loaded = variant;
            EXPECT_EQ(loaded.toString(), nested.toString());
        } else {
            EXPECT_THROW(loaded = variant, OpxTypeConversionException);
        }
        loaded = OpxVariant();
    }
}

// Each array holds the next one twice: a few arrays stand for more elements than there is memory.
TEST(OpxVariantCom, AnArrayThatStandsForTooManyElementsIsNoValue) {
    constexpr std::size_t kArrays = 40;
    UniqueVariant numbers = arrayVariant(VT_I4, UniqueSafeArray(SafeArrayCreateVector(VT_I4, 0, 4096)));
    VARIANT variant = numbers;
    std::vector<std::array<VARIANT, 2>> elements(kArrays);
    std::vector<SAFEARRAY> arrays(kArrays);
    for (std::size_t i = 0; i < kArrays; ++i) {
        elements[i].fill(variant);
        arrays[i] = {};
        arrays[i].cDims = 1;
        arrays[i].fFeatures = FADF_STATIC | FADF_FIXEDSIZE | FADF_VARIANT;
        arrays[i].cbElements = sizeof(VARIANT);
        arrays[i].pvData = elements[i].data();
        arrays[i].rgsabound[0].cElements = 2;
        variant.vt = VT_ARRAY | VT_VARIANT;
        variant.parray = &arrays[i];
        if (i == 7) {
            EXPECT_EQ(reasonFor(variant), std::nullopt);
        }
    }
    EXPECT_EQ(reasonFor(variant), 1);
}

}  // namespace
}  // namespace OpxOpc
