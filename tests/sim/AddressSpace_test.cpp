#include <gmock/gmock.h>

#include "sim/OpcCodes.h"
#include "sim/plant/NamePattern.h"
#include "tests/sim/Client.h"

namespace Korvex::Simulation {
namespace {

using Com::ComPtr;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using AddressSpace = SimulationTest;

TEST(NamePattern, knowsItsWildcards) {
    const struct {
        OpxStringView name, pattern;
        bool matches;
    } cases[] = {
        {OLESTR("Int32"), OLESTR(""), true},
        {OLESTR("Int32"), OLESTR("Int*"), true},
        {OLESTR("Int32"), OLESTR("*3*2"), true},
        {OLESTR("Int32"), OLESTR("Int"), false},
        {OLESTR("Int32"), OLESTR("int*"), false},
        {OLESTR("Int32"), OLESTR("Int##"), true},
        {OLESTR("Int32"), OLESTR("Int?"), false},
        {OLESTR("Int32"), OLESTR("[F-K]nt32"), true},
        {OLESTR("Int32"), OLESTR("[!F-K]*"), false},
        {OLESTR("a*b"), OLESTR("a[*]b"), true},
        {OLESTR("[x"), OLESTR("[x"), true},
        {OLESTR("aab"), OLESTR("*ab"), true},
        {OLESTR(""), OLESTR("*"), true},
    };
    for (const auto& each : cases)
        EXPECT_EQ(matchesPattern(each.name, each.pattern), each.matches) << toUtf8(each.name) << toUtf8(each.pattern);
}

std::vector<OpxString> browse(IOPCBrowseServerAddressSpace* space, OPCBROWSETYPE type, const OpxString& pattern = {},
                              VARTYPE dataType = VT_EMPTY, DWORD rights = 0) {
    ComPtr<IEnumString> names;
    const HRESULT result = space->BrowseOPCItemIDs(type, pattern.c_str(), dataType, rights, names.put());
    const auto found = namesOf(names.get());
    EXPECT_EQ(result, found.empty() ? S_FALSE : S_OK);
    return found;
}

TEST_F(AddressSpace, browsesTheTreeByPosition) {
    const auto space = server<IOPCBrowseServerAddressSpace>();
    EXPECT_THAT(browse(space.get(), OPC_BRANCH), Contains(OLESTR("Signal")));
    EXPECT_THAT(browse(space.get(), OPC_LEAF), IsEmpty());
    EXPECT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_UP, nullptr), E_FAIL);
    EXPECT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_DOWN, OLESTR("Nowhere")), E_INVALIDARG);
    ASSERT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_DOWN, OLESTR("Analog")), S_OK);
    EXPECT_THAT(browse(space.get(), OPC_BRANCH), ElementsAre(OLESTR("Level"), OLESTR("Temperature")));
    EXPECT_THAT(browse(space.get(), OPC_LEAF, {}, VT_R4), ElementsAre(OLESTR("Temperature")));
    EXPECT_THAT(browse(space.get(), OPC_FLAT, OLESTR("*.Units")),
                ElementsAre(OLESTR("Analog.Level.Units"), OLESTR("Analog.Temperature.Units")));
    EXPECT_THAT(browse(space.get(), OPC_LEAF, {}, VT_EMPTY, OPC_WRITEABLE),
                ElementsAre(OLESTR("Level"), OLESTR("Temperature")));

    LPWSTR id = nullptr;
    OpxString name = OLESTR("Level");
    ASSERT_EQ(space->GetItemID(name.data(), &id), S_OK);
    EXPECT_EQ(OpxString(Com::TaskString(id).get()), OLESTR("Analog.Level"));
    ASSERT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_TO, OLESTR("Analog.Level")), S_OK);
    ASSERT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_UP, nullptr), S_OK);
    EXPECT_THAT(browse(space.get(), OPC_BRANCH), ElementsAre(OLESTR("Level"), OLESTR("Temperature")));

    run("organisation flat");
    EXPECT_EQ(space->ChangeBrowsePosition(OPC_BROWSE_TO, OLESTR("")), E_FAIL);
    EXPECT_THAT(browse(space.get(), OPC_BRANCH), IsEmpty());
}

struct Page {
    HRESULT result;
    std::vector<std::string> elements;  // name|id|flags
    OpxString next;
};

Page browse3(IOPCBrowse* browse, OpxString id, const OpxString& point, DWORD maximum,
             OPCBROWSEFILTER filter = OPC_BROWSE_FILTER_ALL, OpxString pattern = {}) {
    LPWSTR next = Com::copyToTaskMemory(point);
    BOOL more = TRUE;
    DWORD count = 0;
    OPCBROWSEELEMENT* elements = nullptr;
    OpxString vendor;
    Page page;
    page.result = browse->Browse(id.data(), &next, maximum, filter, pattern.data(), vendor.data(), FALSE, FALSE, 0,
                                 nullptr, &more, &count, &elements);
    EXPECT_EQ(more, FALSE);
    const Com::TaskString owner(next);
    page.next = next;
    for (DWORD i = 0; i < count; ++i)
        page.elements.push_back(toUtf8(elements[i].szName) + "|" + toUtf8(elements[i].szItemID) + "|" +
                                std::to_string(elements[i].dwFlagValue));
    disposeArray(elements, count);
    return page;
}

TEST_F(AddressSpace, browsesInPagesThatContinueWhereTheLastOneEnded) {
    const auto browse = server<IOPCBrowse>();
    const Page first = browse3(browse.get(), OLESTR("Analog"), {}, 1);
    EXPECT_THAT(first.elements, ElementsAre("Level|Analog.Level|3"));
    ASSERT_FALSE(first.next.empty());
    const Page second = browse3(browse.get(), OLESTR("Analog"), first.next, 1);
    EXPECT_THAT(second.elements, ElementsAre("Temperature|Analog.Temperature|3"));
    EXPECT_TRUE(second.next.empty());

    EXPECT_EQ(browse3(browse.get(), OLESTR("Signal"), first.next, 1).result, OPC_E_INVALIDCONTINUATIONPOINT);
    EXPECT_EQ(browse3(browse.get(), OLESTR("Analog"), OLESTR("99@Analog"), 1).result, OPC_E_INVALIDCONTINUATIONPOINT);
    EXPECT_EQ(browse3(browse.get(), OLESTR("Nowhere"), {}, 0).result, OPC_E_UNKNOWNITEMID);
    EXPECT_THAT(browse3(browse.get(), {}, {}, 0, OPC_BROWSE_FILTER_ITEMS).elements, IsEmpty());
    EXPECT_THAT(browse3(browse.get(), OLESTR("Signal"), {}, 0, OPC_BROWSE_FILTER_ALL, OLESTR("S*")).elements,
                ElementsAre("Sine|Signal.Sine|2", "Square|Signal.Square|2"));

    run("load 25");
    run("browselimit 10");
    std::size_t seen = 0;
    OpxString point;
    do {
        const Page page = browse3(browse.get(), OLESTR("Load"), point, 0);
        ASSERT_EQ(page.result, S_OK);
        seen += page.elements.size();
        point = page.next;
    } while (!point.empty());
    EXPECT_EQ(seen, 25U);
}

TEST_F(AddressSpace, describesItemsByTheirProperties) {
    const auto properties = server<IOPCItemProperties>();
    OpxString level = OLESTR("Analog.Level");
    OpxString mode = OLESTR("Enumerated.Mode");
    const auto available = [&](OpxString& id) {
        DWORD count = 0;
        Com::TaskArray<DWORD> ids;
        Com::TaskArray<LPWSTR> descriptions;
        Com::TaskArray<VARTYPE> types;
        EXPECT_EQ(properties->QueryAvailableProperties(id.data(), &count, ids.put(), descriptions.put(), types.put()),
                  S_OK);
        descriptions.setCount(count);
        return std::vector<DWORD>(ids.get(), ids.get() + count);
    };
    EXPECT_THAT(available(level), ElementsAre(1U, 2U, 3U, 4U, 5U, 6U, 7U, 100U, 101U, 102U, 103U));
    EXPECT_THAT(available(mode), ElementsAre(1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 101U));

    DWORD wanted[] = {1, 2, 3, 7, 102, 8, 103};
    Com::TaskArray<VARIANT> values(7);
    Com::TaskArray<HRESULT> errors(7);
    ASSERT_EQ(properties->GetItemProperties(level.data(), 7, wanted, values.put(), errors.put()), S_FALSE);
    EXPECT_EQ(errors[5], OPC_E_INVALID_PID);
    EXPECT_EQ(values[0].iVal, VT_R8);
    EXPECT_EQ(values[1].dblVal, 50);
    EXPECT_EQ(values[2].iVal, kQualityGood);
    EXPECT_EQ(values[3].lVal, OPC_ANALOG);
    EXPECT_EQ(values[4].dblVal, 100);
    EXPECT_EQ(values[6].vt, VT_R8);

    Com::TaskArray<LPWSTR> ids(7);
    ASSERT_EQ(properties->LookupItemIDs(level.data(), 7, wanted, ids.put(), errors.put()), S_FALSE);
    EXPECT_EQ(OpxString(ids[4]), OLESTR("Analog.Level.High"));
    EXPECT_EQ(errors[1], E_FAIL);
    EXPECT_EQ(addGroup().read(addGroup(OLESTR("B")).add(ids[4])).error, OPC_E_INVALIDHANDLE);
}

TEST_F(AddressSpace, answersPropertiesOfSeveralItemsAtOnce) {
    OpxString known = OLESTR("Quality.Bad");
    OpxString unknown = OLESTR("Quality.None");
    LPWSTR ids[] = {known.data(), unknown.data()};
    DWORD wanted[] = {3, 102};
    OPCITEMPROPERTIES* properties = nullptr;
    ASSERT_EQ(server<IOPCBrowse>()->GetProperties(2, ids, TRUE, 2, wanted, &properties), S_FALSE);
    ASSERT_EQ(properties[0].dwNumProperties, 2U);
    EXPECT_EQ(properties[0].hrErrorID, S_FALSE);
    EXPECT_EQ(properties[0].pItemProperties[0].vValue.iVal, kQualityBad);
    EXPECT_EQ(OpxString(properties[0].pItemProperties[0].szDescription), OLESTR("Item Quality"));
    EXPECT_EQ(properties[0].pItemProperties[1].hrErrorID, OPC_E_INVALID_PID);
    EXPECT_EQ(properties[1].hrErrorID, OPC_E_UNKNOWNITEMID);
    disposeArray(properties, 2);
}

}  // namespace
}  // namespace Korvex::Simulation
