#include <functional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "com/platform.h"
#include "tests/com/TestObject.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;

void onFreshThread(const std::function<void()>& body) {
    std::thread(body).join();
}

HRESULT createInterfaceTable(ComPtr<IGlobalInterfaceTable>& table) {
    return CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER, IID_IGlobalInterfaceTable,
                            table.putVoid());
}

TEST(Apartment, AThreadStaysInTheModelItEnteredFirst) {
    for (const DWORD model : {COINIT_MULTITHREADED, COINIT_APARTMENTTHREADED}) {
        const DWORD other = model == COINIT_MULTITHREADED ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED;
        onFreshThread([&] {
            EXPECT_EQ(CoInitializeEx(nullptr, model), S_OK);
            EXPECT_EQ(CoInitializeEx(nullptr, model), S_FALSE);
            EXPECT_EQ(CoInitializeEx(nullptr, other), RPC_E_CHANGED_MODE);
            CoUninitialize();
            EXPECT_EQ(CoInitializeEx(nullptr, other), RPC_E_CHANGED_MODE);
            CoUninitialize();
            EXPECT_EQ(CoInitializeEx(nullptr, other), S_OK);
            CoUninitialize();
        });
    }
}

TEST(Apartment, CoInitializeEntersASingleThreadedOne) {
    onFreshThread([] {
        EXPECT_EQ(CoInitialize(nullptr), S_OK);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
        CoUninitialize();
    });
}

// What a thread that entered no apartment gets from COM.
void expectOnFreshThread(HRESULT expected) {
    onFreshThread([&] {
        ComPtr<IGlobalInterfaceTable> table;
        EXPECT_EQ(createInterfaceTable(table), expected);
        DWORD cookie = 0;
        TestObject object;
        EXPECT_EQ(CoRegisterClassObject(kTestClass, &object, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
                  expected);
        if (cookie != 0) CoRevokeClassObject(cookie);
    });
}

TEST(Apartment, AThreadThatEnteredNoneSeesTheMultiThreadedOneOfTheProcess) {
    expectOnFreshThread(CO_E_NOTINITIALIZED);
    {
        const Apartment multiThreaded(COINIT_MULTITHREADED);
        expectOnFreshThread(S_OK);
    }
    {
        const Apartment singleThreaded(COINIT_APARTMENTTHREADED);
        expectOnFreshThread(CO_E_NOTINITIALIZED);
    }
}

TEST(Apartment, AThreadThatEndsLeavesIt) {
    onFreshThread([] { EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK); });
    onFreshThread([] {
        TestObject object;
        DWORD cookie = 0;
        EXPECT_EQ(CoRegisterClassObject(kTestClass, &object, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
                  CO_E_NOTINITIALIZED);
    });
}

TEST(Apartment, AThreadsObjectsMayLeaveItAtTheThreadsEnd) {
    struct Guard {
        ~Guard() { CoUninitialize(); }
        bool entered = false;
    };
    onFreshThread([] {
        thread_local Guard guard;  // older than the thread's stay
        guard.entered = CoInitializeEx(nullptr, COINIT_MULTITHREADED) == S_OK;
        EXPECT_TRUE(guard.entered);
    });
    expectOnFreshThread(CO_E_NOTINITIALIZED);
}

TEST(Apartment, TheMultiThreadedOneCanBeKeptForThreadsToCome) {
    void* hold = nullptr;
    onFreshThread([&] {
        const Apartment multiThreaded(COINIT_MULTITHREADED);
        hold = Com::holdMultiThreadedApartment();
    });
    expectOnFreshThread(S_OK);
    Com::releaseMultiThreadedApartment(hold);
    expectOnFreshThread(CO_E_NOTINITIALIZED);
}

#ifdef KORVEX_PORTABLE_RUNTIME  // Wine follows a cookie that is used up, and not every import library has these
TEST(Apartment, IsNotGivenUpMoreOftenThanItIsKept) {
    CO_MTA_USAGE_COOKIE cookie = nullptr;
    ASSERT_EQ(CoIncrementMTAUsage(&cookie), S_OK);
    EXPECT_EQ(CoDecrementMTAUsage(cookie), S_OK);
    EXPECT_EQ(CoDecrementMTAUsage(cookie), E_INVALIDARG);
    expectOnFreshThread(CO_E_NOTINITIALIZED);
}
#endif

TEST(Apartment, LeavingMoreOftenThanEnteringIsHarmless) {
    onFreshThread([] {
        CoUninitialize();
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        CoUninitialize();
    });
}

// In the multi-threaded apartment, with the table.
class GlobalInterfaceTable : public ::testing::Test {
protected:
    GlobalInterfaceTable() { EXPECT_EQ(createInterfaceTable(table), S_OK); }

    const Apartment apartment{COINIT_MULTITHREADED};
    ComPtr<IGlobalInterfaceTable> table;
    TestObject object;
    DWORD cookie = 0;
};

TEST_F(GlobalInterfaceTable, HoldsAReferenceUnderACookieUntilItIsRevoked) {
    DWORD first = 0;
    DWORD second = 0;
    ASSERT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IClassFactory, &first), S_OK);
    ASSERT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IUnknown, &second), S_OK);
    EXPECT_NE(first, 0u);
    EXPECT_NE(first, second);
    EXPECT_GE(object.references, 2u);

    ComPtr<IClassFactory> fetched;
    EXPECT_EQ(table->GetInterfaceFromGlobal(first, IID_IClassFactory, fetched.putVoid()), S_OK);
    EXPECT_EQ(fetched.get(), &object);
    fetched.release();

    EXPECT_EQ(table->RevokeInterfaceFromGlobal(first), S_OK);
    EXPECT_EQ(table->RevokeInterfaceFromGlobal(second), S_OK);
    EXPECT_EQ(object.references, 0u);
    EXPECT_EQ(table->RevokeInterfaceFromGlobal(first), E_INVALIDARG);
    EXPECT_EQ(table->GetInterfaceFromGlobal(first, IID_IClassFactory, fetched.putVoid()), E_INVALIDARG);
    EXPECT_EQ(table->GetInterfaceFromGlobal(0, IID_IClassFactory, fetched.putVoid()), E_INVALIDARG);
    EXPECT_FALSE(fetched);
}

TEST_F(GlobalInterfaceTable, IsTheSameForEveryThread) {
    ASSERT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IUnknown, &cookie), S_OK);
    onFreshThread([&] {
        const Apartment own(COINIT_MULTITHREADED);
        ComPtr<IGlobalInterfaceTable> sameTable;
        ASSERT_EQ(createInterfaceTable(sameTable), S_OK);
        ComPtr<IUnknown> fetched;
        EXPECT_EQ(sameTable->GetInterfaceFromGlobal(cookie, IID_IUnknown, fetched.putVoid()), S_OK);
        EXPECT_EQ(fetched.get(), &object);
    });
    EXPECT_EQ(table->RevokeInterfaceFromGlobal(cookie), S_OK);
}

TEST_F(GlobalInterfaceTable, RefusesInterfacesThatTheObjectDoesNotHave) {
    EXPECT_EQ(table->RegisterInterfaceInGlobal(nullptr, IID_IUnknown, &cookie), E_INVALIDARG);
    EXPECT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IEnumString, &cookie), E_NOINTERFACE);
    EXPECT_EQ(object.references, 0u);

    ASSERT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IUnknown, &cookie), S_OK);
    ComPtr<IEnumString> missing;
    EXPECT_EQ(table->GetInterfaceFromGlobal(cookie, IID_IEnumString, missing.putVoid()), E_NOINTERFACE);
    EXPECT_FALSE(missing);
    ComPtr<IClassFactory> other;
    EXPECT_EQ(table->GetInterfaceFromGlobal(cookie, IID_IClassFactory, other.putVoid()), S_OK);
    EXPECT_EQ(table->RevokeInterfaceFromGlobal(cookie), S_OK);
}

TEST_F(GlobalInterfaceTable, ServesManyThreadsAtOnce) {
    const auto comeAndGo = [&] {
        const Apartment multiThreaded(COINIT_MULTITHREADED);
        TestObject own;
        for (int round = 0; round < 100; ++round) {
            DWORD number = 0;
            ASSERT_EQ(table->RegisterInterfaceInGlobal(&own, IID_IClassFactory, &number), S_OK);
            ComPtr<IClassFactory> fetched;
            EXPECT_EQ(table->GetInterfaceFromGlobal(number, IID_IClassFactory, fetched.putVoid()), S_OK);
            EXPECT_EQ(fetched.get(), &own);
            fetched.release();
            EXPECT_EQ(table->RevokeInterfaceFromGlobal(number), S_OK);
        }
        EXPECT_EQ(own.references, 0u);
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(comeAndGo);
    for (std::thread& thread : threads) thread.join();
}

TEST(InterfaceTable, ServesThreadsWithAnApartmentOnly) {
    TestObject object;
    ComPtr<IGlobalInterfaceTable> table;
    DWORD cookie = 0;
    onFreshThread([&] {
        const Apartment apartment(COINIT_APARTMENTTHREADED);
        ASSERT_EQ(createInterfaceTable(table), S_OK);
        ASSERT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IUnknown, &cookie), S_OK);
        onFreshThread([&] {
            DWORD other = 0;
            ComPtr<IUnknown> fetched;
            EXPECT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IUnknown, &other), CO_E_NOTINITIALIZED);
            EXPECT_EQ(table->GetInterfaceFromGlobal(cookie, IID_IUnknown, fetched.putVoid()), CO_E_NOTINITIALIZED);
        });
        EXPECT_EQ(table->RevokeInterfaceFromGlobal(cookie), S_OK);
    });
    EXPECT_EQ(object.references, 0u);
}

#ifdef KORVEX_PORTABLE_RUNTIME  // Wine crashes
TEST_F(GlobalInterfaceTable, RefusesAnObjectThatAnswersNothing) {
    ComPtr<IUnknown> fetched;
    object.answersNothing = true;
    EXPECT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IUnknown, &cookie), E_NOINTERFACE);
    object.answersNothing = false;
    ASSERT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IUnknown, &cookie), S_OK);
    object.answersNothing = true;
    EXPECT_EQ(table->GetInterfaceFromGlobal(cookie, IID_IUnknown, fetched.putVoid()), E_NOINTERFACE);
    EXPECT_EQ(table->RevokeInterfaceFromGlobal(cookie), S_OK);
}
#endif

TEST(Marshaling, AStreamCarriesAnInterfaceToAnotherThread) {
    const Apartment apartment(COINIT_MULTITHREADED);
    TestObject object;
    IStream* stream = nullptr;
    EXPECT_EQ(CoMarshalInterThreadInterfaceInStream(IID_IEnumString, &object, &stream), E_NOINTERFACE);
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID_IClassFactory, &object, &stream), S_OK);
    EXPECT_GE(object.references, 1u);
    onFreshThread([&] {
        const Apartment own(COINIT_MULTITHREADED);
        ComPtr<IClassFactory> carried;
        EXPECT_EQ(CoGetInterfaceAndReleaseStream(stream, IID_IClassFactory, carried.putVoid()), S_OK);
        EXPECT_EQ(carried.get(), &object);
    });
    EXPECT_EQ(object.references, 0u);
    EXPECT_EQ(CoMarshalInterThreadInterfaceInStream(IID_IUnknown, &object, nullptr), E_INVALIDARG);
    ComPtr<IUnknown> none;
    EXPECT_EQ(CoGetInterfaceAndReleaseStream(nullptr, IID_IUnknown, none.putVoid()), E_INVALIDARG);
}

TEST(Marshaling, AnObjectIsKeptAsOftenAsItIsLocked) {
    const Apartment apartment(COINIT_MULTITHREADED);
    TestObject object;
    ASSERT_EQ(CoLockObjectExternal(&object, TRUE, TRUE), S_OK);
    ASSERT_EQ(CoLockObjectExternal(&object, TRUE, TRUE), S_OK);
    EXPECT_GE(object.references, 1u);
    EXPECT_EQ(CoLockObjectExternal(&object, FALSE, TRUE), S_OK);
    EXPECT_GE(object.references, 1u);
    EXPECT_EQ(CoLockObjectExternal(&object, FALSE, TRUE), S_OK);
    EXPECT_EQ(object.references, 0u);
#ifdef KORVEX_PORTABLE_RUNTIME  // Wine releases what it never took
    EXPECT_EQ(CoLockObjectExternal(&object, FALSE, TRUE), S_OK);
    EXPECT_EQ(object.references, 0u);
#endif
}

TEST(Marshaling, TheFreeThreadedMarshalerBelongsToItsObject) {
    TestObject object;
    ComPtr<IUnknown> marshaler;
    ASSERT_EQ(CoCreateFreeThreadedMarshaler(&object, marshaler.put()), S_OK);
    EXPECT_EQ(object.references, 0u);
    ComPtr<IUnknown> identity;
    EXPECT_EQ(marshaler.query(identity), S_OK);
    EXPECT_EQ(identity.get(), marshaler.get());
}

TEST(TaskMemory, HasAnAllocatorThatIsAnObject) {
    ComPtr<IMalloc> allocator;
    ASSERT_EQ(CoGetMalloc(1, allocator.put()), S_OK);
    void* memory = allocator->Alloc(5);
    ASSERT_NE(memory, nullptr);
    memory = allocator->Realloc(memory, 50);
    EXPECT_GE(allocator->GetSize(memory), 50u);
    EXPECT_NE(allocator->DidAlloc(memory), 0);
    CoTaskMemFree(memory);
    memory = CoTaskMemAlloc(1);
    allocator->Free(memory);
    IMalloc* none = nullptr;
    EXPECT_EQ(CoGetMalloc(7, &none), E_INVALIDARG);
    EXPECT_EQ(none, nullptr);
}

HRESULT settleSecurity() {
    return CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_NONE, RPC_C_IMP_LEVEL_IMPERSONATE,
                                nullptr, EOAC_NONE, nullptr);
}

TEST(Security, IsSettledOnceInAProcess) {
#ifdef KORVEX_PORTABLE_RUNTIME  // Wine accepts the call in no apartment, and however often it is made
    EXPECT_EQ(settleSecurity(), CO_E_NOTINITIALIZED);
#endif
    const Apartment apartment(COINIT_MULTITHREADED);
    EXPECT_EQ(settleSecurity(), S_OK);
#ifdef KORVEX_PORTABLE_RUNTIME
    EXPECT_EQ(settleSecurity(), RPC_E_TOO_LATE);
#endif
}

}  // namespace
}  // namespace Korvex::Testing
