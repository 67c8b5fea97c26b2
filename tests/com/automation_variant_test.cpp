#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "com/com.h"
#include "com/owners.h"
#include "tests/com/TestObject.h"
#include "tests/com/VariantText.h"
#include "tests/support/rows.h"

using Korvex::OpxStringView;
using namespace Korvex::Com;
using namespace Korvex::Testing;

namespace {

// Where text has a character type of its own, the runtime is this project's.
constexpr bool kPortable = std::is_same_v<OLECHAR, char16_t>;

constexpr LCID kEnglish = 1033, kGerman = 1031;
constexpr LCID kKnownLocales[] = {kEnglish, 2057, kGerman, 1036, 1040, 3082};

UniqueVariant bstrVariant(OpxStringView text) {
    UniqueVariant result;
    result.vt = VT_BSTR;
    result.bstrVal = makeBstr(text).release();
    return result;
}

UniqueVariant referenceTo(VARTYPE type, void* target) {
    UniqueVariant result;
    result.vt = static_cast<VARTYPE>(VT_BYREF | type);
    result.byref = target;
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

    UniqueVariant reference = referenceTo(VT_BSTR, &text.bstrVal);
    ASSERT_EQ(VariantCopy(&copy, &reference), S_OK);
    EXPECT_EQ(copy.vt, VT_BYREF | VT_BSTR);
    EXPECT_EQ(copy.byref, &text.bstrVal);
    reference.clear();
    EXPECT_EQ(valueText(text), "pump");
}

TEST(VariantOwnership, CopyIndTakesWhatIsReferredTo) {
    UniqueVariant text = bstrVariant(OLESTR("pump"));
    UniqueVariant reference = referenceTo(VT_BSTR, &text.bstrVal);
    UniqueVariant outer = referenceTo(VT_VARIANT, &reference);
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

    UniqueVariant outermost = referenceTo(VT_VARIANT, &outer);
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

// A cell whose blanks at its ends are written as ~.
std::string blanks(std::string cell) {
    std::replace(cell.begin(), cell.end(), '~', ' ');
    return cell;
}

TEST(VariantChangeType, EveryScalarBecomesEveryOtherAsMeasured) {
    const char* const targets[] = {"I1", "UI1", "I2", "UI2",  "I4",  "UI4",  "I8",  "UI8",
                                   "R4", "R8",  "CY", "DATE", "DEC", "BOOL", "BSTR"};
    for (const auto& row : rowsOf("com/automation_matrix.txt", 2)) {
        const std::string cells = blanks(row[1]);
        std::string_view expected = cells;
        for (const char* target : targets) {
            const std::string_view value = takeUpTo(expected, '|');
            if (value == "*") continue;
            EXPECT_THAT(converted(blanks(row[0]), typeNamed(target), kEnglish), Agrees(value))
                << row[0] << " to " << target;
        }
    }
}

TEST(VariantChangeType, FollowsTheLocale) {
    for (const auto& row : rowsOf("com/conversions.txt", 5)) {
        std::vector<LCID> locales(std::begin(kKnownLocales), std::end(kKnownLocales));
        if (row[0] != "all") locales = {static_cast<LCID>(std::stoul(row[0], nullptr, 0))};
        const std::string& expected = kPortable || row[4] == "=" ? row[3] : row[4];
        for (const LCID locale : locales) {
            EXPECT_THAT(converted(blanks(row[1]), typeNamed(row[2]), locale), Agrees(expected))
                << row[1] << " to " << row[2] << " in " << locale;
        }
    }
}

TEST(VariantChangeType, TruthIsWordsOnlyWhenAskedFor) {
    for (const LCID locale : kKnownLocales) {
        EXPECT_EQ(converted("BOOL -1", VT_BSTR, locale, VARIANT_ALPHABOOL), "True");
        EXPECT_EQ(converted("BOOL 0", VT_BSTR, locale, VARIANT_ALPHABOOL), "False");
    }
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
    UniqueVariant reference = referenceTo(VT_I2, &number);
    UniqueVariant result;
    ASSERT_EQ(VariantChangeTypeEx(&result, &reference, kEnglish, 0, VT_BSTR), S_OK);
    EXPECT_EQ(valueText(result), "300");
    EXPECT_EQ(VariantChangeTypeEx(&result, &reference, kEnglish, 0, VT_UI1), DISP_E_OVERFLOW);

    UniqueVariant inner = bstrVariant(OLESTR("7"));
    UniqueVariant outer = referenceTo(VT_VARIANT, &inner);
    ASSERT_EQ(VariantChangeTypeEx(&result, &outer, kEnglish, 0, VT_R8), S_OK);
    EXPECT_EQ(valueText(result), "7");
    UniqueVariant outermost = referenceTo(VT_VARIANT, &outer);
    EXPECT_EQ(VariantChangeTypeEx(&result, &outermost, kEnglish, 0, VT_R8), E_INVALIDARG);
}
