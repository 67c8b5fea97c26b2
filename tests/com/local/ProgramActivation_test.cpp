#include <gtest/gtest.h>

#include "com/hosting/LocalServer.h"
#include "com/opc_interfaces.h"
#include "tests/com/local/LocalFixture.h"
#include "tests/com/local/TestProtocol.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;

constexpr CLSID kNoClass = {0x0A1B2C3D, 0x9999, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};

class ProgramActivation : public Local {
protected:
    ProgramActivation() { EXPECT_EQ(Com::registerLocalServer(registration, GUID{}), S_OK); }

    HRESULT unregister() { return Com::unregisterLocalServer(registration, GUID{}); }
    HRESULT createFrom(DWORD context, REFCLSID clsid = kTestClass) {
        ComPtr<IUnknown> object;
        return CoCreateInstance(clsid, nullptr, context, IID_IUnknown, object.putVoid());
    }

    const Variable usersFolder{"XDG_DATA_HOME", folder.string()};
    const Com::ModuleRegistration registration = {kTestClass, OLESTR("Test.1"), {}, {}, {}, program};
    TestProtocol& protocol = speakTestProtocol();
    const Apartment apartment{COINIT_MULTITHREADED};
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
    EXPECT_EQ(unregister(), S_OK);
    EXPECT_EQ(createFrom(CLSCTX_ALL), S_OK) << "a running program needs no file";
    endAndWait(startedProcesses()[0]);
    EXPECT_EQ(createFrom(CLSCTX_ALL), REGDB_E_CLASSNOTREG);
}

TEST_F(ProgramActivation, AClassIsServedByTheProgramThatItsFileNamesOrByTheRuntime) {
    EXPECT_TRUE(Com::isServedHere(registration));
    EXPECT_FALSE(Com::isServedElsewhere(registration));
    auto other = registration;
    other.module = "/other/program";
    EXPECT_FALSE(Com::isServedHere(other));
    EXPECT_TRUE(Com::isServedElsewhere(other));
    EXPECT_EQ(Com::unregisterLocalServer(other, GUID{}), S_OK);
    EXPECT_TRUE(Com::isServedHere(registration)) << "another program takes back what is its own";
    EXPECT_EQ(unregister(), S_OK);
    EXPECT_FALSE(Com::isServedHere(registration));
    other.clsid = CLSID_OpcServerList;
    EXPECT_TRUE(Com::isServedElsewhere(other));
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
