#include <gtest/gtest.h>

#include "tests/com/local/LocalFixture.h"
#include "tests/com/local/TestProtocol.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;

constexpr CLSID kNoClass = {0x0A1B2C3D, 0x9999, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};

class ProgramActivation : public Local {
protected:
    ProgramActivation() {
        create("test.server",
               "ProgID=Test.1\nCLSID={0A1B2C3D-1111-4222-8333-010203040506}\nProgram=" + program.string() + "\n");
    }

    HRESULT createFrom(DWORD context, REFCLSID clsid = kTestClass) {
        ComPtr<IUnknown> object;
        return CoCreateInstance(clsid, nullptr, context, IID_IUnknown, object.putVoid());
    }

    TestProtocol& protocol = speakTestProtocol();
    const Apartment apartment{COINIT_MULTITHREADED};
    const Variable servers{"KORVEX_OPC_SERVERS", folder.string()};
    const Variable task{"KORVEX_TEST_PROGRAM", "register"};
};

TEST_F(ProgramActivation, AProgramIsStartedOnceForAllClients) {
    EXPECT_EQ(createFrom(CLSCTX_INPROC_SERVER), REGDB_E_CLASSNOTREG) << "a program is no module";
    EXPECT_TRUE(startedProcesses().empty());
    const int before = protocol.farObject.created;
    EXPECT_EQ(createFrom(CLSCTX_LOCAL_SERVER), S_OK);
    EXPECT_EQ(createFrom(CLSCTX_ALL), S_OK);
    EXPECT_EQ(protocol.farObject.created, before + 2);
    EXPECT_EQ(startedProcesses().size(), 1u);
    fs::remove(folder / "test.server");
    EXPECT_EQ(createFrom(CLSCTX_ALL), S_OK) << "a running program needs no file";
    endAndWait(startedProcesses()[0]);
    EXPECT_EQ(createFrom(CLSCTX_ALL), REGDB_E_CLASSNOTREG);
}

TEST_F(ProgramActivation, WhyAProgramDoesNotServeIsTold) {
    EXPECT_EQ(createFrom(CLSCTX_ALL, kNoClass), REGDB_E_CLASSNOTREG);
    EXPECT_TRUE(Com::takeModuleFailure().empty());
    const Variable ends("KORVEX_TEST_PROGRAM", "end");
    EXPECT_EQ(createFrom(CLSCTX_ALL), CO_E_SERVER_EXEC_FAILURE);
    EXPECT_EQ(toUtf8(Com::takeModuleFailure()), program.string() + ": ended before it registered its class");
    fs::permissions(runtime, fs::perms(0755));
    EXPECT_EQ(createFrom(CLSCTX_ALL), E_ACCESSDENIED);
    EXPECT_EQ(toUtf8(Com::takeModuleFailure()), runtime.string() + ": others than this user may use this folder");
}

TEST_F(ProgramActivation, AClassIsFoundWhileItIsRegisteredForOtherProgramsAndNotSuspended) {
    EXPECT_EQ(outputOf(program.string() + " live"),
              "for this process: not found\n"
              "suspended: not found\n"
              "resumed: found\n"
              "one of two revoked: found\n"
              "suspended again: not found\n"
              "revoked: not found\n"
              "for a single use: found\n"
              "used: not found\n");
    EXPECT_TRUE(namesIn(runtime, ".socket").empty()) << "a program that ends in order leaves none";
}

}  // namespace
}  // namespace Korvex::Testing
