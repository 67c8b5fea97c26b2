// The registry of servers that a system without COM has: its files, modules and the server list.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "com/platform.h"
#include "tests/com/TestObject.h"

namespace Korvex::Testing {
namespace {

namespace fs = std::filesystem;
using Com::ComPtr;

const char* const kTestServer =
    "# a comment\n\n"
    "ProgID = Vendor.Server.1\nVersionIndependentProgID=Vendor.Server\n"
    "CLSID={0A1B2C3D-1111-4222-8333-010203040506}\nDescription=Vendor's server\n"
    "Categories={63D5F432-CFE4-11D1-B2C8-0060083BA1FB}, {CC603642-66D7-48F1-B69A-B625E73652D7}\n";

std::string otherServer(const std::string& progId, const std::string& module) {
    return "ProgID=" + progId + "\nCLSID={0A1B2C3D-2222-4222-8333-010203040506}\nModule=" + module + "\n";
}

class Registry : public ::testing::Test {
protected:
    Registry() {
        fs::create_directories(folder);
        ::setenv("KORVEX_OPC_SERVERS", (folder / "absent").string().append(":").append(folder.string()).c_str(), 1);
        write("1-vendor.server", kTestServer + ("Module=" + (bin / "korvex_test_module.so").string()) + "\n");
    }
    ~Registry() override {
        ::unsetenv("KORVEX_OPC_SERVERS");
        fs::remove_all(folder);
    }

    void write(const std::string& name, const std::string& content) { std::ofstream(folder / name) << content; }

    HRESULT serverList(ComPtr<IOPCServerList2>& list) {
        return CoCreateInstance(CLSID_OpcServerList, nullptr, CLSCTX_ALL, IID_IOPCServerList2, list.putVoid());
    }

    const Apartment apartment{COINIT_MULTITHREADED};
    const fs::path bin = Com::programPath().parent_path();
    const fs::path folder =
        fs::temp_directory_path() / ("korvex-registry-test-" + std::to_string(Com::currentThreadId()));
};

TEST_F(Registry, ActivatesAClassFromItsModule) {
    ComPtr<IClassFactory> object;
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_ALL, IID_IClassFactory, object.putVoid()), S_OK);
    EXPECT_TRUE(object);
}

TEST_F(Registry, AModuleThatCannotBeUsedIsTold) {
    const CLSID other = {0x0A1B2C3D, 0x2222, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};
    ComPtr<IUnknown> object;
    write("2.server", otherServer("Other.1", "no-such-module.so"));
    EXPECT_EQ(CoCreateInstance(other, nullptr, CLSCTX_ALL, IID_IUnknown, object.putVoid()), CO_E_DLLNOTFOUND);
    write("2.server", otherServer("Other.1", "libc.so.6"));
    fs::create_symlink("/lib/x86_64-linux-gnu/libc.so.6", folder / "libc.so.6");
    EXPECT_EQ(CoCreateInstance(other, nullptr, CLSCTX_ALL, IID_IUnknown, object.putVoid()), CO_E_ERRORINDLL);
    write("2.server", otherServer("Other.1", (bin / "korvex_test_module.so").string()));
    EXPECT_EQ(CoCreateInstance(other, nullptr, CLSCTX_ALL, IID_IUnknown, object.putVoid()), CLASS_E_CLASSNOTAVAILABLE);
}

TEST_F(Registry, ProgIdsResolveWithoutRegardToCase) {
    CLSID clsid = {};
    for (const OLECHAR* progId : {OLESTR("Vendor.Server.1"), OLESTR("VENDOR.server.1"), OLESTR("vendor.server")}) {
        EXPECT_EQ(CLSIDFromProgID(progId, &clsid), S_OK) << toUtf8(progId);
        EXPECT_TRUE(IsEqualCLSID(clsid, kTestClass));
    }
    EXPECT_EQ(CLSIDFromProgID(OLESTR("Vendor"), &clsid), CO_E_CLASSSTRING);

    LPOLESTR raw = nullptr;
    ASSERT_EQ(ProgIDFromCLSID(kTestClass, &raw), S_OK);
    EXPECT_EQ(toUtf8(Com::TaskString(raw).get()), "Vendor.Server.1");
}

TEST_F(Registry, ABrokenFileIsSkippedAndTheFirstOfAClassCounts) {
    write("0-broken.server", "ProgID=Broken.1\nCLSID=not an identifier\nModule=x\n");
    write("0-senseless.server", "no line of this file makes sense");
    write("0-incomplete.server", "CLSID={0A1B2C3D-1111-4222-8333-010203040506}\nModule=x\n");
    write("0-ignored.txt", otherServer("Ignored.1", "x"));
    write("9-late.server", kTestServer + std::string("Module=late.so\n"));
    ComPtr<IClassFactory> object;
    EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_ALL, IID_IClassFactory, object.putVoid()), S_OK);
    CLSID clsid = {};
    EXPECT_EQ(CLSIDFromProgID(OLESTR("Broken.1"), &clsid), CO_E_CLASSSTRING);
    EXPECT_EQ(CLSIDFromProgID(OLESTR("Ignored.1"), &clsid), CO_E_CLASSSTRING);
}

TEST_F(Registry, TheServerListEnumeratesByCategoryAndTellsDetails) {
    write("2.server", otherServer("Other.1", "x"));
    ComPtr<IOPCServerList2> list;
    ASSERT_EQ(serverList(list), S_OK);
    CATID wanted[] = {CATID_OPCDAServer10, CATID_OPCDAServer30};
    ComPtr<IOPCEnumGUID> ids;
    ASSERT_EQ(list->EnumClassesOfCategories(2, wanted, 0, nullptr, ids.put()), S_OK);
    GUID found[3] = {};
    ULONG count = 0;
    EXPECT_EQ(ids->Next(3, found, &count), S_FALSE);
    ASSERT_EQ(count, 1u);
    EXPECT_TRUE(IsEqualCLSID(found[0], kTestClass));

    LPOLESTR progId = nullptr;
    LPOLESTR description = nullptr;
    LPOLESTR versionIndependent = nullptr;
    ASSERT_EQ(list->GetClassDetails(kTestClass, &progId, &description, &versionIndependent), S_OK);
    EXPECT_EQ(toUtf8(Com::TaskString(progId).get()), "Vendor.Server.1");
    EXPECT_EQ(toUtf8(Com::TaskString(description).get()), "Vendor's server");
    EXPECT_EQ(toUtf8(Com::TaskString(versionIndependent).get()), "Vendor.Server");
    EXPECT_EQ(list->GetClassDetails(IID_IUnknown, &progId, &description, &versionIndependent), REGDB_E_CLASSNOTREG);

    CLSID clsid = {};
    EXPECT_EQ(list->CLSIDFromProgID(OLESTR("Vendor.Server.1"), &clsid), S_OK);
    EXPECT_TRUE(IsEqualCLSID(clsid, kTestClass));
}

TEST_F(Registry, AnEnumeratorSkipsResetsAndIsCloned) {
    write("2.server", otherServer("Other.1", "x"));
    ComPtr<IOPCServerList2> newer;
    ComPtr<IOPCServerList> list;
    ASSERT_EQ(serverList(newer), S_OK);
    ASSERT_EQ(newer.query(list), S_OK);
    ComPtr<IEnumGUID> ids;
    ASSERT_EQ(list->EnumClassesOfCategories(0, nullptr, 0, nullptr, ids.put()), S_OK);
    EXPECT_EQ(ids->Skip(1), S_OK);
    ComPtr<IEnumGUID> clone;
    ASSERT_EQ(ids->Clone(clone.put()), S_OK);
    GUID id = {};
    EXPECT_EQ(ids->Next(1, &id, nullptr), S_OK);
    EXPECT_FALSE(IsEqualCLSID(id, kTestClass));
    EXPECT_EQ(ids->Next(1, &id, nullptr), S_FALSE);
    EXPECT_EQ(clone->Next(1, &id, nullptr), S_OK);
    EXPECT_EQ(clone->Skip(1), S_FALSE);
    EXPECT_EQ(ids->Reset(), S_OK);
    EXPECT_EQ(ids->Next(1, &id, nullptr), S_OK);
    EXPECT_TRUE(IsEqualCLSID(id, kTestClass));
}

}  // namespace
}  // namespace Korvex::Testing
