#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "com/ComPtr.h"
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

TEST(Apartment, AThreadThatEnteredNoneSeesTheMultiThreadedOneOfTheProcess) {
    TestObject object;
    const auto createOnFreshThread = [] {
        HRESULT hr = S_OK;
        onFreshThread([&] {
            ComPtr<IGlobalInterfaceTable> table;
            DWORD cookie = 0;
            TestObject other;
            hr = CoRegisterClassObject(kTestClass, &other, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
            if (succeeded(hr)) CoRevokeClassObject(cookie);
        });
        return hr;
    };
    EXPECT_EQ(createOnFreshThread(), CO_E_NOTINITIALIZED);
    {
        const Apartment multiThreaded(COINIT_MULTITHREADED);
        EXPECT_EQ(createOnFreshThread(), S_OK);
    }
    {
        const Apartment singleThreaded(COINIT_APARTMENTTHREADED);
        EXPECT_EQ(createOnFreshThread(), CO_E_NOTINITIALIZED);
    }
}

TEST(Apartment, LeavingMoreOftenThanEnteringIsHarmless) {
    onFreshThread([] {
        CoUninitialize();
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        CoUninitialize();
    });
}

TEST(GlobalInterfaceTable, HoldsAReferenceUnderACookieUntilItIsRevoked) {
    const Apartment apartment(COINIT_MULTITHREADED);
    ComPtr<IGlobalInterfaceTable> table;
    ASSERT_EQ(createInterfaceTable(table), S_OK);
    TestObject object;
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

TEST(GlobalInterfaceTable, IsTheSameForEveryThread) {
    const Apartment apartment(COINIT_MULTITHREADED);
    ComPtr<IGlobalInterfaceTable> table;
    ASSERT_EQ(createInterfaceTable(table), S_OK);
    TestObject object;
    DWORD cookie = 0;
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

TEST(Security, IsSettledOnceInAProcess) {
    const Apartment apartment(COINIT_MULTITHREADED);
    const auto settle = [] {
        return CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_NONE, RPC_C_IMP_LEVEL_IMPERSONATE,
                                    nullptr, EOAC_NONE, nullptr);
    };
    EXPECT_EQ(settle(), S_OK);
#ifdef KORVEX_PORTABLE_RUNTIME  // Wine accepts the call however often it is made
    EXPECT_EQ(settle(), RPC_E_TOO_LATE);
#endif
}

}  // namespace
}  // namespace Korvex::Testing
