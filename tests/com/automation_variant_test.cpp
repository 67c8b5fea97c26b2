#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

#include "com/com.h"
#include "com/owners.h"
#include "tests/com/TestObject.h"
#include "tests/com/VariantText.h"

using Korvex::OpxStringView;
using namespace Korvex::Com;
using namespace Korvex::Testing;

namespace {

// Where text has a character type of its own, the runtime is this project's.
constexpr bool kPortable = std::is_same_v<OLECHAR, char16_t>;

constexpr LCID kEnglish = 1033, kBritish = 2057, kGerman = 1031, kFrench = 1036, kItalian = 1040, kSpanish = 3082;
constexpr LCID kKnownLocales[] = {kEnglish, kBritish, kGerman, kFrench, kItalian, kSpanish};

UniqueVariant bstrVariant(OpxStringView text) {
    UniqueVariant result;
    result.vt = VT_BSTR;
    result.bstrVal = makeBstr(text).release();
    return result;
}

}  // namespace

// ---- BSTR ----------------------------------------------------------------------------------------

TEST(Bstr, CarriesItsLengthInBytesAndAnyCharacterInside) {
    const UniqueBstr withZero(SysAllocStringLen(OLESTR("a\0b"), 3));
    EXPECT_EQ(SysStringLen(withZero.get()), 3u);
    EXPECT_EQ(SysStringByteLen(withZero.get()), 6u);
    EXPECT_EQ(bstrView(withZero.get()), OpxStringView(OLESTR("a\0b"), 3));
    EXPECT_EQ(withZero.get()[3], OLECHAR());

    const UniqueBstr odd(SysAllocStringByteLen("abc", 3));
    EXPECT_EQ(SysStringByteLen(odd.get()), 3u);
    EXPECT_EQ(SysStringLen(odd.get()), 1u);
    EXPECT_EQ(std::memcmp(odd.get(), "abc\0\0", 5), 0);
}

TEST(Bstr, NullIsTheEmptyTextAndNoTextIsMadeOfNull) {
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    SysFreeString(nullptr);

    const UniqueBstr empty(SysAllocString(OLESTR("")));
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty.get()[0], OLECHAR());
    const UniqueBstr room(SysAllocStringLen(nullptr, 4));
    EXPECT_EQ(SysStringLen(room.get()), 4u);
}

TEST(Bstr, ALengthThatNoMemoryHasIsRefused) {
    EXPECT_EQ(SysAllocStringLen(nullptr, std::numeric_limits<UINT>::max()), nullptr);
    EXPECT_EQ(SysAllocStringByteLen(nullptr, std::numeric_limits<UINT>::max()), nullptr);
}

TEST(Bstr, IsReplacedInPlace) {
    BSTR text = nullptr;
    ASSERT_TRUE(SysReAllocString(&text, OLESTR("first")));
    ASSERT_TRUE(SysReAllocStringLen(&text, OLESTR("second"), 3));
    EXPECT_EQ(bstrView(text), OLESTR("sec"));
    ASSERT_TRUE(SysReAllocStringLen(&text, text + 1, 2));
    EXPECT_EQ(bstrView(text), OLESTR("ec"));
    ASSERT_TRUE(SysReAllocStringLen(&text, nullptr, 5));
    EXPECT_EQ(SysStringLen(text), 5u);
    EXPECT_EQ(bstrView(text).substr(0, 2), OLESTR("ec"));
    EXPECT_FALSE(SysReAllocString(nullptr, OLESTR("none")));
    ASSERT_TRUE(SysReAllocString(&text, nullptr));
    EXPECT_EQ(text, nullptr);
}

// ---- Owning --------------------------------------------------------------------------------------

TEST(VariantOwnership, CopiesTextsDeeplyAndReferencesShallowly) {
    UniqueVariant text = bstrVariant(OLESTR("pump"));
    UniqueVariant copy;
    ASSERT_EQ(VariantCopy(&copy, &text), S_OK);
    EXPECT_NE(copy.bstrVal, text.bstrVal);
    EXPECT_EQ(valueText(copy), "pump");

    UniqueVariant reference;
    reference.vt = VT_BYREF | VT_BSTR;
    reference.byref = &text.bstrVal;
    ASSERT_EQ(VariantCopy(&copy, &reference), S_OK);
    EXPECT_EQ(copy.vt, VT_BYREF | VT_BSTR);
    EXPECT_EQ(copy.byref, &text.bstrVal);
    reference.clear();
    EXPECT_EQ(valueText(text), "pump");
}

TEST(VariantOwnership, CopyIndTakesWhatIsReferredTo) {
    UniqueVariant text = bstrVariant(OLESTR("pump"));
    UniqueVariant reference;
    reference.vt = VT_BYREF | VT_BSTR;
    reference.byref = &text.bstrVal;
    UniqueVariant outer;
    outer.vt = VT_BYREF | VT_VARIANT;
    outer.pvarVal = &reference;
    for (const VARIANT* source : {static_cast<const VARIANT*>(&text), static_cast<const VARIANT*>(&reference),
                                  static_cast<const VARIANT*>(&outer)}) {
        UniqueVariant copy;
        ASSERT_EQ(VariantCopyInd(&copy, const_cast<VARIANT*>(source)), S_OK);
        EXPECT_EQ(copy.vt, VT_BSTR);
        EXPECT_NE(copy.bstrVal, text.bstrVal);
        EXPECT_EQ(valueText(copy), "pump");
    }
    ASSERT_EQ(VariantCopyInd(&reference, &reference), S_OK);
    EXPECT_EQ(reference.vt, VT_BSTR);
    EXPECT_NE(reference.bstrVal, text.bstrVal);

    UniqueVariant outermost;
    outermost.vt = VT_BYREF | VT_VARIANT;
    outermost.pvarVal = &outer;
    UniqueVariant copy;
    EXPECT_EQ(VariantCopyInd(&copy, &outermost), E_INVALIDARG);
    UniqueVariant bad;
    bad.vt = VT_BYREF | VT_I4;
    if (kPortable) {  // Wine follows the null reference
        EXPECT_EQ(VariantCopyInd(&copy, &bad), E_INVALIDARG);
    }
    bad.vt = 0x1000 | VT_I4;
    EXPECT_EQ(VariantCopyInd(&copy, &bad), DISP_E_BADVARTYPE);
    bad.vt = VT_EMPTY;
}

TEST(VariantOwnership, KeepsABstrsOddLengthInACopy) {
    UniqueVariant bytes;
    bytes.vt = VT_BSTR;
    bytes.bstrVal = SysAllocStringByteLen("abc", 3);
    UniqueVariant copy;
    ASSERT_EQ(VariantCopy(&copy, &bytes), S_OK);
    EXPECT_EQ(SysStringByteLen(copy.bstrVal), 3u);
}

TEST(VariantOwnership, CountsObjects) {
    TestObject object;
    {
        UniqueVariant first;
        first.vt = VT_UNKNOWN;
        first.punkVal = &object;
        object.AddRef();
        UniqueVariant second;
        ASSERT_EQ(VariantCopy(&second, &first), S_OK);
        EXPECT_EQ(object.references, 2u);
    }
    EXPECT_EQ(object.references, 0u);
}

TEST(VariantOwnership, CopyReplacesTheTargetEvenWhenItOwnsTheSource) {
    UniqueVariant holder;
    holder.vt = VT_ARRAY | VT_VARIANT;
    holder.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    auto* inner = static_cast<VARIANT*>(holder.parray->pvData);
    *inner = bstrVariant(OLESTR("inner")).detach();
    UniqueVariant target = bstrVariant(OLESTR("old"));
    ASSERT_EQ(VariantCopy(&target, inner), S_OK);
    EXPECT_EQ(valueText(target), "inner");
    ASSERT_EQ(VariantCopy(&target, &target), S_OK);
    EXPECT_EQ(valueText(target), "inner");
}

TEST(VariantOwnership, TypesThatAVariantCannotHaveAreRefused) {
    const VARTYPE bad[] = {15, 24, 25, 64, VT_ARRAY, VT_ARRAY | VT_NULL, VT_BYREF, 0x1000 | VT_I4, 0x8000 | VT_I4};
    for (const VARTYPE type : bad) {
        VARIANT value;
        VariantInit(&value);
        value.vt = type;
        EXPECT_EQ(VariantClear(&value), DISP_E_BADVARTYPE) << type;
        UniqueVariant copy;
        EXPECT_EQ(VariantCopy(&copy, &value), DISP_E_BADVARTYPE) << type;
        EXPECT_EQ(VariantChangeType(&copy, &value, 0, VT_I4), DISP_E_BADVARTYPE) << type;
        UniqueVariant number = makeVariant("I4 1");
        EXPECT_EQ(VariantCopy(&value, &number), DISP_E_BADVARTYPE) << type;
    }
}

TEST(VariantOwnership, DecimalLiesOverTheType) {
    UniqueVariant value = makeVariant("DEC -1:2:3/4");
    EXPECT_EQ(value.decVal.wReserved, VT_DECIMAL);
    UniqueVariant copy;
    ASSERT_EQ(VariantCopy(&copy, &value), S_OK);
    EXPECT_EQ(copy.vt, VT_DECIMAL);
    EXPECT_EQ(valueText(copy), "-1:2:3/4");
}

// ---- Conversions ---------------------------------------------------------------------------------

struct MatrixRow {
    const char* source;
    const char* expected;
};
constexpr MatrixRow kMatrix[] = {
#include "tests/com/automation_matrix.inc"
};
constexpr const char* kTargets[] = {"I1", "UI1", "I2", "UI2",  "I4",  "UI4",  "I8",  "UI8",
                                    "R4", "R8",  "CY", "DATE", "DEC", "BOOL", "BSTR"};

TEST(VariantChangeType, EveryScalarBecomesEveryOtherAsMeasured) {
    for (const MatrixRow& row : kMatrix) {
        std::string_view expected = row.expected;
        for (const char* target : kTargets) {
            const std::string_view value = takeUpTo(expected, '|');
            if (value == "*") continue;
            EXPECT_THAT(converted(row.source, typeNamed(target), kEnglish), Agrees(value))
                << row.source << " to " << target;
        }
    }
}

TEST(VariantChangeType, TheRuntimesDifferOnlyWhereOursIsMeantTo) {
    struct {
        const char* source;
        const char* target;
        const char* ours;
        const char* other;
        const char* reason;
    } const differences[] = {
        {"R8 nan", "I4", "overflow", "2147483647", "no integer is not a number"},
        {"R8 nan", "UI1", "overflow", "255", "no integer is not a number"},
        {"R4 nan", "I8", "overflow", "9223372036854775807", "no integer is not a number"},
        {"R8 nan", "DATE", "overflow", "nan", "no day is not a number"},
        {"DATE nan", "BSTR", "0x80070057", "12/30/1899 12:00:00 AM", "no day is not a number"},
        {"R4 1e10", "DATE", "overflow", "1e+10", "days are checked whatever type they come from"},
        {"CY 9223372036854775807", "DATE", "overflow", "922337203685477.6", "days are checked"},
        {"DEC 1:0:0/0", "DATE", "overflow", "18446744073709551616", "days are checked"},
        {"R8 9.2e18", "I8", "9200000000000000000", "overflow", "the whole range is used"},
        {"DEC -0:2147483648:0/0", "I8", "-9223372036854775808", "overflow", "the whole range is used"},
        {"I8 922337203685477", "CY", "9223372036854770000", "overflow", "the whole range is used"},
        {"BOOL -1", "DEC", "-0:0:1/0", "0:0:1/0", "true is -1 in every numeric type"},
        {"CY -12345", "I8", "-1", "-2", "rounds as the other integers do"},
        {"DEC -0:0:0/0", "UI8", "0", "overflow", "minus zero is zero"},
        {"DEC 0:0:149/6", "CY", "1", "2", "rounds to the nearest"},
        {"DEC 0:0:1/28", "R8", "1e-28", "1.0000000000000001e-28", "the nearest double"},
        {"BSTR 9223372036854775808", "R8", "9223372036854775808", "9223372036854777856", "the nearest double"},
        {"DATE 39508.524259259255", "DEC", "0:919879:2204648741/11", "0:919879:2204648742/11", "the nearest decimal"},
        {"DEC 0:0:1/29", "BSTR", "0x80070057", "0.00000000000000000000000000001", "no DECIMAL has 29 decimals"},
        {"BSTR 1e-400", "DEC", "0:0:0/0", "0:0:1/144", "no DECIMAL has 144 decimals"},
        {"BSTR 1e-320", "R4", "0", "overflow", "too small is zero, as it is for a double"},
        {"BSTR &HFF", "CY", "2550000", "overflow", "bits are a number for every type"},
        {"BSTR &HFFFFFFFF", "R8", "4294967295", "overflow", "bits are a number for every type"},
        {"BSTR &HFFFFFFFFFFFFFFFF", "UI8", "18446744073709551615", "overflow", "all 64 bits are read"},
        {"BSTR 01-Jan-08", "DATE", "39448", "36899", "the day comes first, as in all other locales"},
    };
    for (const auto& row : differences) {
        EXPECT_THAT(converted(row.source, typeNamed(row.target), kEnglish), Agrees(kPortable ? row.ours : row.other))
            << row.source << " to " << row.target << ": " << row.reason;
    }
}

TEST(VariantChangeType, NumbersInTextFollowTheLocale) {
    struct {
        LCID locale;
        const char* text;
        const char* value;
    } const cases[] = {
        {kEnglish, "1,5", "15"},
        {kEnglish, "1,234.5", "1234.5"},
        {kEnglish, "$1.5", "1.5"},
        {kEnglish, "\u00A31.5", "mismatch"},
        {kBritish, "\u00A31.5", "1.5"},
        {kBritish, "1,234.5", "1234.5"},
        {kGerman, "1,5", "1.5"},
        {kGerman, "1.5", "15"},
        {kGerman, "1.234,5", "1234.5"},
        {kGerman, "1,5 \u20AC", "1.5"},
        {kGerman, "$1,5", "mismatch"},
        {kFrench, "1,5", "1.5"},
        {kFrench, "1.5", "mismatch"},
        {kFrench, "1 234,5", "1234.5"},
        {kFrench, "1\u00A0234,5", "1234.5"},
        {kItalian, "1.234,5", "1234.5"},
        {kSpanish, "(\u20AC1,5)", "-1.5"},
        {kSpanish, "-1,5", "-1.5"},
        {0x10809, "\u00A31.5", kPortable ? "1.5" : "mismatch"},  // British in another sort order, which Wine has not
        {0x0C07, "1,5", "1.5"},                                  // German of Austria,
        {0x080C, "1,5", "1.5"},                                  // French of Belgium,
        {0x0C09, "1,234.5", "1234.5"},                           // English of Australia
        {0x080A, "1.5", kPortable ? "15" : "1.5"},               // Spanish of Mexico, which ours writes as Spain does
        {LOCALE_USER_DEFAULT, "1.5", "1.5"},
        {LOCALE_SYSTEM_DEFAULT, "1.5", "1.5"},
        {LOCALE_INVARIANT, "1.5", "1.5"},
        {0, "1.5", "1.5"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(converted("BSTR " + std::string(row.text), VT_R8, row.locale), row.value)
            << row.locale << ": " << row.text;
    }
}

TEST(VariantChangeType, NumbersAreWrittenWithTheLocalesDecimalSignOnly) {
    for (const LCID locale : kKnownLocales) {
        const std::string sign = locale == kEnglish || locale == kBritish ? "." : ",";
        EXPECT_EQ(converted("R8 -1234567.5", VT_BSTR, locale), "-1234567" + sign + "5");
        EXPECT_EQ(converted("R4 0.1", VT_BSTR, locale), "0" + sign + "1");
        EXPECT_EQ(converted("CY -123456789", VT_BSTR, locale), "-12345" + sign + "6789");
        EXPECT_EQ(converted("DEC -0:0:123456/2", VT_BSTR, locale), "-1234" + sign + "56");
        EXPECT_EQ(converted("R8 1e20", VT_BSTR, locale), "1E+20");
        EXPECT_EQ(converted("R8 1e-7", VT_BSTR, locale), "1E-07");
        EXPECT_EQ(converted("I4 1234567", VT_BSTR, locale), "1234567");
    }
}

TEST(VariantChangeType, RealsHaveFifteenDigitsAndSevenAsText) {
    struct {
        const char* source;
        const char* text;
    } const cases[] = {
        {"R8 0.1234567890123456", "0.123456789012346"},
        {"R8 123456789012345.6", "123456789012346"},
        {"R8 1e15", "1E+15"},
        {"R8 999999999999999.4", "999999999999999"},
        {"R8 5e-324", "4.94065645841247E-324"},
        {"R8 1.7976931348623157e308", "1.79769313486232E+308"},
        {"R8 0.0001", "0.0001"},
        {"R8 0.00001", "1E-05"},
        {"R4 3.14159274", "3.141593"},
        {"R4 16777216", "1.677722E+07"},
        {"R4 9999999", "9999999"},
        {"R8 -0", "0"},
        {"R8 inf", "INF"},
        {"R8 -inf", "-INF"},
    };
    for (const auto& row : cases) EXPECT_EQ(converted(row.source, VT_BSTR, kEnglish), row.text) << row.source;
}

TEST(VariantChangeType, TruthIsWordsOnlyWhenAskedFor) {
    for (const LCID locale : kKnownLocales) {
        EXPECT_EQ(converted("BOOL -1", VT_BSTR, locale), "-1");
        EXPECT_EQ(converted("BOOL 0", VT_BSTR, locale), "0");
        EXPECT_EQ(converted("BOOL -1", VT_BSTR, locale, VARIANT_ALPHABOOL), "True");
        EXPECT_EQ(converted("BOOL 0", VT_BSTR, locale, VARIANT_ALPHABOOL), "False");
        for (const char* text : {"true", "TRUE", "#TRUE#", "2"}) {
            EXPECT_EQ(converted("BSTR " + std::string(text), VT_BOOL, locale), "-1") << text;
        }
        for (const char* text : {"yes", "wahr", "vrai", " true", ""}) {
            EXPECT_EQ(converted("BSTR " + std::string(text), VT_BOOL, locale), "mismatch") << text;
        }
    }
}

TEST(VariantChangeType, RefusesWhatIsNotQuiteANumber) {
    const char* texts[] = {"--1", "-1-",  "(1", "1)",  "()",  "$",   "$$1", "1e",  "1e+", "e5", ".",
                           ",5",  "0x10", "&H", "&G1", "12%", "inf", "nan", "1 2", "1d3", "- ", "1e 3"};
    for (const char* text : texts) {
        EXPECT_EQ(converted("BSTR " + std::string(text), VT_R8, kEnglish), "mismatch") << text;
        EXPECT_EQ(converted("BSTR " + std::string(text), VT_I4, kEnglish), "mismatch") << text;
    }
}

TEST(VariantChangeType, WritesDatesAsTheLocaleDoes) {
    struct {
        LCID locale;
        const char* morning;  // 1 March 2008, 1:00
        const char* noon;     // 12:34:56 of that day
        const char* day;
        const char* midnight;  // of day zero
    } const cases[] = {
        {kEnglish, "3/1/2008 1:00:00 AM", "3/1/2008 12:34:56 PM", "3/1/2008", "12:00:00 AM"},
        {kBritish, "01/03/2008 01:00:00", "01/03/2008 12:34:56", "01/03/2008", "00:00:00"},
        {kGerman, "1.3.2008 01:00:00", "1.3.2008 12:34:56", "1.3.2008", "00:00:00"},
        {kFrench, "01/03/2008 01:00:00", "01/03/2008 12:34:56", "01/03/2008", "00:00:00"},
        {kItalian, "1/3/2008 01:00:00", "1/3/2008 12:34:56", "1/3/2008", "00:00:00"},
        {kSpanish, "1/3/2008 1:00:00", "1/3/2008 12:34:56", "1/3/2008", "0:00:00"},
        {LOCALE_SYSTEM_DEFAULT, "3/1/2008 1:00:00 AM", "3/1/2008 12:34:56 PM", "3/1/2008", "12:00:00 AM"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(converted("DATE 39508.0416666667", VT_BSTR, row.locale), row.morning);
        EXPECT_EQ(converted("DATE 39508.524259259255", VT_BSTR, row.locale), row.noon);
        EXPECT_EQ(converted("DATE 39508", VT_BSTR, row.locale), row.day);
        EXPECT_EQ(converted("DATE 0", VT_BSTR, row.locale), row.midnight);
    }
    EXPECT_EQ(converted("DATE -657434", VT_BSTR, kEnglish), "1/1/100");
    // Ours has no form for no locale and takes the English one.
    EXPECT_EQ(converted("DATE 39508.5", VT_BSTR, LOCALE_INVARIANT),
              kPortable ? "3/1/2008 12:00:00 PM" : "03/01/2008 12:00:00");
    EXPECT_EQ(converted("DATE 39508.9999999", VT_BSTR, kEnglish), "3/2/2008 12:00:00 AM");
    EXPECT_EQ(converted("DATE 2958466", VT_BSTR, kEnglish), "0x80070057");
}

TEST(VariantChangeType, ReadsTheSameDateInEveryLocale) {
    struct {
        const char* text;
        const char* date;
    } const cases[] = {
        {"2008-03-01 12:34:56", "39508.524259259255"},
        {" 2008-03-01 ", "39508"},
        {"2008/3/1", "39508"},
        {"13/02/2008", "39491"},
        {"02/13/2008", "39491"},
        {"2008-01-02 3:04:05 PM", "39449.62783564815"},
        {"3 PM", "0.625"},
        {"12:00 AM", "0"},
        {"12 PM", "0.5"},
        {"0:00", "0"},
        {"29/12/1899 18:00", "-1.75"},
        {"31/12/9999 23:59:59", "2958465.999988426"},
        {"1/2007", "39083"},
        {"30/2/1", "47515"},
        {"1/1/49", "54424"},
        {"1/1/50", "18264"},
        {"1/1/100", "-657434"},
        {"2008-02-29", "39507"},
        {"2007-02-29", "mismatch"},
        {"2008-03-01T12:34:56", "mismatch"},
        {"2008-03-01T12:34:56Z", "mismatch"},
        {"2008-03-01 12:34:56.789", "mismatch"},
        {"1/1/10000", "mismatch"},
        {"0/1/2008", "mismatch"},
        {"24:00", "mismatch"},
        {"23:60", "mismatch"},
        {"12:34:", "mismatch"},
        {"1/2/2008/", "mismatch"},
        {"1/2/2008 3", "mismatch"},
        {"39508", "mismatch"},
        {"yesterday", "mismatch"},
        {"", "mismatch"},
    };
    for (const LCID locale : kKnownLocales) {
        for (const auto& row : cases) {
            EXPECT_THAT(converted("BSTR " + std::string(row.text), VT_DATE, locale), Agrees(row.date))
                << locale << ": " << row.text;
        }
        EXPECT_EQ(converted("BSTR 01/02/2008", VT_DATE, locale), locale == kEnglish ? "39449" : "39479") << locale;
    }
}

TEST(VariantChangeType, ReadsNamesAndSeparatorsOfTheLocale) {
    struct {
        LCID locale;
        const char* text;
        const char* date;
    } const cases[] = {
        {kEnglish, "March 1, 2008", "39508"},
        {kEnglish, "1-Mar-2008", "39508"},
        {kEnglish, "Saturday 1 MARCH 2008", "39508"},
        {kEnglish, "Mar 2008", "39508"},
        {kEnglish, "12.30", "0.5208333333333334"},
        {kEnglish, "1.3.2008", "mismatch"},
        {kEnglish, "1 Marc 2008", "mismatch"},
        {kEnglish, "March", "mismatch"},
        {kBritish, "1 Sept 2008", "39692"},
        {kGerman, "1. M\u00E4rz 2008", "39508"},
        {kGerman, "1.3.2008 12:30", "39508.520833333336"},
        {kGerman, "1 March 2008", "mismatch"},
        {kFrench, "1 f\u00E9vrier 2008", "39479"},
        {kFrench, "1 janv. 2008", "39448"},
        {kItalian, "1 mar 2008", "39508"},
        {kSpanish, "mi\u00E9rcoles 2 enero 2008", "39449"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(converted("BSTR " + std::string(row.text), VT_DATE, row.locale), row.date)
            << row.locale << ": " << row.text;
    }
}

TEST(VariantChangeType, EverythingButNullErrorsAndArraysBecomesEmpty) {
    for (const char* source : {"I4 7", "BSTR text", "UNKNOWN", "EMPTY", "DATE 1"}) {
        EXPECT_EQ(converted(source, VT_EMPTY, kEnglish), "-") << source;
        EXPECT_EQ(converted(source, VT_NULL, kEnglish), "-") << source;
    }
    EXPECT_EQ(converted("NULL", VT_NULL, kEnglish), "-");
    EXPECT_EQ(converted("NULL", VT_EMPTY, kEnglish), "mismatch");
    EXPECT_EQ(converted("ERROR 5", VT_ERROR, kEnglish), "5");
    EXPECT_EQ(converted("ERROR 5", VT_EMPTY, kEnglish), "mismatch");
    EXPECT_EQ(converted("I4 5", VT_ERROR, kEnglish), "mismatch");
    EXPECT_EQ(converted("I4 5", VT_UNKNOWN, kEnglish), "mismatch");
    EXPECT_EQ(converted("INT -1", VT_UINT, kEnglish), "4294967295");
    EXPECT_EQ(converted("UI8 4294967296", VT_INT, kEnglish), "overflow");
}

TEST(VariantChangeType, ArraysConvertToTheirOwnTypeAlone) {
    UniqueVariant array;
    array.vt = VT_ARRAY | VT_I4;
    array.parray = SafeArrayCreateVector(VT_I4, 0, 2);
    UniqueVariant result;
    ASSERT_EQ(VariantChangeType(&result, &array, 0, VT_ARRAY | VT_I4), S_OK);
    EXPECT_NE(result.parray, array.parray);
    for (const VARTYPE target : {VARTYPE(VT_ARRAY | VT_R8), VARTYPE(VT_BSTR), VARTYPE(VT_EMPTY), VARTYPE(VT_I4)}) {
        EXPECT_EQ(VariantChangeType(&result, &array, 0, target), DISP_E_TYPEMISMATCH) << target;
    }
    UniqueVariant number = makeVariant("I4 1");
    EXPECT_EQ(VariantChangeType(&result, &number, 0, VT_ARRAY | VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(VariantChangeType(&result, &number, 0, VT_BYREF | VT_I4), DISP_E_TYPEMISMATCH);
}

TEST(VariantChangeType, TextAndItsBytesAreOneAnother) {
    UniqueVariant text = bstrVariant(OLESTR("AB"));
    UniqueVariant bytes;
    ASSERT_EQ(VariantChangeType(&bytes, &text, 0, VT_ARRAY | VT_UI1), S_OK);
    ASSERT_EQ(bytes.vt, VT_ARRAY | VT_UI1);
    EXPECT_EQ(bytes.parray->rgsabound[0].lLbound, 0);
    EXPECT_EQ(bytes.parray->rgsabound[0].cElements, 4u);
    EXPECT_EQ(std::memcmp(bytes.parray->pvData, "A\0B\0", 4), 0);
    UniqueVariant back;
    ASSERT_EQ(VariantChangeType(&back, &bytes, 0, VT_BSTR), S_OK);
    EXPECT_EQ(valueText(back), "AB");
    bytes.parray->rgsabound[0].cElements = 3;
    ASSERT_EQ(VariantChangeType(&back, &bytes, 0, VT_BSTR), S_OK);
    EXPECT_EQ(SysStringByteLen(back.bstrVal), 3u);
    ASSERT_EQ(VariantChangeType(&back, &back, 0, VT_ARRAY | VT_UI1), S_OK);
    EXPECT_EQ(back.parray->rgsabound[0].cElements, 3u);

    text = bstrVariant(OLESTR(""));
    ASSERT_EQ(VariantChangeType(&bytes, &text, 0, VT_ARRAY | VT_UI1), S_OK);
    EXPECT_EQ(bytes.parray->rgsabound[0].cElements, 0u);
    EXPECT_EQ(VariantChangeType(&bytes, &text, 0, VT_ARRAY | VT_I1), DISP_E_TYPEMISMATCH);
    UniqueVariant cube;
    SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
    cube.vt = VT_ARRAY | VT_UI1;
    cube.parray = SafeArrayCreate(VT_UI1, 2, bounds);
    EXPECT_EQ(VariantChangeType(&bytes, &cube, 0, VT_BSTR), E_INVALIDARG);
}

TEST(VariantChangeType, WorksInPlaceAndAFailureLeavesTheTarget) {
    UniqueVariant value = bstrVariant(OLESTR("12.5"));
    ASSERT_EQ(VariantChangeTypeEx(&value, &value, kEnglish, 0, VT_DECIMAL), S_OK);
    EXPECT_EQ(valueText(value), "0:0:125/1");
    ASSERT_EQ(VariantChangeTypeEx(&value, &value, kGerman, 0, VT_BSTR), S_OK);
    EXPECT_EQ(valueText(value), "12,5");

    UniqueVariant text = bstrVariant(OLESTR("text"));
    EXPECT_EQ(VariantChangeTypeEx(&text, &text, kEnglish, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(valueText(text), "text");
    UniqueVariant target = makeVariant("I4 9");
    EXPECT_EQ(VariantChangeTypeEx(&target, &text, kEnglish, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(valueText(target), "9");
}

TEST(VariantChangeType, FollowsReferences) {
    std::int16_t number = 300;
    UniqueVariant reference;
    reference.vt = VT_BYREF | VT_I2;
    reference.byref = &number;
    UniqueVariant result;
    ASSERT_EQ(VariantChangeTypeEx(&result, &reference, kEnglish, 0, VT_BSTR), S_OK);
    EXPECT_EQ(valueText(result), "300");
    EXPECT_EQ(VariantChangeTypeEx(&result, &reference, kEnglish, 0, VT_UI1), DISP_E_OVERFLOW);

    UniqueVariant inner = bstrVariant(OLESTR("7"));
    UniqueVariant outer;
    outer.vt = VT_BYREF | VT_VARIANT;
    outer.pvarVal = &inner;
    ASSERT_EQ(VariantChangeTypeEx(&result, &outer, kEnglish, 0, VT_R8), S_OK);
    EXPECT_EQ(valueText(result), "7");
    UniqueVariant outermost;
    outermost.vt = VT_BYREF | VT_VARIANT;
    outermost.pvarVal = &outer;
    EXPECT_EQ(VariantChangeTypeEx(&result, &outermost, kEnglish, 0, VT_R8), E_INVALIDARG);
}
