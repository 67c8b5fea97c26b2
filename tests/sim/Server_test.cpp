#include <gmock/gmock.h>

#include "sim/OpcCodes.h"
#include "tests/sim/Client.h"

namespace Korvex::Simulation {
namespace {

using Com::ComPtr;
using testing::ElementsAre;

using Server = SimulationTest;

TEST_F(Server, GroupsAreNamedRevisedAndRemovedAsTheInterfacePromises) {
    const ClientGroup main = addGroup(OLESTR("Main"), 100);
    EXPECT_EQ(addGroup(OLESTR("Main")).added, OPC_E_DUPLICATENAME);
    EXPECT_EQ(addGroup(OLESTR("Bad"), 100, true, 100.5F).added, E_INVALIDARG);
    const ClientGroup unnamed = addGroup(OLESTR(""));

    ComPtr<IEnumString> names;
    ASSERT_EQ(opc()->CreateGroupEnumerator(OPC_ENUM_ALL, IID_IEnumString, names.putUnknown()), S_OK);
    EXPECT_THAT(namesOf(names.get()), ElementsAre(OLESTR("Main"), OLESTR("Group2")));
    EXPECT_EQ(opc()->CreateGroupEnumerator(OPC_ENUM_PUBLIC, IID_IEnumString, names.putUnknown()), S_FALSE);
    ComPtr<IUnknown> found;
    EXPECT_EQ(opc()->GetGroupByName(OLESTR("Main"), IID_IOPCSyncIO, found.put()), S_OK);
    EXPECT_EQ(opc()->GetGroupByName(OLESTR("main"), IID_IOPCSyncIO, found.put()), E_INVALIDARG);

    EXPECT_EQ(opc()->RemoveGroup(main.serverHandle, FALSE), OPC_S_INUSE);
    EXPECT_EQ(opc()->RemoveGroup(main.serverHandle, FALSE), OPC_E_INVALIDHANDLE);
    EXPECT_EQ(opc()->RemoveGroup(unnamed.serverHandle, TRUE), S_OK);
    OPCITEMRESULT result{};
    EXPECT_EQ(main.tryAdd(OLESTR("Register.Int32"), VT_EMPTY, result), E_FAIL);
}

TEST_F(Server, AcceptsTheLocalesItOffersAndNoOther) {
    const auto common = server<IOPCCommon>();
    LCID locale = 0;
    EXPECT_EQ(common->SetLocaleID(1031), S_OK);
    EXPECT_EQ(common->SetLocaleID(1041), E_INVALIDARG);
    EXPECT_EQ(common->GetLocaleID(&locale), S_OK);
    EXPECT_EQ(locale, 1031U);

    run("locales 1036,1040");
    EXPECT_EQ(common->SetLocaleID(2048), E_INVALIDARG);
    DWORD count = 0;
    Com::TaskArray<LCID> locales;
    ASSERT_EQ(common->QueryAvailableLocaleIDs(&count, locales.put()), S_OK);
    locales.setCount(count);
    EXPECT_THAT(std::vector<LCID>(locales.begin(), locales.end()), ElementsAre(1036U, 1040U));

    LPWSTR text = nullptr;
    EXPECT_EQ(opc()->GetErrorString(OPC_E_BADTYPE, 1036, &text), S_OK);
    EXPECT_FALSE(OpxStringView(Com::TaskString(text).get()).empty());
    EXPECT_EQ(opc()->GetErrorString(OPC_E_BADTYPE, 1031, &text), E_INVALIDARG);
    EXPECT_EQ(opc()->GetErrorString(hresult(0x81234567), 1036, &text), E_INVALIDARG);
}

TEST_F(Server, ReadsAndWritesItemsWithoutAGroup) {
    const auto io = server<IOPCItemIO>();
    LPCWSTR ids[] = {OLESTR("Register.Int32"), OLESTR("Nothing.Here"), OLESTR("Access.ReadOnly")};
    OPCITEMVQT written[3]{};
    for (auto& each : written) each.vDataValue = makeInt32(5).detach();
    written[0].bQualitySpecified = TRUE;
    written[0].wQuality = 0x44;
    written[0].bTimeStampSpecified = TRUE;
    written[0].ftTimeStamp = {5, 0x01C00000};
    Com::TaskArray<HRESULT> errors(3);
    EXPECT_EQ(io->WriteVQT(3, ids, written, errors.put()), S_FALSE);
    EXPECT_THAT(std::vector<HRESULT>(errors.begin(), errors.end()),
                ElementsAre(S_OK, OPC_E_UNKNOWNITEMID, OPC_E_BADRIGHTS));

    DWORD ages[] = {0, 0, 0};
    Com::TaskArray<VARIANT> values(3);
    Com::TaskArray<WORD> qualities(3);
    Com::TaskArray<FILETIME> times(3);
    EXPECT_EQ(io->Read(3, ids, ages, values.put(), qualities.put(), times.put(), errors.put()), S_FALSE);
    EXPECT_EQ(values[0].lVal, 5);
    EXPECT_EQ(qualities[0], 0x44);
    EXPECT_EQ(times[0].dwLowDateTime, 5U);
    EXPECT_EQ(errors[1], OPC_E_UNKNOWNITEMID);
}

TEST_F(Server, ReleasesEverythingWithItsLastClient) {
    run("journal clear");
    {
        const ClientGroup group = addGroup();
        group.add(OLESTR("Register.Int32"));
        const auto sink = group.advise();
        ComPtr<IConnectionPoint> point;
        ASSERT_EQ(group.as<IConnectionPointContainer>()->FindConnectionPoint(IID_IOPCDataCallback, point.put()), S_OK);
        ComPtr<IEnumConnections> connections;
        ASSERT_EQ(point->EnumConnections(connections.put()), S_OK);
        CONNECTDATA connection{};
        ULONG fetched = 0;
        ASSERT_EQ(connections->Next(1, &connection, &fetched), S_OK);
        connection.pUnk->Release();
        EXPECT_EQ(point->Unadvise(connection.dwCookie + 1), CONNECT_E_NOCONNECTION);
        EXPECT_EQ(point->Advise(opc(), &connection.dwCookie), CONNECT_E_CANNOTCONNECT);
        EXPECT_THAT(run("counts"), testing::AllOf(testing::HasSubstr("servers=1\ngroups=1\nitems=1\nsinks=1\n")));
    }
    releaseServer();
    EXPECT_EQ(run("counts"), "servers=0\ngroups=0\nitems=0\nsinks=0\nshutdownsinks=0\nreferences=1\n");
    EXPECT_THAT(run("journal"), testing::EndsWith("group Main released\nserver released\n"));
}

}  // namespace
}  // namespace Korvex::Simulation
