// The registry of servers that a system without COM has: its files, modules and the server list.
#include <grp.h>
#include <sys/inotify.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "com/platform.h"
#include "tests/com/TestObject.h"
#include "tests/com/Variable.h"

namespace Korvex::Testing {
namespace {

namespace fs = std::filesystem;
using Com::ComPtr;

const char* const kTestServer =
    "# a comment\n\n"
    "ProgID = Vendor.Server.1\nVersionIndependentProgID=Vendor.Server\n"
    "CLSID={0A1B2C3D-1111-4222-8333-010203040506}\nDescription=Vendor's server\n"
    "Categories={63D5F432-CFE4-11D1-B2C8-0060083BA1FB}, {CC603642-66D7-48F1-B69A-B625E73652D7}\n";

constexpr CLSID kOtherClass = {0x0A1B2C3D, 0x2222, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};

std::string server(const std::string& progId, const std::string& clsid, const std::string& module) {
    return "ProgID=" + progId + "\nCLSID=" + clsid + "\nModule=" + module + "\n";
}

std::string otherServer(const std::string& progId, const std::string& module) {
    return server(progId, "{0A1B2C3D-2222-4222-8333-010203040506}", module);
}

// What a command prints.
std::string outputOf(const std::string& command) {
    std::string output;
    FILE* const pipe = ::popen(command.c_str(), "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) output.push_back(static_cast<char>(c));
    ::pclose(pipe);
    return output;
}

// Gives a file to another one of this user's groups, of which the superuser has all.
bool giveToOtherGroup(const fs::path& file) {
    if (::geteuid() == 0) return ::chown(file.c_str(), static_cast<uid_t>(-1), ::getegid() + 1) == 0;
    std::vector<gid_t> groups(65536);
    groups.resize(static_cast<std::size_t>(std::max(0, ::getgroups(static_cast<int>(groups.size()), groups.data()))));
    return std::any_of(groups.begin(), groups.end(), [&](gid_t group) {
        return group != ::getegid() && ::chown(file.c_str(), static_cast<uid_t>(-1), group) == 0;
    });
}

class Registry : public ::testing::Test {
protected:
    Registry() {
        fs::create_directories(folder);
        write("1-vendor.server", kTestServer + ("Module=" + testModule.string()) + "\n");
    }
    ~Registry() override { fs::remove_all(base); }

    void write(const std::string& name, const std::string& content) { writeTo(folder, name, content); }
    void writeTo(const fs::path& place, const std::string& name, const std::string& content) {
        fs::create_directories(place);
        std::ofstream(place / name) << content;
    }

    HRESULT createOther() {
        ComPtr<IUnknown> object;
        return create(kOtherClass, object);
    }

    template <typename Interface>
    static HRESULT create(REFCLSID clsid, ComPtr<Interface>& object, DWORD context = CLSCTX_ALL) {
        return CoCreateInstance(clsid, nullptr, context, iidOf<Interface>(), object.putVoid());
    }
    static HRESULT resolve(const OLECHAR* progId) { return CLSIDFromProgID(progId, &found); }
    static inline CLSID found = {};

    HRESULT serverList(ComPtr<IOPCServerList2>& list) {
        return CoCreateInstance(CLSID_OpcServerList, nullptr, CLSCTX_ALL, IID_IOPCServerList2, list.putVoid());
    }

    const Apartment apartment{COINIT_MULTITHREADED};
    const fs::path bin = Com::programPath().parent_path();
    const fs::path testModule = bin / "korvex_test_module.so";
    const fs::path base =
        fs::temp_directory_path() / ("korvex-registry-test-" + std::to_string(Com::currentThreadId()));
    const fs::path folder = base / "servers";
    const fs::path usersFolder = base / "data/korvex-opc/servers";
    const Variable folders{"KORVEX_OPC_SERVERS", (base / "absent").string() + ":" + folder.string()};
    const Variable usersData{"XDG_DATA_HOME", (base / "data").string()};
};

TEST_F(Registry, ActivatesAClassFromItsModule) {
    ComPtr<IClassFactory> object;
    EXPECT_EQ(create(kTestClass, object), S_OK);
    EXPECT_TRUE(object);
    EXPECT_EQ(create(kTestClass, object, CLSCTX_LOCAL_SERVER), REGDB_E_CLASSNOTREG) << "a module is no program";
}

TEST_F(Registry, AModuleThatCannotBeUsedIsTold) {
    write("2.server", otherServer("Other.1", "no-such-module.so"));
    EXPECT_EQ(createOther(), CO_E_DLLNOTFOUND);
    EXPECT_NE(toUtf8(Com::takeModuleFailure()).find("no-such-module.so: cannot open"), std::string::npos);
    EXPECT_TRUE(Com::takeModuleFailure().empty()) << "told once";
    write("text.so", "this is no shared object");
    write("2.server", otherServer("Other.1", "text.so"));
    EXPECT_EQ(createOther(), CO_E_DLLNOTFOUND);
    write("2.server", otherServer("Other.1", (bin / "libKorvexCom.so.1").string()));
    EXPECT_EQ(createOther(), CO_E_ERRORINDLL);
    EXPECT_EQ(createOther(), CO_E_ERRORINDLL);
    EXPECT_NE(toUtf8(Com::takeModuleFailure()).find("DllGetClassObject"), std::string::npos);
    EXPECT_EQ(createOther(), CO_E_ERRORINDLL);
    ComPtr<IUnknown> known;
    EXPECT_EQ(create(kTestClass, known), S_OK);
    EXPECT_TRUE(Com::takeModuleFailure().empty()) << "another creation's";
    fs::create_symlink(testModule, folder / "relative.so");
    write("2.server", otherServer("Other.1", "relative.so"));
    EXPECT_EQ(createOther(), CLASS_E_CLASSNOTAVAILABLE);
}

TEST_F(Registry, AModuleThatAnswersNonsenseHarmsNobody) {
    write("2.server", server("Nonsense.1", "{0A1B2C3D-3333-4222-8333-010203040506}", testModule));
    write("3.server", server("Nonsense.2", "{0A1B2C3D-4444-4222-8333-010203040506}", testModule));
    ComPtr<IUnknown> object;
    EXPECT_EQ(create(kNoClassObject, object), CO_E_ERRORINDLL);
    EXPECT_EQ(create(kNoObject, object), E_UNEXPECTED);
    EXPECT_FALSE(object);
    write("4.server", server("Nonsense.3", "{0A1B2C3D-5555-4222-8333-010203040506}", testModule));
    EXPECT_EQ(CoGetClassObject(kStrayPointer, CLSCTX_ALL, nullptr, IID_IUnknown, object.putVoid()),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_FALSE(object);
}

TEST_F(Registry, AProgramsOwnClassObjectPrecedesTheModule) {
    TestObject own;
    DWORD cookie = 0;
    ASSERT_EQ(CoRegisterClassObject(kTestClass, &own, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie), S_OK);
    ComPtr<IUnknown> object;
    EXPECT_EQ(create(kTestClass, object), S_OK);
    EXPECT_EQ(own.created, 1);
    EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
}

TEST_F(Registry, FoldersAreSearchedInTheirOrder) {
    const fs::path installed = bin.parent_path() / "share/korvex-opc/servers";
    const fs::path installedFile = installed / "korvex-registry-test.server";

    writeTo(installed, installedFile.filename().string(), otherServer("Installed.1", "x"));
    EXPECT_EQ(resolve(OLESTR("Installed.1")), S_OK);

    writeTo(usersFolder, "a.server", otherServer("Users.1", "x"));
    EXPECT_EQ(resolve(OLESTR("Users.1")), S_OK);
    EXPECT_EQ(resolve(OLESTR("Installed.1")), CO_E_CLASSSTRING);

    write("2.server", otherServer("Named.1", "x"));
    EXPECT_EQ(resolve(OLESTR("Named.1")), S_OK);
    EXPECT_EQ(resolve(OLESTR("Users.1")), CO_E_CLASSSTRING);

    fs::remove(installedFile);
}

TEST_F(Registry, WithoutAFolderForDataTheHomeHasOne) {
    const Variable noData("XDG_DATA_HOME", std::nullopt);
    const Variable home("HOME", (base / "home").string());
    writeTo(base / "home/.local/share/korvex-opc/servers", "a.server", otherServer("Home.1", "x"));
    EXPECT_EQ(resolve(OLESTR("Home.1")), S_OK);
}

TEST_F(Registry, ProgIdsResolveWithoutRegardToCase) {
    for (const OLECHAR* progId : {OLESTR("Vendor.Server.1"), OLESTR("VENDOR.server.1"), OLESTR("vendor.server")}) {
        EXPECT_EQ(resolve(progId), S_OK) << toUtf8(progId);
        EXPECT_TRUE(IsEqualCLSID(found, kTestClass));
    }
    EXPECT_EQ(resolve(OLESTR("Vendor")), CO_E_CLASSSTRING);

    LPOLESTR raw = nullptr;
    ASSERT_EQ(ProgIDFromCLSID(kTestClass, &raw), S_OK);
    EXPECT_EQ(toUtf8(Com::TaskString(raw).get()), "Vendor.Server.1");
}

TEST_F(Registry, AFileMayComeFromAnyEditor) {
    write("2.server",
          "\xEF\xBB\xBF# with a mark\r\nProgID = Gr\xC3\xBC\xC3\x9F.1\r\n"
          "CLSID={0a1b2c3d-2222-4222-8333-010203040506}\r\nModule=x\r\n");
    EXPECT_EQ(resolve(OLESTR("Gr\u00FC\u00DF.1")), S_OK);
    EXPECT_TRUE(IsEqualCLSID(found, kOtherClass));
}

TEST_F(Registry, ABrokenFileIsSkippedAndTheFirstOfAClassCounts) {
    write("0-broken.server", "ProgID=Broken.1\nCLSID=not an identifier\nModule=x\n");
    write("0-senseless.server", "no line of this file makes sense");
    write("0-incomplete.server", "CLSID={0A1B2C3D-1111-4222-8333-010203040506}\nModule=x\n");
    write("0-empty.server", "");
    fs::create_directory(folder / "0-folder.server");
    write("0-ignored.txt", otherServer("Ignored.1", "x"));
    write("9-late.server", kTestServer + std::string("Module=late.so\n"));
    ComPtr<IClassFactory> object;
    EXPECT_EQ(create(kTestClass, object), S_OK);
    EXPECT_EQ(resolve(OLESTR("Broken.1")), CO_E_CLASSSTRING);
    EXPECT_EQ(resolve(OLESTR("Ignored.1")), CO_E_CLASSSTRING);
}

TEST_F(Registry, WhatIsBrokenIsToldWhereANameIsLookedUp) {
    const std::string whole = "ProgID=Broken.1\nCLSID={0A1B2C3D-2222-4222-8333-010203040506}\n";
    const std::pair<std::string, std::string> rows[] = {
        {"ProgID=Broken.1\nCLSID=not an identifier\nModule=x\n", "CLSID is not an identifier"},
        {whole, "Module is missing"},
        {whole + "Module=x\nProgram=y\n", "Module and Program exclude each other"},
        {whole + "Module=x\nThreadingModel=apartment\n",
         "ThreadingModel is none of Apartment, Free and Both: apartment"}};
    for (const auto& [file, sentence] : rows) {
        write("0-broken.server", file);
        EXPECT_EQ(resolve(OLESTR("Broken.1")), CO_E_CLASSSTRING);
        const auto told = Com::takeBrokenRegistrations();
        ASSERT_EQ(told.size(), 1u) << sentence;
        EXPECT_NE(toUtf8(told[0]).find("0-broken.server: " + sentence), std::string::npos);
        EXPECT_TRUE(Com::takeBrokenRegistrations().empty()) << "told once";
    }
    for (const char* line : {"ThreadingModel=Apartment", "ThreadingModel=Free", "ThreadingModel=Both", ""}) {
        write("0-broken.server", whole + "Program=x\n" + line + "\n");
        EXPECT_EQ(resolve(OLESTR("Broken.1")), S_OK) << line;
        EXPECT_EQ(createOther(), REGDB_E_CLASSNOTREG) << "a program is no module";
    }
}

// Counts how often the files of a folder are opened.
class Openings {
public:
    explicit Openings(const fs::path& folder) : watch_(::inotify_init1(IN_NONBLOCK)) {
        EXPECT_GE(::inotify_add_watch(watch_, folder.c_str(), IN_OPEN), 0);
    }
    ~Openings() { ::close(watch_); }

    int count() const {
        alignas(inotify_event) char events[16384];
        int files = 0;
        for (ssize_t size; (size = ::read(watch_, events, sizeof events)) > 0;) {
            for (const char* at = events; at < events + size;) {
                const auto* event = reinterpret_cast<const inotify_event*>(at);
                if (event->len > 0 && !(event->mask & IN_ISDIR)) ++files;
                at += sizeof(inotify_event) + event->len;
            }
        }
        return files;
    }

private:
    const int watch_;
};

TEST_F(Registry, AListingReadsEachFileOnce) {
    for (int i = 100; i < 120; ++i) {
        const std::string number = std::to_string(i);
        write(number + ".server", server("Many." + number, "{0A1B2C3D-9999-4222-8333-010203040" + number + "}", "x") +
                                      "Categories={63D5F432-CFE4-11D1-B2C8-0060083BA1FB}\n");
    }
    const Openings openings(folder);
    ComPtr<IOPCServerList2> list;
    ASSERT_EQ(serverList(list), S_OK);
    CATID categories[] = {CATID_OPCDAServer20, CATID_OPCDAServer30};
    ComPtr<IOPCEnumGUID> ids;
    ASSERT_EQ(list->EnumClassesOfCategories(2, categories, 0, nullptr, ids.put()), S_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));  // by then the next listing would look anew
    std::size_t described = 0;
    for (GUID id = {}; ids->Next(1, &id, nullptr) == S_OK; ++described) {
        LPOLESTR texts[3] = {};
        EXPECT_EQ(list->GetClassDetails(id, &texts[0], &texts[1], &texts[2]), S_OK);
        for (LPOLESTR text : texts) CoTaskMemFree(text);
    }
    EXPECT_EQ(described, 21u);
    EXPECT_EQ(openings.count(), 21);

    write("late.server", otherServer("Late.1", "x"));
    LPOLESTR texts[3] = {};
    EXPECT_EQ(list->GetClassDetails(kOtherClass, &texts[0], &texts[1], &texts[2]), S_OK) << "it came meanwhile";
    for (LPOLESTR text : texts) CoTaskMemFree(text);
}

TEST_F(Registry, AFileThatOthersMayWriteToSaysNoServer) {
    using enum fs::perms;
    const auto isKnown = [] { return resolve(OLESTR("Other.1")) == S_OK; };
    write("2.server", otherServer("Other.1", "x"));
    const fs::path file = folder / "2.server";
    for (const fs::path& path : {file, folder}) {
        SCOPED_TRACE(path);
        fs::permissions(path, others_write, fs::perm_options::add);
        EXPECT_FALSE(isKnown());
        const auto broken = Com::takeBrokenRegistrations();
        EXPECT_TRUE(std::any_of(broken.begin(), broken.end(), [&](const OpxString& sentence) {
            return toUtf8(sentence).find(file.string() + ": others than its owner may write") == 0;
        }));
        fs::permissions(path, others_write, fs::perm_options::remove);
        fs::permissions(path, group_write, fs::perm_options::add);
        EXPECT_TRUE(isKnown()) << "the owner's own group may";
        EXPECT_TRUE(!giveToOtherGroup(path) || !isKnown());
        if (const group* staff = ::getgrnam("staff"); staff && ::chown(path.c_str(), ::geteuid(), staff->gr_gid) == 0) {
            EXPECT_TRUE(isKnown()) << "they may";
        }
        fs::permissions(path, group_write, fs::perm_options::remove);
        EXPECT_TRUE(isKnown());
    }
    fs::permissions(base, others_write, fs::perm_options::add);
    EXPECT_TRUE(isKnown()) << "parents are not looked at";
}

bool isMountedWithoutSetgid(const fs::path& folder) {
    struct statvfs status = {};
    return ::statvfs(folder.c_str(), &status) == 0 && (status.f_flag & ST_NOSUID) != 0;
}

TEST_F(Registry, AProgramWithMoreRightsThanItsCallerDoesNotBelieveItsEnvironment) {
    if (isMountedWithoutSetgid(bin)) GTEST_SKIP() << "no program has more rights than its caller there";
    write("2.server", otherServer("Named.1", "x"));
    writeTo(usersFolder, "a.server", server("Users.1", "{0A1B2C3D-3333-4222-8333-010203040506}", "x"));
    const fs::path probe = bin / "korvex_environment_probe";
    EXPECT_EQ(outputOf(probe.string() + " Named.1"), "variable server");
    EXPECT_EQ(outputOf(probe.string() + " Users.1"), "variable server");

    const fs::path secure = bin / "korvex_environment_probe_setgid";
    fs::copy_file(probe, secure, fs::copy_options::overwrite_existing);
    const bool isGiven = giveToOtherGroup(secure);
    fs::permissions(secure, fs::perms::set_gid, fs::perm_options::add);
    if (isGiven) {
        for (const char* progId : {"Named.1", "Users.1"}) {
            EXPECT_EQ(outputOf(secure.string() + " " + progId), "") << progId;
        }
    }
    fs::remove(secure);
    if (!isGiven) GTEST_SKIP() << "this user has no second group";
}

TEST_F(Registry, TheServerListEnumeratesByCategoryAndTellsDetails) {
    write("2.server", otherServer("Other.1", "x"));
    ComPtr<IOPCServerList2> list;
    ASSERT_EQ(serverList(list), S_OK);
    CATID wanted[] = {CATID_OPCDAServer10, CATID_OPCDAServer30};
    ComPtr<IOPCEnumGUID> ids;
    ASSERT_EQ(list->EnumClassesOfCategories(2, wanted, 0, nullptr, ids.put()), S_OK);
    GUID classes[3] = {};
    ULONG count = 0;
    EXPECT_EQ(ids->Next(3, classes, &count), S_FALSE);
    ASSERT_EQ(count, 1u);
    EXPECT_TRUE(IsEqualCLSID(classes[0], kTestClass));

    LPOLESTR progId = nullptr;
    LPOLESTR description = nullptr;
    LPOLESTR versionIndependent = nullptr;
    ASSERT_EQ(list->GetClassDetails(kTestClass, &progId, &description, &versionIndependent), S_OK);
    EXPECT_EQ(toUtf8(Com::TaskString(progId).get()), "Vendor.Server.1");
    EXPECT_EQ(toUtf8(Com::TaskString(description).get()), "Vendor's server");
    EXPECT_EQ(toUtf8(Com::TaskString(versionIndependent).get()), "Vendor.Server");
    EXPECT_EQ(list->GetClassDetails(IID_IUnknown, &progId, &description, &versionIndependent), REGDB_E_CLASSNOTREG);

    EXPECT_EQ(list->CLSIDFromProgID(OLESTR("Vendor.Server.1"), &found), S_OK);
    EXPECT_TRUE(IsEqualCLSID(found, kTestClass));
}

TEST_F(Registry, TheServerListTakesAnyCategoryAndRefusesMissingOnes) {
    ComPtr<IOPCServerList2> list;
    ASSERT_EQ(serverList(list), S_OK);
    ComPtr<IOPCEnumGUID> ids;
    constexpr ULONG kAnyCategory = 0xFFFFFFFFu;
    CATID unrelated[] = {IID_IUnknown};
    for (CATID* categories : {static_cast<CATID*>(nullptr), unrelated}) {
        ASSERT_EQ(list->EnumClassesOfCategories(kAnyCategory, categories, 0, nullptr, ids.put()), S_OK);
        GUID id = {};
        EXPECT_EQ(ids->Next(1, &id, nullptr), S_OK);
    }
    EXPECT_EQ(list->EnumClassesOfCategories(1, nullptr, 0, nullptr, ids.put()), E_INVALIDARG);
    EXPECT_FALSE(ids);
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
