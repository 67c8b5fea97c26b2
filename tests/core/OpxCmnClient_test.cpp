#include <korvex/native/OpxCmnClient.h>

#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "com/ComPtr.h"
#include "com/opc_interfaces.h"

namespace OpxOpc {
namespace {

using Korvex::Com::comCalls;
using Korvex::Com::platformComCalls;

constexpr CLSID kKnownClass = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x5A}};
const OLECHAR* const kKnownProgId = OLESTR("Vendor.Server.1");

// A server list that knows one ProgID. It lives on the stack of its test.
class OneServerList final : public IOPCServerList2 {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE EnumClassesOfCategories(ULONG, CATID*, ULONG, CATID*, IOPCEnumGUID**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetClassDetails(REFCLSID, LPOLESTR*, LPOLESTR*, LPOLESTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CLSIDFromProgID(LPCOLESTR progId, LPCLSID clsid) override {
        if (OpxStringView(progId) != kKnownProgId) return CO_E_CLASSSTRING;
        *clsid = kKnownClass;
        return S_OK;
    }

    ULONG references = 0;
};

// What the library asked of COM, answered by this test.
struct SeenCalls {
    OneServerList list;
    CLSID created = {};
    DWORD context = 0;
    OpxString host;
    bool serverInfoGiven = false;
    HRESULT creation = S_OK;
    int initializations = 0;
    int uninitializations = 0;
};
SeenCalls* seen = nullptr;

class OpxCmnClientTest : public testing::Test {
protected:
    OpxCmnClientTest() {
        seen = &calls_;
        comCalls().coInitializeEx = [](DWORD) -> HRESULT {
            ++seen->initializations;
            return S_OK;
        };
        comCalls().coUninitialize = [] { ++seen->uninitializations; };
        comCalls().coInitializeSecurity = [](DWORD) -> HRESULT { return S_OK; };
        comCalls().coCreateInstanceEx = [](REFCLSID clsid, DWORD context, COSERVERINFO* server, DWORD,
                                           MULTI_QI* results) -> HRESULT {
            seen->created = clsid;
            seen->context = context;
            seen->serverInfoGiven = server != nullptr;
            if (server) seen->host = server->pwszName;
            if (failed(seen->creation)) return seen->creation;
            EXPECT_TRUE(IsEqualIID(*results[0].pIID, IID_IOPCServerList2));
            seen->list.AddRef();
            results[0].pItf = &seen->list;
            results[0].hr = S_OK;
            return S_OK;
        };
    }
    ~OpxCmnClientTest() override { comCalls() = platformComCalls(); }

    SeenCalls calls_;
};

TEST_F(OpxCmnClientTest, ResolvesAProgIdThroughTheServerListOfThisMachine) {
    OpxString clsid;
    EXPECT_EQ(OpxCmnClient().clsidFromProgId({}, kKnownProgId, clsid), S_OK);
    EXPECT_EQ(toUtf8(clsid), "{11111111-2222-3333-4444-55555555555A}");
    EXPECT_TRUE(IsEqualCLSID(calls_.created, CLSID_OpcServerList));
    EXPECT_EQ(calls_.context, 23u);
    EXPECT_FALSE(calls_.serverInfoGiven);
    EXPECT_EQ(calls_.list.references, 0u);
}

TEST_F(OpxCmnClientTest, AHostIsAlwaysRemote) {
    OpxString clsid;
    EXPECT_EQ(OpxCmnClient().clsidFromProgId(OLESTR("plant7"), kKnownProgId, clsid), S_OK);
    EXPECT_EQ(calls_.context, 16u);
    EXPECT_EQ(toUtf8(calls_.host), "plant7");
}

TEST_F(OpxCmnClientTest, AFailureIsItsCodeAndLeavesTheTextAlone) {
    OpxString clsid = OLESTR("before");
    EXPECT_EQ(OpxCmnClient().clsidFromProgId({}, OLESTR("Unknown.1"), clsid), CO_E_CLASSSTRING);
    calls_.creation = REGDB_E_CLASSNOTREG;
    EXPECT_EQ(OpxCmnClient().clsidFromProgId({}, kKnownProgId, clsid), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(toUtf8(clsid), "before");
    EXPECT_EQ(calls_.list.references, 0u);
}

TEST_F(OpxCmnClientTest, TheFirstObjectInitialisesComAndTheLastOneUndoesIt) {
    {
        OpxCmnClient first;
        OpxCmnClient second;
        EXPECT_EQ(calls_.initializations, 1);
    }
    EXPECT_EQ(calls_.uninitializations, 1);

    {
        auto elsewhere = std::make_unique<OpxCmnClient>();
        std::thread([&] { elsewhere.reset(); }).join();
    }
    EXPECT_EQ(calls_.uninitializations, 1);  // that thread's apartment is not this library's to leave

    comCalls().coInitializeEx = [](DWORD) -> HRESULT { return RPC_E_CHANGED_MODE; };
    { OpxCmnClient inSingleThreadedApartment; }
    EXPECT_EQ(calls_.uninitializations, 1);
}

}  // namespace
}  // namespace OpxOpc
