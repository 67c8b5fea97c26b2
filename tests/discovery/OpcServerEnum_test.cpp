#include <korvex/opc_cmn/OpcServerEnum.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <korvex/opc_da_client/Exceptions.h>

#include "com/ComCalls.h"
#include "com/ComObject.h"
#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "tests/support/TraceCapture.h"

namespace Korvex::OPC::OpcCmn {
namespace {

using Com::comCalls;
using OpcDaClient::ComException;
using OpcDaClient::NullReferenceException;
using ::testing::ElementsAre;
using Testing::TraceCapture;

// Classes by the last byte of their identifiers.
CLSID classOf(BYTE number) {
    return {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, number}};
}

class Classes final : public Com::ComObject<IOPCEnumGUID> {
public:
    std::vector<CLSID> left;

    HRESULT STDMETHODCALLTYPE Next(ULONG count, GUID* ids, ULONG* fetched) override {
        *fetched = 0;
        if (count != 1 || left.empty()) return S_FALSE;
        *ids = left.front();
        left.erase(left.begin());
        *fetched = 1;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IOPCEnumGUID**) override { return E_NOTIMPL; }
};

// A server list with a data access server, one of alarms, one that is both, and one without details. It
// lives on the stack of its test.
class FourServers final : public IOPCServerList2 {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE EnumClassesOfCategories(ULONG count, CATID* implemented, ULONG required, CATID*,
                                                      IOPCEnumGUID** classes) override {
        asked.push_back(count);
        EXPECT_EQ(required, 0u);
        if (failed(enumeration)) return enumeration;
        auto* const made = new Classes;
        if (*implemented == CATID_OPCDAServer10) made->left = {classOf(1), classOf(9), classOf(3)};
        if (implemented->Data1 == 0x58E13251) made->left = {classOf(2), classOf(3)};
        *classes = made;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetClassDetails(REFCLSID clsid, LPOLESTR* progId, LPOLESTR* type,
                                              LPOLESTR* versionIndependent) override {
        *progId = *type = *versionIndependent = nullptr;
        if (clsid.Data4[7] == 9) return REGDB_E_CLASSNOTREG;
        *progId =
            Com::copyToTaskMemory(OpxString(OLESTR("Vendor.")) + static_cast<OLECHAR>(OLESTR('0') + clsid.Data4[7]));
        *type = Com::copyToTaskMemory(OLESTR("A server"));
        *versionIndependent = Com::copyToTaskMemory(OLESTR("Vendor"));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE CLSIDFromProgID(LPCOLESTR, LPCLSID clsid) override {
        *clsid = classOf(1);
        return resolution;
    }

    std::vector<ULONG> asked;
    HRESULT enumeration = S_OK;
    HRESULT resolution = S_OK;
    ULONG references = 0;
};

FourServers* list = nullptr;

class OpcServerEnumTest : public ::testing::Test {
protected:
    OpcServerEnumTest() {
        list = &servers;
        comCalls().coCreateInstanceEx = [](REFCLSID, DWORD, COSERVERINFO*, DWORD, MULTI_QI* results) -> HRESULT {
            list->AddRef();
            results[0].pItf = list;
            results[0].hr = S_OK;
            return S_OK;
        };
    }
    ~OpcServerEnumTest() override {
        comCalls() = Com::platformComCalls();
        EXPECT_EQ(servers.references, 0u);
    }

    std::vector<std::string> urlsOf(bool all, NullableArray<ServerCategory> categories, const char* host = "") {
        std::vector<ServerIdentifier> found;
        enumeration.EnumComServer(host, all, categories, found);
        std::vector<std::string> urls;
        for (const ServerIdentifier& server : found) urls.push_back(toUtf8(server.Url().value()).substr(0, 20));
        return urls;
    }

    FourServers servers;
    OpcServerEnum enumeration;
};

TEST_F(OpcServerEnumTest, ListsTheServersOfEveryCategoryInItsOrder) {
    EXPECT_THAT(urlsOf(true, nullptr), ElementsAre("opcda:///Vendor.1/{1", "opcda:///Vendor.3/{1",
                                                   "opcae:///Vendor.2/{1", "opcae:///Vendor.3/{1"));
    EXPECT_THAT(servers.asked, ElementsAre(3u, 1u, 1u, 1u));
    EXPECT_THAT(
        urlsOf(false, {ServerCategory::OPCAE, ServerCategory::OPCXMLDA, ServerCategory::OPCDA}, "plant"),
        ElementsAre("opcae://plant/Vendor", "opcae://plant/Vendor", "opcda://plant/Vendor", "opcda://plant/Vendor"));
    EXPECT_TRUE(urlsOf(false, {ServerCategory::OPCXMLDA}).empty());
    EXPECT_TRUE(urlsOf(false, std::vector<ServerCategory>()).empty());
}

TEST_F(OpcServerEnumTest, AFailureIsItsExceptionAndLeavesTheListAlone) {
    TraceCapture trace;
    std::vector<ServerIdentifier> found = {ServerIdentifier(NullableText("before"))};
    const auto codeOf = [&](NullableArray<ServerCategory> categories) -> std::int32_t {
        try {
            enumeration.EnumComServer("", false, categories, found);
        } catch (const ComException& exception) {
            return exception.ErrorCode();
        }
        return S_OK;
    };
    EXPECT_EQ(codeOf({ServerCategory::OPCDA, static_cast<ServerCategory>(7)}), E_INVALIDARG);
    EXPECT_TRUE(trace.has("Error: CmnClient::enumComServer - Client passed invalid category 7"));
    EXPECT_EQ(servers.asked.size(), 1u) << "the categories before it were searched";
    servers.enumeration = E_OUTOFMEMORY;
    EXPECT_EQ(codeOf({ServerCategory::OPCDA}), E_OUTOFMEMORY);
    EXPECT_TRUE(trace.has("Error: CmnClient::enumComServer - IOPCServerList::EnumClassesOfCategories failed"));
    EXPECT_TRUE(trace.has("<-- CmnClient::enumComServer [hr=0x8007000e]"));
    EXPECT_THROW(enumeration.EnumComServer("", false, nullptr, found), NullReferenceException);
    EXPECT_EQ(found.size(), 1u);
}

TEST_F(OpcServerEnumTest, AProgIdThatCannotBeResolvedIsAnEmptyText) {
    OpxString clsid = OLESTR("before");
    enumeration.ClsidFromProgId("", "Vendor.1", clsid);
    EXPECT_EQ(toUtf8(clsid), "{11111111-2222-3333-4444-555555555501}");
    servers.resolution = CO_E_CLASSSTRING;
    enumeration.ClsidFromProgId("", "Vendor.1", clsid);
    EXPECT_TRUE(clsid.empty());
    enumeration.Dispose();
    EXPECT_THROW(enumeration.ClsidFromProgId("", "Vendor.1", clsid), NullReferenceException);
}

}  // namespace
}  // namespace Korvex::OPC::OpcCmn
