#include <korvex/native/OpxCmnClient.h>

#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "com/ComObject.h"
#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "tests/support/TraceCapture.h"

namespace OpxOpc {
namespace {

using Korvex::Com::comCalls;
using Korvex::Com::platformComCalls;

constexpr CLSID kKnownClass = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x5A}};
const OLECHAR* const kKnownProgId = OLESTR("Vendor.Server.1");

// Has one class, or no end.
class OneClass final : public Korvex::Com::ComObject<IEnumGUID> {
public:
    explicit OneClass(bool isEndless) : isEndless_(isEndless) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG, GUID* ids, ULONG* fetched) override {
        *ids = kKnownClass;
        *fetched = left_;
        if (isEndless_) return S_OK;
        return std::exchange(left_, 0) == 1 ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumGUID**) override { return E_NOTIMPL; }

private:
    const bool isEndless_;
    ULONG left_ = 1;
};

// Lives on the stack of its test.
template <typename Interface>
class OnStack : public Interface {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }

    ULONG references = 0;
};

// A server list that knows one ProgID.
class OneServerList final : public OnStack<IOPCServerList2> {
public:
    HRESULT STDMETHODCALLTYPE EnumClassesOfCategories(ULONG, CATID*, ULONG, CATID*, IOPCEnumGUID**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetClassDetails(REFCLSID, LPOLESTR*, LPOLESTR*, LPOLESTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CLSIDFromProgID(LPCOLESTR progId, LPCLSID clsid) override {
        if (OpxStringView(progId) != kKnownProgId) return CO_E_CLASSSTRING;
        *clsid = kKnownClass;
        return S_OK;
    }
};

// The same as old machines have it.
class OldServerList final : public OnStack<IOPCServerList> {
public:
    HRESULT STDMETHODCALLTYPE EnumClassesOfCategories(ULONG, CATID*, ULONG, CATID*, IEnumGUID** classes) override {
        *classes = new OneClass(isEndless);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetClassDetails(REFCLSID, LPOLESTR* progId, LPOLESTR* type) override {
        *progId = Korvex::Com::copyToTaskMemory(kKnownProgId);
        *type = Korvex::Com::copyToTaskMemory(OLESTR("A server"));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE CLSIDFromProgID(LPCOLESTR, LPCLSID clsid) override {
        *clsid = kKnownClass;
        return S_OK;
    }

    bool isEndless = false;
};

// What the library asked of COM, answered by this test.
struct SeenCalls {
    OneServerList list;
    OldServerList oldList;
    bool isOld = false;
    int creations = 0;
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
            ++seen->creations;
            if (failed(seen->creation)) return seen->creation;
            const bool wantsOld = *results[0].pIID == IID_IOPCServerList;
            EXPECT_TRUE(wantsOld || IsEqualIID(*results[0].pIID, IID_IOPCServerList2));
            if (wantsOld != seen->isOld) return results[0].hr = E_NOINTERFACE;
            results[0].pItf = wantsOld ? static_cast<IUnknown*>(&seen->oldList) : &seen->list;
            results[0].pItf->AddRef();
            return results[0].hr = S_OK;
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
    calls_.creation = E_ACCESSDENIED;
    EXPECT_EQ(OpxCmnClient().clsidFromProgId({}, kKnownProgId, clsid), E_ACCESSDENIED);
    EXPECT_EQ(toUtf8(clsid), "before");
    EXPECT_EQ(calls_.list.references, 0u);
}

TEST_F(OpxCmnClientTest, AnOldMachinesListIsAskedThroughItsOnlyInterface) {
    Korvex::Testing::TraceCapture trace;
    calls_.isOld = true;
    OpxString clsid;
    EXPECT_EQ(OpxCmnClient().clsidFromProgId(OLESTR("plant7"), kKnownProgId, clsid), S_OK);
    EXPECT_EQ(toUtf8(clsid), "{11111111-2222-3333-4444-55555555555A}");
    EXPECT_EQ(calls_.creations, 2);
    EXPECT_TRUE(trace.hasInOrder({"DONE CoCreateInstanceEx [hr=0x80004002]", "CALL CoCreateInstanceEx",
                                  "DONE CoCreateInstanceEx [hr=0x0]", "CALL IOPCServerList::CLSIDFromProgID"}));

    std::vector<OpxServerIdentifier> servers;
    EXPECT_EQ(OpxCmnClient().enumComServer(OLESTR("plant7"), false, {ServerCategory::OPCDA}, servers), S_OK);
    ASSERT_EQ(servers.size(), 1u);
    EXPECT_EQ(toUtf8(servers[0].GetURL()), "opcda://plant7/Vendor.Server.1/{11111111-2222-3333-4444-55555555555A}");
    EXPECT_EQ(calls_.oldList.references, 0u);

    calls_.creations = 0;
    calls_.creation = E_ACCESSDENIED;
    EXPECT_EQ(OpxCmnClient().clsidFromProgId({}, kKnownProgId, clsid), E_ACCESSDENIED);
    EXPECT_EQ(calls_.creations, 1) << "no other failure says that the machine is old";
}

TEST_F(OpxCmnClientTest, AListWithoutAnEndIsAFailure) {
    Korvex::Testing::TraceCapture trace;
    calls_.isOld = true;
    calls_.oldList.isEndless = true;
    std::vector<OpxServerIdentifier> servers;
    EXPECT_EQ(OpxCmnClient().enumComServer(OLESTR("plant7"), false, {ServerCategory::OPCDA}, servers), E_FAIL);
    EXPECT_TRUE(trace.has("Error: CmnClient::enumComServer - The list has more than 100000 classes"));
}

TEST_F(OpxCmnClientTest, WithoutAListOfServersThisMachineIsAskedItself) {
    Korvex::Testing::TraceCapture trace;
    calls_.creation = REGDB_E_CLASSNOTREG;
    OpxString clsid;
    EXPECT_EQ(OpxCmnClient().clsidFromProgId(OLESTR("plant7"), kKnownProgId, clsid), REGDB_E_CLASSNOTREG);
    EXPECT_FALSE(trace.has("CALL CLSIDFromProgID"));
    EXPECT_EQ(OpxCmnClient().clsidFromProgId({}, OLESTR("No.Such.Server.1"), clsid), CO_E_CLASSSTRING);
    EXPECT_TRUE(trace.hasInOrder({"CALL CLSIDFromProgID", "DONE CLSIDFromProgID [hr=0x800401f3]"}));
}

TEST(OpxCmnClient, WorksOnAnyThreadBesideAUserInterface) {
    HRESULT found = E_UNEXPECTED;
    std::thread([&] {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        {
            OpxCmnClient client;
            std::thread([&] {
                OpxString clsid;
                found = client.clsidFromProgId({}, OLESTR("No.Such.Server.1"), clsid);
            }).join();
        }
        CoUninitialize();
    }).join();
    EXPECT_EQ(found, CO_E_CLASSSTRING);
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
