#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <vector>

#include "com/ComPtr.h"
#include "com/com.h"
#include "com/owners.h"
#include "tests/com/TestObject.h"

using Korvex::toUtf8;
using namespace Korvex::Com;
using namespace Korvex::Testing;

namespace {

// Where text has a character type of its own, the runtime is this project's.
constexpr bool kPortable = std::is_same_v<OLECHAR, char16_t>;

// FADF_CREATEVECTOR, which not every SDK declares.
constexpr int kMadeAsVector = 0x2000;

UniqueSafeArray makeVector(VARTYPE type, LONG lowest, ULONG count) {
    return UniqueSafeArray(SafeArrayCreateVector(type, lowest, count));
}

UniqueSafeArray makeCube() {
    SAFEARRAYBOUND bounds[] = {{2, 10}, {3, 20}, {4, 30}};
    return UniqueSafeArray(SafeArrayCreate(VT_I4, 3, bounds));
}

UniqueSafeArray copyOf(SAFEARRAY* array) {
    SAFEARRAY* copy = nullptr;
    EXPECT_EQ(SafeArrayCopy(array, &copy), S_OK);
    return UniqueSafeArray(copy);
}

std::string textAt(const UniqueSafeArray& array, LONG index) {
    BSTR text = nullptr;
    EXPECT_EQ(SafeArrayGetElement(array.get(), &index, &text), S_OK);
    return Korvex::toUtf8(bstrView(UniqueBstr(text).get()));
}

}  // namespace

TEST(SafeArray, KnowsItsElementTypeAndSize) {
    struct {
        VARTYPE type;
        UINT size;
    } const cases[] = {{VT_I1, 1},
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
                       {VT_VARIANT, sizeof(VARIANT)}};
    for (const auto& row : cases) {
        const UniqueSafeArray array = makeVector(row.type, 1, 2);
        ASSERT_NE(array, nullptr) << row.type;
        VARTYPE type = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetVartype(array.get(), &type), S_OK);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(SafeArrayGetElemsize(array.get()), row.size) << row.type;

        const UniqueSafeArray copy = copyOf(array.get());
        EXPECT_EQ(SafeArrayGetVartype(copy.get(), &type), S_OK);
        EXPECT_EQ(type, row.type);
    }
    for (const VARTYPE type : {VT_EMPTY, VT_NULL, VT_VOID}) EXPECT_EQ(makeVector(type, 0, 1), nullptr) << type;
}

TEST(SafeArray, SaysInItsFeaturesWhatItsElementsOwn) {
    struct {
        VARTYPE type;
        int features;
        IID interfaceId;
    } const cases[] = {{VT_I4, FADF_HAVEVARTYPE, {}},
                       {VT_BSTR, FADF_HAVEVARTYPE | FADF_BSTR, {}},
                       {VT_VARIANT, FADF_HAVEVARTYPE | FADF_VARIANT, {}},
                       {VT_UNKNOWN, FADF_HAVEIID | FADF_UNKNOWN, IID_IUnknown},
                       {VT_DISPATCH, FADF_HAVEIID | FADF_DISPATCH, IID_IDispatch}};
    for (const auto& row : cases) {
        SAFEARRAYBOUND bound = {1, 0};
        const UniqueSafeArray array(SafeArrayCreate(row.type, 1, &bound));
        const UniqueSafeArray vector = makeVector(row.type, 0, 1);
        EXPECT_EQ(array->fFeatures, row.features) << row.type;
        EXPECT_EQ(vector->fFeatures, row.features | kMadeAsVector) << row.type;
        EXPECT_EQ(copyOf(vector.get())->fFeatures, row.features) << row.type;

        IID found = {};
        const bool hasInterface = (row.features & FADF_HAVEIID) != 0;
        EXPECT_EQ(SafeArrayGetIID(array.get(), &found), hasInterface ? S_OK : E_INVALIDARG) << row.type;
        EXPECT_TRUE(IsEqualIID(found, row.interfaceId)) << row.type;
    }

    SAFEARRAYBOUND bound = {1, 0};
    IID factory = IID_IClassFactory;
    const UniqueSafeArray factories(SafeArrayCreateEx(VT_UNKNOWN, 1, &bound, &factory));
    IID found = {};
    EXPECT_EQ(SafeArrayGetIID(factories.get(), &found), S_OK);
    EXPECT_TRUE(IsEqualIID(found, IID_IClassFactory));
}

TEST(SafeArray, MayBeMadeByItsOwnerInMemoryThatItsOwnerFrees) {
    for (const int owner : {FADF_AUTO, FADF_STATIC, FADF_EMBEDDED, FADF_FIXEDSIZE}) {
        std::vector<OLECHAR*> texts = {SysAllocString(OLESTR("one")), SysAllocString(OLESTR("two"))};
        struct {
            std::uint32_t notTheArrays[4];
            SAFEARRAY array;
        } own = {{0, 0, 0, VT_I4}, {1, static_cast<USHORT>(owner | FADF_BSTR), sizeof(BSTR), 0, nullptr, {{2, 0}}}};
        own.array.pvData = texts.data();

        const UniqueSafeArray copy = copyOf(&own.array);
        EXPECT_EQ(textAt(copy, 1), "two");
        VARTYPE type = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetVartype(&own.array, &type), E_INVALIDARG);
        if (!kPortable) {  // Wine reads and frees what it did not allocate
            for (BSTR each : texts) SysFreeString(each);
            continue;
        }
        own.array.fFeatures |= FADF_HAVEVARTYPE;
        EXPECT_EQ(SafeArrayGetVartype(&own.array, &type), E_INVALIDARG);
        SAFEARRAYBOUND three = {3, 0};
        EXPECT_EQ(SafeArrayRedim(&own.array, &three), E_INVALIDARG);
        EXPECT_EQ(SafeArrayDestroy(&own.array), S_OK);
        EXPECT_EQ(texts, std::vector<OLECHAR*>(2));
    }
}

TEST(SafeArray, GrowsAndShrinksAtItsLastDimension) {
    SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 10}};
    const UniqueSafeArray array(SafeArrayCreate(VT_BSTR, 2, bounds));
    const auto put = [&](LONG row, LONG column, const OLECHAR* text) {
        LONG indices[] = {row, column};
        return SafeArrayPutElement(array.get(), indices, makeBstr(text).get());
    };
    const auto at = [&](LONG row, LONG column) {
        LONG indices[] = {row, column};
        void* element = nullptr;
        EXPECT_EQ(SafeArrayPtrOfIndex(array.get(), indices, &element), S_OK);
        return element ? toUtf8(bstrView(*static_cast<BSTR*>(element))) : "none";
    };
    ASSERT_EQ(put(0, 10, OLESTR("first")), S_OK);
    ASSERT_EQ(put(1, 11, OLESTR("last")), S_OK);

    SAFEARRAYBOUND three = {3, 10};
    ASSERT_EQ(SafeArrayLock(array.get()), S_OK);
    EXPECT_EQ(SafeArrayRedim(array.get(), &three), DISP_E_ARRAYISLOCKED);
    ASSERT_EQ(SafeArrayUnlock(array.get()), S_OK);
    ASSERT_EQ(SafeArrayRedim(array.get(), &three), S_OK);
    EXPECT_EQ(at(0, 10), "first");
    EXPECT_EQ(at(1, 11), "last");
    EXPECT_EQ(at(1, 12), "");
    ASSERT_EQ(put(1, 12, OLESTR("new")), S_OK);

    SAFEARRAYBOUND one = {1, 5};
    ASSERT_EQ(SafeArrayRedim(array.get(), &one), S_OK);
    EXPECT_EQ(at(0, 5), "first");
    LONG gone[] = {1, 11};
    void* element = nullptr;
    EXPECT_EQ(SafeArrayPtrOfIndex(array.get(), gone, &element), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayRedim(array.get(), nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayRedim(nullptr, &one), E_INVALIDARG);
}

TEST(SafeArray, MayBeMadeInSteps) {
    SAFEARRAY* made = nullptr;
    EXPECT_EQ(SafeArrayAllocDescriptor(0, &made), E_INVALIDARG);
    ASSERT_EQ(SafeArrayAllocDescriptor(1, &made), S_OK);
    const UniqueSafeArray array(made);
    EXPECT_EQ(array->fFeatures, 0);
    array->cbElements = 4;
    array->rgsabound[0] = {2, 0};
    ASSERT_EQ(SafeArrayAllocData(array.get()), S_OK);
    LONG index = 1;
    std::int32_t value = 7;
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, &value), S_OK);
    const UniqueSafeArray copy = copyOf(array.get());
    value = 0;
    ASSERT_EQ(SafeArrayGetElement(copy.get(), &index, &value), S_OK);
    EXPECT_EQ(value, 7);
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(copy.get(), &type), E_INVALIDARG);
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
        std::uint8_t offset;
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
    const HRESULT results[] = {SafeArrayAccessData(nullptr, &data),
                               SafeArrayAccessData(array.get(), nullptr),
                               SafeArrayUnaccessData(nullptr),
                               SafeArrayGetVartype(nullptr, &type),
                               SafeArrayGetVartype(array.get(), nullptr),
                               SafeArrayGetLBound(nullptr, 1, &number),
                               SafeArrayGetUBound(array.get(), 1, nullptr),
                               SafeArrayGetElement(array.get(), nullptr, &number),
                               SafeArrayGetElement(array.get(), &number, nullptr),
                               SafeArrayPutElement(nullptr, &number, &number),
                               SafeArrayCopy(array.get(), nullptr)};
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

    EXPECT_EQ(copyOf(array.get())->cLocks, 0u);

    EXPECT_EQ(SafeArrayUnaccessData(array.get()), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(array.get()), S_OK);
    EXPECT_EQ(SafeArrayUnaccessData(array.get()), E_UNEXPECTED);
}

TEST(SafeArray, CountsItsLocksWhoeverTakesThem) {
    const UniqueSafeArray array = makeVector(VT_I4, 0, 1);
    const auto comeAndGo = [&] {
        for (int round = 0; round < 20'000; ++round) {
            void* data = nullptr;
            ASSERT_EQ(SafeArrayAccessData(array.get(), &data), S_OK);
            ASSERT_EQ(SafeArrayUnaccessData(array.get()), S_OK);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(comeAndGo);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(array->cLocks, 0u);
}

TEST(SafeArray, OwnsCopiesOfTexts) {
    const UniqueSafeArray array = makeVector(VT_BSTR, 0, 2);
    LONG index = 0;
    {
        const UniqueBstr text = makeBstr(OLESTR("one"));
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, text.get()), S_OK);
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, text.get()), S_OK);
    }
    const UniqueSafeArray copy = copyOf(array.get());
    ASSERT_EQ(SafeArrayPutElement(array.get(), &index, nullptr), S_OK);

    EXPECT_EQ(textAt(copy, 0), "one");
    for (index = 0; index < 2; ++index) EXPECT_EQ(textAt(array, index), "");
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
        const UniqueSafeArray copy = copyOf(array.get());
        EXPECT_EQ(object.references, 2u);

        ComPtr<IUnknown> element;
        ASSERT_EQ(SafeArrayGetElement(copy.get(), &index, element.put()), S_OK);
        EXPECT_EQ(object.references, 3u);
        ASSERT_EQ(SafeArrayPutElement(array.get(), &index, nullptr), S_OK);
        EXPECT_EQ(object.references, 2u);
    }
    EXPECT_EQ(object.references, 0u);
}
