// Item properties by whichever interfaces a server has.
#include <map>
#include <string>
#include <vector>

#include "com/owners.h"
#include "opc/browse/ItemPropertyRecords.h"
#include "tests/opc/group/GroupFixture.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using OpxOpc::OpxItemIdentifier;
using OpxOpc::OpxItemProperties;
using OpxOpc::OpxItemProperty;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);
constexpr HRESULT kInvalidPropertyId = hresult(0xC0040203u);
constexpr HRESULT kServerGone = hresult(0x800706BAu);

std::vector<std::int32_t> idsOf(const OpxItemProperties& item) {
    std::vector<std::int32_t> ids;
    for (const OpxItemProperty& property : item.properties) ids.push_back(property.propertyId);
    return ids;
}

class ItemPropertiesTest : public SimulationFixture, public ::testing::WithParamInterface<int> {
protected:
    ItemPropertiesTest() {
        sim.profile(GetParam());
        EXPECT_EQ(c.connect(), S_OK);
    }

    HRESULT query(std::vector<const OLECHAR*> names, std::vector<std::uint32_t> ids, bool all, bool values) {
        std::vector<OpxItemIdentifier> items;
        for (const OLECHAR* name : names) items.push_back(itemNamed(name));
        results.resize(9);  // must not be seen again
        return c.server.getProperties(items, {ids, all, values}, results);
    }

    std::vector<OpxItemProperties> results;
    Connection c;
};

TEST_P(ItemPropertiesTest, AllOfThemComeInTheServersOrderWithTypesAndItems) {
    ASSERT_EQ(query({OLESTR("Analog.Level"), OLESTR("Constant.Int32")}, {}, true, true), S_OK);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_THAT(idsOf(results[0]), ElementsAre(1, 2, 3, 4, 5, 6, 7, 100, 101, 102, 103));
    EXPECT_THAT(idsOf(results[1]), ElementsAre(1, 2, 3, 4, 5, 6, 7, 101));
    const OpxItemProperty& high = results[0].properties[9];
    EXPECT_EQ(high.dataType, VType::Double);
    EXPECT_EQ(high.description, OLESTR("High EU"));
    EXPECT_EQ(high.itemName, OLESTR("Analog.Level.High"));
    EXPECT_EQ(high.value.type(), VType::Double);
    EXPECT_EQ(results[0].properties[8].itemName, OpxString()) << "a description is no item";
    EXPECT_EQ(results[0].resultCode, S_OK);
}

TEST_P(ItemPropertiesTest, ChosenOnesComeInTheOrderOfTheRequestAndUnknownOnesWithTheirCode) {
    EXPECT_EQ(query({OLESTR("Constant.Int32")}, {5, 100, 1}, false, true), S_FALSE);
    const auto& properties = results.at(0).properties;
    EXPECT_EQ(results[0].resultCode, S_FALSE);
    EXPECT_THAT(idsOf(results[0]), ElementsAre(5, 100, 1));
    EXPECT_EQ(properties[1].resultCode, kInvalidPropertyId);
    EXPECT_EQ(properties[1].dataType, VType::Empty);
    EXPECT_EQ(properties[1].description, OpxString());
    EXPECT_EQ(properties[0].value.toInt32(), 1) << "it can be read";
    EXPECT_EQ(properties[2].value.toInt32(), static_cast<std::int32_t>(VType::Int32));
}

TEST_P(ItemPropertiesTest, ValuesComeOnlyOnRequest) {
    EXPECT_EQ(query({OLESTR("Analog.Level")}, {}, true, false), S_OK);
    for (const OpxItemProperty& property : results.at(0).properties) EXPECT_EQ(property.value.type(), VType::Empty);
    EXPECT_EQ(sim.execute("calls IOPCItemProperties::GetItemProperties"), "0");
}

TEST_P(ItemPropertiesTest, TheDataTypePropertyOfEveryKindOfItemIsTheTagThatReadsReport) {
    ASSERT_EQ(c.server.addGroup(&c.group), S_OK);
    const OpxString branch = OLESTR("Constant");
    const std::vector<std::uint32_t> dataType = {1};
    OpxString point;
    bool more = false;
    std::vector<OpxOpc::OpxBrowseElement> elements;
    ASSERT_EQ(c.server.browse({branch, 0, OpxOpc::BrowseFilter::Item, {dataType, false, true}}, point, elements, more),
              S_OK);
    ASSERT_GT(elements.size(), 30u);
    for (const auto& element : elements) {
        SCOPED_TRACE(toUtf8(element.itemName));
        ASSERT_EQ(element.propertyCount, 1);
        EXPECT_EQ(c.read(c.add(element.itemName.c_str())), S_OK);
        EXPECT_EQ(element.properties.at(0).value.toInt32(), static_cast<std::int32_t>(c.values.at(0).value.type()));
    }
}

TEST_P(ItemPropertiesTest, AnItemThatIsUnknownDoesNotKeepTheOthersBack) {
    EXPECT_EQ(query({OLESTR("No.Such.Item"), OLESTR("Constant.Int32")}, {2}, false, true), S_FALSE);
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].resultCode, kUnknownItemId);
    EXPECT_THAT(results[0].properties, IsEmpty());
    EXPECT_EQ(results[1].resultCode, S_OK);
    EXPECT_EQ(results[1].properties.at(0).value.type(), VType::Int32);
}

TEST_P(ItemPropertiesTest, AValueThatFailsOrHasNoFormIsToldByItsOwnCode) {
    sim.item("Constant.Int32", "array2d");
    sim.item("Constant.Double", "error 0xC0040006");
    EXPECT_EQ(query({OLESTR("Constant.Int32"), OLESTR("Constant.Double")}, {2, 5}, false, true), S_FALSE);
    EXPECT_EQ(results.at(0).resultCode, S_FALSE);
    EXPECT_EQ(results[0].properties.at(0).resultCode, hresult(0x80020005u));
    EXPECT_EQ(results[0].properties[0].value.type(), VType::Empty);
    EXPECT_EQ(results[0].properties[1].resultCode, S_OK);
    EXPECT_EQ(results.at(1).properties.at(0).resultCode, hresult(0xC0040006u));
}

TEST_P(ItemPropertiesTest, FailuresAndMissingArraysLeaveNothingOrTheirCode) {
    const bool newer = GetParam() == 3;
    const char* first = newer ? "IOPCBrowse::GetProperties" : "IOPCItemProperties::QueryAvailableProperties";
    sim.fault(first, kServerGone);
    EXPECT_EQ(query({OLESTR("Constant.Int32")}, {}, true, true), kServerGone);
    EXPECT_THAT(results, IsEmpty());
    EXPECT_TRUE(trace.has("<-- DaServerMgtPrivate::getProperties [hr=0x800706ba]"));
    sim.reset();
    sim.profile(GetParam());
    sim.answer(first, "null-values");
    EXPECT_EQ(query({OLESTR("Constant.Int32")}, {}, true, true), newer ? E_FAIL : S_FALSE);
    sim.answer(first, "");
    if (newer) return;

    sim.fault("IOPCItemProperties::GetItemProperties", E_ACCESSDENIED);
    EXPECT_EQ(query({OLESTR("Constant.Int32")}, {5, 6}, false, true), S_FALSE);
    for (const OpxItemProperty& property : results.at(0).properties) EXPECT_EQ(property.resultCode, E_ACCESSDENIED);
    sim.fault("IOPCItemProperties::GetItemProperties", kServerGone);
    EXPECT_EQ(query({OLESTR("Constant.Int32")}, {5}, false, true), kServerGone);
    sim.reset();
    sim.profile(2);
    sim.answer("IOPCItemProperties::GetItemProperties", "null-values");
    EXPECT_EQ(query({OLESTR("Constant.Int32")}, {5}, false, true), S_FALSE);
    EXPECT_EQ(results.at(0).properties.at(0).resultCode, E_FAIL);
    sim.fault("IOPCItemProperties::LookupItemIDs", E_FAIL);
    EXPECT_EQ(query({OLESTR("Analog.Level")}, {102}, false, false), S_OK);
    EXPECT_EQ(results.at(0).properties.at(0).itemName, OpxString());
}

TEST(DataTypeProperty, ThatIsNoNumberStaysWhatTheServerSent) {
    OpxItemProperty property;
    property.propertyId = 1;
    Com::UniqueVariant value;
    OpxOpc::takePropertyValue(value, property);
    EXPECT_EQ(property.value.type(), VType::Empty);
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(OLESTR("VT_R8"));
    OpxOpc::takePropertyValue(value, property);
    EXPECT_EQ(toUtf8(property.value.toString()), "VT_R8");
    EXPECT_EQ(property.resultCode, S_OK);
}

INSTANTIATE_TEST_SUITE_P(Of, ItemPropertiesTest, ::testing::Values(2, 3),
                         [](const auto& which) { return "DataAccess" + std::to_string(which.param); });

}  // namespace
}  // namespace Korvex::Testing
