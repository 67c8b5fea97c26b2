#include <gtest/gtest.h>

#include <vector>

#include "com/ComPtr.h"
#include "com/com.h"
#include "com/owners.h"
#include "tests/com/TestObject.h"

using namespace Korvex::Com;
using namespace Korvex::Testing;

namespace {

UniqueSafeArray makeVector(VARTYPE type, LONG lowest, ULONG count) {
    return UniqueSafeArray(SafeArrayCreateVector(type, lowest, count));
}

UniqueSafeArray makeCube() {
    SAFEARRAYBOUND bounds[] = {{2, 10}, {3, 20}, {4, 30}};
    return UniqueSafeArray(SafeArrayCreate(VT_I4, 3, bounds));
}

}  // namespace

TEST(SafeArray, KnowsItsElementTypeAndSize) {
    struct {
        VARTYPE type;
        UINT size;
    } const cases[] = {
        {VT_I1, 1},
        {VT_UI1, 1},
        {VT_I2, 2},
        {VT_UI2, 2},
        {VT_BOOL, 2},
        {VT_I4, 4},
        {VT_UI4, 4},
        {VT_INT, 4},
        {VT_UINT, 4},
        {VT_R4, 4},
        {VT_ERROR, 4},
        {VT_I8, 8},
        {VT_UI8, 8},
        {VT_R8, 8},
        {VT_CY, 8},
        {VT_DATE, 8},
        {VT_DECIMAL, 16},
        {VT_BSTR, sizeof(BSTR)},
        {VT_UNKNOWN, sizeof(void*)},
        {VT_VARIANT, sizeof(VARIANT)},
    };
    for (const auto& row : cases) {
        const UniqueSafeArray array = makeVector(row.type, 1, 2);
        ASSERT_NE(array, nullptr) << row.type;
        VARTYPE type = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetVartype(array.get(), &type), S_OK);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(SafeArrayGetElemsize(array.get()), row.size) << row.type;

        SAFEARRAY* copied = nullptr;
        ASSERT_EQ(SafeArrayCopy(array.get(), &copied), S_OK);
        const UniqueSafeArray copy(copied);
        EXPECT_EQ(SafeArrayGetVartype(copy.get(), &type), S_OK);
        EXPECT_EQ(type, row.type);
    }
    for (const VARTYPE type : {VT_EMPTY, VT_NULL, VT_VOID}) EXPECT_EQ(makeVector(type, 0, 1), nullptr) << type;
    EXPECT_NE(makeVector(VT_BSTR, 0, 1)->fFeatures & FADF_BSTR, 0);
    EXPECT_NE(makeVector(VT_VARIANT, 0, 1)->fFeatures & FADF_VARIANT, 0);
    EXPECT_NE(makeVector(VT_UNKNOWN, 0, 1)->fFeatures & FADF_UNKNOWN, 0);
}

TEST(SafeArray, CountsDimensionsFromTheLeftWhichVariesFastest) {
    const UniqueSafeArray cube = makeCube();
    EXPECT_EQ(SafeArrayGetDim(cube.get()), 3u);
    for (UINT dimension = 1; dimension <= 3; ++dimension) {
        LONG lowest = 0;
        LONG highest = 0;
        EXPECT_EQ(SafeArrayGetLBound(cube.get(), dimension, &lowest), S_OK);
        EXPECT_EQ(SafeArrayGetUBound(cube.get(), dimension, &highest), S_OK);
        EXPECT_EQ(lowest, static_cast<LONG>(dimension * 10));
        EXPECT_EQ(highest, static_cast<LONG>(dimension * 10 + dimension));
    }
    EXPECT_EQ(cube->rgsabound[0].lLbound, 30);

    struct {
        LONG indices[3];
        int offset;
    } cases[] = {{{10, 20, 30}, 0}, {{11, 20, 30}, 1}, {{10, 21, 30}, 2}, {{10, 20, 31}, 6}, {{11, 22, 33}, 23}};
    for (auto& row : cases) {
        LONG value = row.offset + 100;
        ASSERT_EQ(SafeArrayPutElement(cube.get(), row.indices, &value), S_OK);
        const SafeArrayAccess<LONG> elements(cube.get());
        EXPECT_EQ(elements[row.offset], value);
    }
}

TEST(SafeArray, RefusesDimensionsAndIndicesThatItDoesNotHave) {
    const UniqueSafeArray cube = makeCube();
    LONG bound = 0;
    EXPECT_EQ(SafeArrayGetLBound(cube.get(), 0, &bound), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayGetUBound(cube.get(), 4, &bound), DISP_E_BADINDEX);
    LONG value = 0;
    for (std::vector<LONG> indices : {std::vector<LONG>{9, 20, 30}, {12, 20, 30}, {10, 20, 34}, {10, -1, 30}}) {
        EXPECT_EQ(SafeArrayGetElement(cube.get(), indices.data(), &value), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayPutElement(cube.get(), indices.data(), &value), DISP_E_BADINDEX);
    }

    const UniqueSafeArray empty = makeVector(VT_I4, 5, 0);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(SafeArrayGetUBound(empty.get(), 1, &bound), S_OK);
    EXPECT_EQ(bound, 4);
    LONG index = 5;
    EXPECT_EQ(SafeArrayGetElement(empty.get(), &index, &value), DISP_E_BADINDEX);
    SAFEARRAYBOUND one = {1, 0};
    EXPECT_EQ(SafeArrayCreate(VT_I4, 0, &one), nullptr);
}

TEST(SafeArray, NullArgumentsAreRefused) {
    const UniqueSafeArray array = makeVector(VT_I4, 0, 1);
    LONG number = 0;
    void* data = nullptr;
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
    EXPECT_EQ(SafeArrayGetDim(nullptr), 0u);
    EXPECT_EQ(SafeArrayGetElemsize(nullptr), 0u);
    const HRESULT results[] = {
        SafeArrayAccessData(nullptr, &data),
        SafeArrayAccessData(array.get(), nullptr),
        SafeArrayUnaccessData(nullptr),
        SafeArrayGetVartype(nullptr, &type),
        SafeArrayGetVartype(array.get(), nullptr),
        SafeArrayGetLBound(nullptr, 1, &number),
        SafeArrayGetUBound(array.get(), 1, nullptr),
        SafeArrayGetElement(array.get(), nullptr, &number),
        SafeArrayGetElement(array.get(), &number, nullptr),
        SafeArrayPutElement(nullptr, &number, &number),
        SafeArrayCopy(array.get(), nullptr),
    };
    for (const HRESULT result : results) EXPECT_EQ(result, E_INVALIDARG);
    SAFEARRAY* copy = array.get();
    EXPECT_EQ(SafeArrayCopy(nullptr, &copy), S_OK);
    EXPECT_EQ(copy, nullptr);
}

TEST(SafeArray, IsNotDestroyedWhileSomeoneHoldsItsData) {
    const UniqueSafeArray array = makeVector(VT_I4, 0, 3);
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array.get(), &first), S_OK);
    ASSERT_EQ(SafeArrayAccessData(array.get(), &second), S_OK);
    EXPECT_EQ(first, second);
    EXPECT_EQ(array->cLocks, 2u);
    EXPECT_EQ(SafeArrayDestroy(array.get()), DISP_E_ARRAYISLOCKED);
    VARIANT holder;
    VariantInit(&holder);
    holder.vt = VT_ARRAY | VT_I4;
    holder.parray = array.get();
    EXPECT_EQ(VariantClear(&holder), DISP_E_ARRAYISLOCKED);

    SAFEARRAY* copied = nullptr;
    ASSERT_EQ(SafeArrayCopy(array.get(), &copied), S_OK);
    EXPECT_EQ(UniqueSafeArray(copied)->cLocks, 0u);

    EXPECT_EQ(SafeArrayUnaccessData(array.get()), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(array.get()), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(array.get()), E_UNEXPECTED);
}

TEST(SafeArray, OwnsCopiesOfTexts) {
    const UniqueSafeArray array = makeVector(VT_BSTR, 0, 2);
    LONG index = 0;
    {
        const UniqueBstr text = makeBstr(OLESTR("one"));
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, text.get()), S_OK);
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, text.get()), S_OK);
    }
    SAFEARRAY* copied = nullptr;
    ASSERT_EQ(SafeArrayCopy(array.get(), &copied), S_OK);
    const UniqueSafeArray copy(copied);
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, nullptr), S_OK);

    BSTR element = nullptr;
    ASSERT_EQ(SafeArrayGetElement(copy.get(), &index, &element), S_OK);
    EXPECT_EQ(bstrView(UniqueBstr(element).get()), OLESTR("one"));
    for (index = 0; index < 2; ++index) {
        element = nullptr;
        ASSERT_EQ(SafeArrayGetElement(array.get(), &index, &element), S_OK);
        EXPECT_EQ(bstrView(UniqueBstr(element).get()), OLESTR(""));
    }
}

TEST(SafeArray, OwnsCopiesOfVariants) {
    const UniqueSafeArray array = makeVector(VT_VARIANT, 1, 1);
    LONG index = 1;
    {
        UniqueVariant value;
        value.vt = VT_BSTR;
        value.bstrVal = makeBstr(OLESTR("inside")).release();
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, &value), S_OK);
    }
    UniqueVariant holder;
    holder.vt = VT_ARRAY | VT_VARIANT;
    holder.parray = array.get();
    UniqueVariant copy;
    ASSERT_EQ(VariantCopy(&copy, &holder), S_OK);
    (void)holder.detach();
    EXPECT_NE(copy.parray, array.get());

    UniqueVariant element;
    ASSERT_EQ(SafeArrayGetElement(copy.parray, &index, &element), S_OK);
    EXPECT_EQ(element.vt, VT_BSTR);
    EXPECT_EQ(bstrView(element.bstrVal), OLESTR("inside"));
}

TEST(SafeArray, CountsObjectsInItsElements) {
    TestObject object;
    {
        const UniqueSafeArray array = makeVector(VT_UNKNOWN, 0, 2);
        LONG index = 0;
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, static_cast<IUnknown*>(&object)), S_OK);
        SAFEARRAY* copied = nullptr;
        ASSERT_EQ(SafeArrayCopy(array.get(), &copied), S_OK);
        const UniqueSafeArray copy(copied);
        EXPECT_EQ(object.references, 2u);

        ComPtr<IUnknown> element;
        ASSERT_EQ(SafeArrayGetElement(copy.get(), &index, element.put()), S_OK);
        EXPECT_EQ(object.references, 3u);
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, nullptr), S_OK);
        EXPECT_EQ(object.references, 2u);
    }
    EXPECT_EQ(object.references, 0u);
}
