// What the tests of the object API do not bring through the proxies, which may lose texts without an error.
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <korvex/opc_cmn/OpcServerEnum.h>

#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "sim/OpcCodes.h"
#include "sim/com/Results.h"
#include "tests/processes/ProcessFixture.h"
#include "tests/processes/ServerProgram.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;
using Com::TaskArray;

std::string taken(LPWSTR text) {
    const Com::TaskString owner(text);
    return text ? toUtf8(text) : "lost";
}

class Proxies : public ProcessFixture {};

TEST_F(Proxies, BringTheTextsThatTheLibraryDoesNotAskFor) {
    ComPtr<IOPCServer> opc;
    ASSERT_EQ(CoCreateInstance(CLSID_KorvexSimulation, nullptr, CLSCTX_LOCAL_SERVER, IID_IOPCServer, opc.putVoid()),
              S_OK);
    LPWSTR text = nullptr;
    EXPECT_EQ(opc->GetErrorString(OPC_E_BADTYPE, 1033, &text), S_OK);
    const std::string reason = taken(text);
    EXPECT_THAT(reason, ::testing::HasSubstr("type"));
    ComPtr<IOPCCommon> common;
    ASSERT_EQ(opc.query(common), S_OK);
    EXPECT_EQ(common->GetErrorString(OPC_E_BADTYPE, &text), S_OK);
    EXPECT_EQ(taken(text), reason);
    TaskArray<OPCSERVERSTATUS> status(1);
    ASSERT_EQ(opc->GetStatus(status.put()), S_OK);
    EXPECT_EQ(taken(status[0].szVendorInfo), "Korvex simulation server");

    ComPtr<IOPCItemMgt> items;
    OPCHANDLE handle = 0;
    DWORD rate = 0;
    ASSERT_EQ(opc->AddGroup(OLESTR("Boiler"), FALSE, 1000, 1, nullptr, nullptr, 1033, &handle, &rate, IID_IOPCItemMgt,
                            items.putUnknown()),
              S_OK);
    ComPtr<IEnumString> names;
    ASSERT_EQ(opc->CreateGroupEnumerator(OPC_ENUM_ALL, IID_IEnumString, names.putUnknown()), S_OK);
    ULONG count = 0;
    ASSERT_EQ(names->Next(1, &text, &count), S_OK);
    EXPECT_EQ(taken(text), "Boiler");
    ComPtr<IOPCGroupStateMgt> state;
    ASSERT_EQ(items.query(state), S_OK);
    BOOL active = FALSE;
    LONG bias = 0;
    FLOAT deadband = 0;
    DWORD locale = 0;
    OPCHANDLE client = 0;
    ASSERT_EQ(state->GetState(&rate, &active, &text, &bias, &deadband, &locale, &client, &handle), S_OK);
    EXPECT_EQ(taken(text), "Boiler");

    OpxString id = OLESTR("Constant.Int32");
    OPCITEMDEF definition = {};
    definition.szItemID = id.data();
    TaskArray<OPCITEMRESULT> added(1);
    TaskArray<HRESULT> errors(1);
    ASSERT_EQ(items->AddItems(1, &definition, added.put(), errors.put()), S_OK);
    ComPtr<IEnumOPCItemAttributes> enumerator;
    ASSERT_EQ(items->CreateEnumerator(IID_IEnumOPCItemAttributes, enumerator.putUnknown()), S_OK);
    OPCITEMATTRIBUTES* attributes = nullptr;
    ASSERT_EQ(enumerator->Next(1, &attributes, &count), S_OK);
    EXPECT_EQ(toUtf8(attributes[0].szItemID), "Constant.Int32");
    Simulation::disposeArray(attributes, count);

    ComPtr<IOPCServerList> list;
    ASSERT_EQ(CoCreateInstance(CLSID_OpcServerList, nullptr, CLSCTX_LOCAL_SERVER, IID_IOPCServerList, list.putVoid()),
              S_OK);
    LPWSTR type = nullptr;
    ASSERT_EQ(list->GetClassDetails(CLSID_KorvexSimulation, &text, &type), S_OK);
    EXPECT_EQ(taken(text) + ", " + taken(type), "Korvex.Simulation.1, Korvex simulation server");
}

TEST_F(Proxies, BringTheListOfServersFromItsProcess) {
    OPC::OpcCmn::OpcServerEnum finder;
    std::vector<OPC::OpcCmn::ServerIdentifier> found;
    finder.EnumComServer("", true, nullptr, found);
    std::vector<std::string> names;
    for (const auto& each : found) names.push_back(toUtf8(each.ProgID().valueOrEmpty()));
    EXPECT_THAT(names, ::testing::Contains("Korvex.Simulation.1"));
    OpxString clsid;
    finder.ClsidFromProgId("", "Korvex.Simulation.1", clsid);
    EXPECT_EQ(toUtf8(clsid), "{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}");
}

TEST_F(Proxies, LeadAClientThatComesSoonAfterTheLastToTheSameProcess) {
    const auto process = serverProcesses();
    ASSERT_EQ(process.size(), 1u);
    leave();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    steerAgain();
    EXPECT_EQ(serverProcesses(), process);
}

}  // namespace
}  // namespace Korvex::Testing
