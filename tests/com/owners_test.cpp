#include "com/owners.h"

#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "tests/com/TestObject.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;

TEST(ComPtr, CountsEveryReferenceItTakesAndGives) {
    TestObject object;
    {
        const ComPtr<IClassFactory> first(&object);
        ComPtr<IClassFactory> second = first;
        EXPECT_EQ(object.references, 2u);
        ComPtr<IClassFactory> third = std::move(second);
        EXPECT_FALSE(second);
        EXPECT_EQ(object.references, 2u);
        EXPECT_EQ(third.release(), 1u);
        EXPECT_EQ(third.release(), 0u);

        ComPtr<IUnknown> queried;
        EXPECT_EQ(first.query(queried), S_OK);
        EXPECT_EQ(object.references, 2u);
        IUnknown* handedOver = queried.detach();
        EXPECT_EQ(object.references, 2u);
        ComPtr<IUnknown>::adopt(handedOver);
        ComPtr<IEnumString> missing;
        EXPECT_EQ(first.query(missing), E_NOINTERFACE);
        EXPECT_FALSE(missing);
    }
    EXPECT_EQ(object.references, 0u);
}

TEST(ComPtr, TakesNothingFromAQueryThatFailsOrAnswersNothing) {
    TestObject object;
    TestObject stray;
    const ComPtr<IClassFactory> factory(&object);
    object.stray = &stray;
    ComPtr<IEnumString> missing;
    EXPECT_EQ(factory.query(missing), E_NOINTERFACE);
    EXPECT_FALSE(missing);
    EXPECT_EQ(stray.references, 0u);
    object.answersNothing = true;
    ComPtr<IUnknown> nothing;
    EXPECT_EQ(factory.query(nothing), E_NOINTERFACE);
}

TEST(TaskArray, FreesWhatItsElementsOwn) {
    Com::TaskArray<LPOLESTR> texts(2);
    *texts.put() = Com::allocateTaskArray<LPOLESTR>(2);
    texts[0] = Com::copyToTaskMemory(OLESTR("one"));
    EXPECT_EQ(texts.size(), 2u);

    TestObject object;
    Com::TaskArray<VARIANT> values(1);
    *values.put() = Com::allocateTaskArray<VARIANT>(1);
    values[0].vt = VT_UNKNOWN;
    values[0].punkVal = &object;
    object.AddRef();
    values.clear();
    EXPECT_EQ(object.references, 0u);
    EXPECT_EQ(values.size(), 0u);
}

TEST(UniqueVariant, MovesItsContentAndClearsIt) {
    TestObject object;
    object.AddRef();
    Com::UniqueVariant first;
    first.vt = VT_UNKNOWN;
    first.punkVal = &object;
    Com::UniqueVariant second = std::move(first);
    EXPECT_EQ(first.vt, VT_EMPTY);
    first = std::move(second);
    EXPECT_EQ(object.references, 1u);
    VARIANT content = first.detach();
    first.clear();
    EXPECT_EQ(object.references, 1u);
    VariantClear(&content);
    EXPECT_EQ(object.references, 0u);
}

TEST(TaskMemory, GrowsAndKeepsItsContent) {
    auto* memory = static_cast<BYTE*>(CoTaskMemAlloc(4));
    memory[3] = 7;
    memory = static_cast<BYTE*>(CoTaskMemRealloc(memory, 4096));
    EXPECT_EQ(memory[3], 7);
    CoTaskMemFree(memory);
    CoTaskMemFree(nullptr);
    void* empty = CoTaskMemAlloc(0);
    EXPECT_NE(empty, nullptr);
    CoTaskMemFree(empty);
}

}  // namespace
}  // namespace Korvex::Testing
