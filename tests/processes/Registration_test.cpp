// What the program, the module and the proxies write into COM's registry, and what they leave alone.
#include <string>

#include <gtest/gtest.h>

#include "com/hosting/windows/RegistryKey.h"
#include "com/opc_interfaces.h"
#include "sim/SimulationControl.h"
#include "tests/processes/ServerProgram.h"

namespace Korvex::Testing {
namespace {

const std::string kSimulation = "CLSID\\{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}";
const std::string kServerList = "CLSID\\{13486D51-4821-11D2-A494-3CB306C10000}";
const std::string kProxies = "{6B0E7A54-3D1C-4F0A-9C4E-215B77D018E3}";

bool isThere(const std::string& key) {
    return static_cast<bool>(Com::RegistryKey(HKEY_CLASSES_ROOT, fromUtf8(key), 0));
}
std::string textAt(const std::string& key) {
    return toUtf8(Com::RegistryKey(HKEY_CLASSES_ROOT, fromUtf8(key), 0).text());
}
std::string proxyOf(const std::string& iid) {
    return textAt("Interface\\{" + iid + "}\\ProxyStubClsid32");
}

// Leaves the registry as the other tests need it.
class Registration : public ::testing::Test {
protected:
    ~Registration() override { registerServer(); }
};

TEST_F(Registration, ProxiesLeaveAnInterfaceToTheOneThatCarriesIt) {
    const std::string browse = "39227004-A18F-4B57-8B0A-5235670F4468";
    const std::string shutdown = "F31DFDE1-07B6-11D2-B2D8-0060083BA1FB";
    const std::string foreign = "{11111111-2222-3333-4444-555555555555}";
    const std::string key = "HKLM\\Software\\Classes\\Interface\\{" + shutdown + "}";
    EXPECT_EQ(proxyOf(browse), kProxies);
    ASSERT_EQ(run("reg add " + key + "\\ProxyStubClsid32 /ve /d " + foreign + " /f >NUL"), 0);

    EXPECT_EQ(run("regsvr32 /s KorvexOpcProxy.dll"), 0);
    EXPECT_EQ(proxyOf(shutdown), foreign);
    EXPECT_EQ(run("regsvr32 /s /u KorvexOpcProxy.dll"), 0);
    EXPECT_EQ(proxyOf(shutdown), foreign);
    EXPECT_EQ(proxyOf(browse), "");
    EXPECT_FALSE(isThere("CLSID\\" + kProxies));
    EXPECT_EQ(run("reg delete " + key + " /f >NUL"), 0);
}

TEST_F(Registration, ProxiesOfAUserGoWithoutThoseOfTheMachine) {
    const std::string key = "Software\\Classes\\Interface\\{F31DFDE1-07B6-11D2-B2D8-0060083BA1FB}";
    const std::string value = key + "\\ProxyStubClsid32";
    const std::string foreign = "{11111111-2222-3333-4444-555555555555}";
    ASSERT_EQ(run("reg add HKCU\\" + value + " /ve /d " + kProxies + " /f >NUL"), 0);
    ASSERT_EQ(run("reg add HKLM\\" + value + " /ve /d " + foreign + " /f >NUL"), 0);
    EXPECT_EQ(run("regsvr32 /s /u KorvexOpcProxy.dll"), 0);
    EXPECT_EQ(toUtf8(Com::RegistryKey(HKEY_LOCAL_MACHINE, fromUtf8(value), 0).text()), foreign);
    EXPECT_FALSE(Com::RegistryKey(HKEY_CURRENT_USER, fromUtf8(key), 0));
    EXPECT_EQ(run("reg delete HKLM\\" + key + " /f >NUL"), 0);
}

TEST_F(Registration, TheProgramTakesBackAllThatItWrote) {
    const std::string keys[] = {kSimulation,
                                kServerList,
                                "Korvex.Simulation.1",
                                "Korvex.Simulation",
                                "OPC.ServerList.1",
                                "AppID\\{6B0E7A55-3D1C-4F0A-9C4E-215B77D018E3}",
                                "AppID\\KorvexSimulation.exe"};
    for (const std::string& key : keys) EXPECT_TRUE(isThere(key)) << key;
    EXPECT_EQ(run("start /wait KorvexSimulation.exe -UnregServer"), 0);
    for (const std::string& key : keys) EXPECT_FALSE(isThere(key)) << key;
    EXPECT_EQ(run("start /wait KorvexSimulation.exe -Nonsense"), 2);
}

TEST_F(Registration, AListOfServersThatIsGoneIsReplacedAndAnothersIsNot) {
    const std::string key = "HKLM\\Software\\Classes\\" + kServerList + "\\LocalServer32";
    const std::string another = "C:\\gone\\OpcEnum.exe";
    ASSERT_EQ(run("reg add " + key + " /ve /d " + another + " /f >NUL"), 0);
    EXPECT_EQ(run("start /wait KorvexSimulation.exe -RegServer"), 0);
    EXPECT_EQ(textAt(kServerList + "\\LocalServer32"), another);
    ASSERT_EQ(run("reg add " + key + " /ve /d C:\\gone\\KorvexSimulation.exe /f >NUL"), 0);
    EXPECT_EQ(run("start /wait KorvexSimulation.exe -RegServer"), 0);
    EXPECT_NE(textAt(kServerList + "\\LocalServer32"), "C:\\gone\\KorvexSimulation.exe");
}

TEST_F(Registration, ProgramAndModuleServeTheClassBesideEachOther) {
    EXPECT_EQ(run("regsvr32 /s KorvexSimulation.dll"), 0);
    EXPECT_TRUE(isThere(kSimulation + "\\InprocServer32"));
    EXPECT_TRUE(isThere(kSimulation + "\\LocalServer32"));
    EXPECT_FALSE(isThere(kServerList + "\\InprocServer32")) << "the program serves the list already";
    EXPECT_EQ(run("start /wait KorvexSimulation.exe -UnregServer"), 0);
    EXPECT_TRUE(isThere(kSimulation + "\\InprocServer32"));
    EXPECT_FALSE(isThere(kSimulation + "\\LocalServer32"));
    EXPECT_TRUE(isThere("Korvex.Simulation.1"));
    EXPECT_EQ(run("regsvr32 /s /u KorvexSimulation.dll"), 0);
    EXPECT_FALSE(isThere(kSimulation));
    EXPECT_FALSE(isThere("Korvex.Simulation.1"));
}

}  // namespace
}  // namespace Korvex::Testing
