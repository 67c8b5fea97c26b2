// Every text that a method gives out arrives in the other process: proxies may lose them without an error.
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "sim/OpcCodes.h"
#include "sim/com/ComClass.h"
#include "sim/com/Results.h"
#include "tests/processes/ProcessFixture.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;
using Com::TaskArray;
using Com::TaskString;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

std::string textOf(LPCWSTR text) {
    return text ? toUtf8(text) : "lost";
}
std::string taken(LPWSTR text) {
    const TaskString owner(text);
    return textOf(text);
}
std::vector<std::string> textsOf(const TaskArray<LPWSTR>& array) {
    std::vector<std::string> texts;
    for (LPCWSTR text : array) texts.push_back(textOf(text));
    return texts;
}
std::vector<std::string> textsOf(IEnumString& enumerator) {
    std::vector<std::string> texts;
    LPOLESTR text[2] = {};
    for (ULONG fetched = 0; succeeded(enumerator.Next(2, text, &fetched)) && fetched > 0;)
        for (ULONG i = 0; i < fetched; ++i) texts.push_back(taken(text[i]));
    return texts;
}

class OutStrings : public ProcessFixture {
protected:
    OutStrings() {
        EXPECT_EQ(CoCreateInstance(CLSID_KorvexSimulation, nullptr, CLSCTX_LOCAL_SERVER, IID_IOPCServer, opc.putVoid()),
                  S_OK);
    }

    template <typename Interface>
    ComPtr<Interface> server() const {
        ComPtr<Interface> found;
        EXPECT_EQ(opc.query(found), S_OK);
        return found;
    }
    template <typename Interface>
    ComPtr<Interface> group(const OLECHAR* name) const {
        ComPtr<Interface> added;
        OPCHANDLE handle = 0;
        DWORD rate = 0;
        EXPECT_EQ(opc->AddGroup(name, FALSE, 1000, 1, nullptr, nullptr, 1033, &handle, &rate, iidOf<Interface>(),
                                reinterpret_cast<LPUNKNOWN*>(added.put())),
                  S_OK);
        return added;
    }

    ComPtr<IOPCServer> opc;
    LPWSTR text = nullptr;
};

TEST_F(OutStrings, OfTheServerAndItsErrors) {
    EXPECT_EQ(opc->GetErrorString(Simulation::OPC_E_BADTYPE, 1033, &text), S_OK);
    const std::string reason = taken(text);
    EXPECT_THAT(reason, HasSubstr("type"));
    EXPECT_EQ(server<IOPCCommon>()->GetErrorString(Simulation::OPC_E_BADTYPE, &text), S_OK);
    EXPECT_EQ(taken(text), reason);

    TaskArray<OPCSERVERSTATUS> status(1);
    ASSERT_EQ(opc->GetStatus(status.put()), S_OK);
    EXPECT_EQ(taken(status[0].szVendorInfo), "Korvex simulation server");
}

TEST_F(OutStrings, OfBrowsing) {
    const auto browse = server<IOPCBrowse>();
    OpxString branch = OLESTR("Analog");
    OpxString none;
    DWORD description = 101;
    BOOL more = FALSE;
    DWORD count = 0;
    OPCBROWSEELEMENT* elements = nullptr;
    LPWSTR point = Com::copyToTaskMemory(none);
    ASSERT_EQ(browse->Browse(branch.data(), &point, 1, OPC_BROWSE_FILTER_ALL, none.data(), none.data(), FALSE, TRUE, 1,
                             &description, &more, &count, &elements),
              S_OK);
    EXPECT_THAT(taken(point), Not(::testing::AnyOf("lost", "")));
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(textOf(elements[0].szName), "Level");
    EXPECT_EQ(textOf(elements[0].szItemID), "Analog.Level");
    ASSERT_EQ(elements[0].ItemProperties.dwNumProperties, 1u);
    EXPECT_NE(textOf(elements[0].ItemProperties.pItemProperties[0].szDescription), "lost");
    Simulation::disposeArray(elements, count);

    OpxString item = OLESTR("Analog.Level");
    LPWSTR items[] = {item.data()};
    DWORD high = 102;
    OPCITEMPROPERTIES* properties = nullptr;
    ASSERT_EQ(browse->GetProperties(1, items, TRUE, 1, &high, &properties), S_OK);
    EXPECT_EQ(textOf(properties[0].pItemProperties[0].szDescription), "High EU");
    EXPECT_EQ(textOf(properties[0].pItemProperties[0].szItemID), "Analog.Level.High");
    Simulation::disposeArray(properties, 1);
}

TEST_F(OutStrings, OfBrowsingOlderServers) {
    const auto space = server<IOPCBrowseServerAddressSpace>();
    ASSERT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_DOWN, OLESTR("Analog")), S_OK);
    OpxString name = OLESTR("Level");
    ASSERT_EQ(space->GetItemID(name.data(), &text), S_OK);
    EXPECT_EQ(taken(text), "Analog.Level");
    ComPtr<IEnumString> names;
    ASSERT_EQ(space->BrowseOPCItemIDs(OPC_BRANCH, OLESTR(""), VT_EMPTY, 0, names.put()), S_OK);
    EXPECT_THAT(textsOf(*names), ElementsAre("Level", "Temperature"));

    const auto properties = server<IOPCItemProperties>();
    OpxString item = OLESTR("Analog.Level");
    DWORD count = 0;
    TaskArray<DWORD> ids;
    TaskArray<LPWSTR> descriptions;
    TaskArray<VARTYPE> types;
    ASSERT_EQ(properties->QueryAvailableProperties(item.data(), &count, ids.put(), descriptions.put(), types.put()),
              S_OK);
    descriptions.setCount(count);
    EXPECT_THAT(textsOf(descriptions), Contains("High EU"));
    DWORD limits[] = {102, 103};
    TaskArray<LPWSTR> found(2);
    TaskArray<HRESULT> errors(2);
    ASSERT_EQ(properties->LookupItemIDs(item.data(), 2, limits, found.put(), errors.put()), S_OK);
    EXPECT_THAT(textsOf(found), ElementsAre("Analog.Level.High", "Analog.Level.Low"));
}

TEST_F(OutStrings, OfGroupsAndTheirItems) {
    const auto items = group<IOPCItemMgt>(OLESTR("Boiler"));
    ComPtr<IOPCGroupStateMgt> state;
    ASSERT_EQ(items.query(state), S_OK);
    DWORD rate = 0, locale = 0;
    OPCHANDLE client = 0, own = 0;
    BOOL active = FALSE;
    LONG bias = 0;
    FLOAT deadband = 0;
    ASSERT_EQ(state->GetState(&rate, &active, &text, &bias, &deadband, &locale, &client, &own), S_OK);
    EXPECT_EQ(taken(text), "Boiler");

    OpxString id = OLESTR("Constant.Int32");
    OPCITEMDEF definition = {};
    definition.szItemID = id.data();
    TaskArray<OPCITEMRESULT> added(1);
    TaskArray<HRESULT> errors(1);
    ASSERT_EQ(items->AddItems(1, &definition, added.put(), errors.put()), S_OK);
    CoTaskMemFree(added[0].pBlob);
    ComPtr<IEnumOPCItemAttributes> attributes;
    ASSERT_EQ(items->CreateEnumerator(IID_IEnumOPCItemAttributes, reinterpret_cast<LPUNKNOWN*>(attributes.put())),
              S_OK);
    OPCITEMATTRIBUTES* found = nullptr;
    ULONG count = 0;
    ASSERT_EQ(attributes->Next(1, &found, &count), S_OK);
    EXPECT_EQ(textOf(found[0].szItemID), "Constant.Int32");
    Simulation::disposeArray(found, count);

    ComPtr<IEnumString> names;
    ASSERT_EQ(opc->CreateGroupEnumerator(OPC_ENUM_ALL, IID_IEnumString, reinterpret_cast<LPUNKNOWN*>(names.put())),
              S_OK);
    EXPECT_THAT(textsOf(*names), ElementsAre("Boiler"));
}

TEST_F(OutStrings, OfTheListOfServers) {
    ComPtr<IOPCServerList2> list;
    ASSERT_EQ(CoCreateInstance(CLSID_OpcServerList, nullptr, CLSCTX_LOCAL_SERVER, IID_IOPCServerList2, list.putVoid()),
              S_OK);
    LPWSTR type = nullptr;
    LPWSTR versionIndependent = nullptr;
    ASSERT_EQ(list->GetClassDetails(CLSID_KorvexSimulation, &text, &type, &versionIndependent), S_OK);
    EXPECT_EQ(taken(text), "Korvex.Simulation.1");
    EXPECT_EQ(taken(type), "Korvex simulation server");
    EXPECT_EQ(taken(versionIndependent), "Korvex.Simulation");

    ComPtr<IOPCServerList> older;
    ASSERT_EQ(list.query(older), S_OK);
    ASSERT_EQ(older->GetClassDetails(CLSID_KorvexSimulation, &text, &type), S_OK);
    EXPECT_EQ(taken(text), "Korvex.Simulation.1");
    EXPECT_EQ(taken(type), "Korvex simulation server");
}

class ShutdownSink final : public Simulation::ComClass<IOPCShutdown> {
public:
    HRESULT STDMETHODCALLTYPE ShutdownRequest(LPCWSTR reason) override {
        reasons.put(textOf(reason));
        return S_OK;
    }
    Mailbox<std::string> reasons;
};

TEST_F(OutStrings, OfTheRequestToLeave) {
    ComPtr<IConnectionPoint> point;
    ASSERT_EQ(server<IConnectionPointContainer>()->FindConnectionPoint(IID_IOPCShutdown, point.put()), S_OK);
    const auto sink = Simulation::makeObject<ShutdownSink>();
    DWORD cookie = 0;
    ASSERT_EQ(point->Advise(sink.get(), &cookie), S_OK);
    sim().execute("shutdown for maintenance");
    EXPECT_TRUE(sink->reasons.reaches("for maintenance"));
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
}

}  // namespace
}  // namespace Korvex::Testing
