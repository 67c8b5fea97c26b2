#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "tests/com/TestObject.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;

constexpr CLSID kNoClass = {0x0A1B2C3D, 0x9999, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};

class Activation : public ::testing::Test {
protected:
    Activation() {
        EXPECT_EQ(CoRegisterClassObject(kTestClass, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie), S_OK);
    }
    ~Activation() override {
        CoRevokeClassObject(cookie);
        EXPECT_EQ(factory.references, 0u);
    }

    const Apartment apartment{COINIT_MULTITHREADED};
    TestObject factory;
    DWORD cookie = 0;
};

TEST_F(Activation, CreatesObjectsOfARegisteredClassUntilItIsRevoked) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_ALL, IID_IUnknown, object.putVoid()), S_OK);
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.putVoid()), S_OK);
    EXPECT_EQ(factory.created, 2);
    object.release();

    ComPtr<IClassFactory> classObject;
    EXPECT_EQ(CoGetClassObject(kTestClass, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory, classObject.putVoid()),
              S_OK);
    EXPECT_EQ(classObject.get(), &factory);
    classObject.release();

    EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
    EXPECT_EQ(CoRevokeClassObject(cookie), E_INVALIDARG);
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.putVoid()),
              REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(object);
}

TEST_F(Activation, AnUnknownClassAndAnInterfaceThatIsMissingAreTold) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(kNoClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.putVoid()),
              REGDB_E_CLASSNOTREG);
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_INPROC_SERVER, IID_IEnumString, object.putVoid()),
              E_NOINTERFACE);
    EXPECT_FALSE(object);
}

TEST_F(Activation, OneCreationAsksForSeveralInterfaces) {
    MULTI_QI wanted[] = {{&IID_IUnknown, nullptr, S_OK}, {&IID_IClassFactory, nullptr, S_OK}};
    ASSERT_EQ(CoCreateInstanceEx(kTestClass, nullptr, CLSCTX_INPROC_SERVER, nullptr, 2, wanted), S_OK);
    for (MULTI_QI& entry : wanted) {
        EXPECT_EQ(entry.hr, S_OK);
        ASSERT_TRUE(entry.pItf);
        entry.pItf->Release();
    }

    MULTI_QI partly[] = {{&IID_IClassFactory, nullptr, S_OK}, {&IID_IEnumString, nullptr, S_OK}};
    ASSERT_EQ(CoCreateInstanceEx(kTestClass, nullptr, CLSCTX_INPROC_SERVER, nullptr, 2, partly), CO_S_NOTALLINTERFACES);
    EXPECT_EQ(partly[1].hr, E_NOINTERFACE);
    EXPECT_FALSE(partly[1].pItf);
    EXPECT_EQ(partly[0].hr, S_OK);
    partly[0].pItf->Release();

    MULTI_QI none[] = {{&IID_IEnumString, nullptr, S_OK}};
    EXPECT_EQ(CoCreateInstanceEx(kTestClass, nullptr, CLSCTX_INPROC_SERVER, nullptr, 1, none), E_NOINTERFACE);
    EXPECT_EQ(none[0].hr, E_NOINTERFACE);

    MULTI_QI unknown[] = {{&IID_IUnknown, nullptr, S_OK}};
    EXPECT_EQ(CoCreateInstanceEx(kNoClass, nullptr, CLSCTX_INPROC_SERVER, nullptr, 1, unknown), REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(unknown[0].pItf);
}

TEST_F(Activation, TheInterfaceTableHasAClassObjectLikeAnyOther) {
    ComPtr<IClassFactory> classObject;
    ASSERT_EQ(CoGetClassObject(CLSID_StdGlobalInterfaceTable, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                               classObject.putVoid()),
              S_OK);
    ComPtr<IGlobalInterfaceTable> table;
    EXPECT_EQ(classObject->CreateInstance(nullptr, IID_IGlobalInterfaceTable, table.putVoid()), S_OK);
    EXPECT_TRUE(table);
}

TEST_F(Activation, AnObjectInTheProcessHasNoConnectionToCut) {
    EXPECT_EQ(CoDisconnectObject(&factory, 0), S_OK);
}

TEST_F(Activation, AClassIsFoundInTheContextsItIsRegisteredForOnly) {
    struct {
        DWORD context;
        DWORD flags;
        HRESULT inProcess;
    } const cases[] = {
        {CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, S_OK},
        {CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE, S_OK},
        {CLSCTX_LOCAL_SERVER, REGCLS_MULTI_SEPARATE, REGDB_E_CLASSNOTREG},
    };
    for (const auto& row : cases) {
        TestObject own;
        DWORD ownCookie = 0;
        ASSERT_EQ(CoRegisterClassObject(kNoClass, &own, row.context, row.flags, &ownCookie), S_OK);
        ComPtr<IUnknown> object;
        EXPECT_EQ(CoCreateInstance(kNoClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, object.putVoid()),
                  row.inProcess);
        object.release();
        EXPECT_EQ(CoRevokeClassObject(ownCookie), S_OK);
    }
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_LOCAL_SERVER, IID_IUnknown, object.putVoid()),
              REGDB_E_CLASSNOTREG);
}

#ifdef KORVEX_PORTABLE_RUNTIME

TEST_F(Activation, AClassObjectThatAnswersNothingIsNone) {
    factory.answersNothing = true;
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_ALL, IID_IUnknown, object.putVoid()), E_NOINTERFACE);
}

TEST_F(Activation, WhatAFailedCreationLeavesIsNotReleased) {
    TestObject stray;
    factory.stray = &stray;
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_ALL, IID_IUnknown, object.putVoid()), E_FAIL);
    EXPECT_FALSE(object);
    EXPECT_EQ(stray.references, 0u);
}

// Wine hands such a class object out again and again.
TEST_F(Activation, AClassObjectForASingleUseIsHandedOutOnce) {
    TestObject single;
    DWORD singleCookie = 0;
    ASSERT_EQ(CoRegisterClassObject(kNoClass, &single, CLSCTX_INPROC_SERVER, REGCLS_SINGLEUSE, &singleCookie), S_OK);
    ComPtr<IUnknown> object;
    EXPECT_EQ(CoCreateInstance(kNoClass, nullptr, CLSCTX_ALL, IID_IUnknown, object.putVoid()), S_OK);
    EXPECT_EQ(CoCreateInstance(kNoClass, nullptr, CLSCTX_ALL, IID_IUnknown, object.putVoid()), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(single.references, 0u);
    EXPECT_EQ(CoRevokeClassObject(singleCookie), S_OK);
}

// Wine looks at local contexts only, whatever host is named.

TEST_F(Activation, ANamedHostIsNotReachedForWantOfATransport) {
    OpxString host = OLESTR("plant7");
    COSERVERINFO server = {};
    server.pwszName = host.data();
    MULTI_QI wanted[] = {{&IID_IUnknown, nullptr, S_OK}};
    for (const DWORD context : {DWORD{CLSCTX_REMOTE_SERVER}, DWORD{CLSCTX_ALL}}) {
        EXPECT_EQ(CoCreateInstanceEx(kTestClass, nullptr, context, &server, 1, wanted), hresult(0x800706BAu));
        EXPECT_EQ(wanted[0].hr, hresult(0x800706BAu));
    }
    EXPECT_EQ(CoCreateInstanceEx(kTestClass, nullptr, CLSCTX_REMOTE_SERVER, nullptr, 1, wanted), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(factory.created, 0);

    host.clear();
    server.pwszName = host.data();
    EXPECT_EQ(CoCreateInstanceEx(kTestClass, nullptr, CLSCTX_ALL, &server, 1, wanted), S_OK);
    ComPtr<IUnknown>::adopt(wanted[0].pItf);
    EXPECT_EQ(factory.created, 1);
}

#endif

}  // namespace
}  // namespace Korvex::Testing
