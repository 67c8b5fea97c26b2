// Browsing and item properties as an application has them.
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "api/PropertyConversion.h"
#include "tests/api/ApiFixture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BrowseTest : public ApiFixture {
protected:
    ReturnCode browse(const NullableText& itemName, BrowseFilter filter = BrowseFilter::ALL,
                      NullableArray<std::int32_t> ids = nullptr, bool all = false, bool values = false) {
        return server.Browse(itemName, nullptr, point, most, filter, ids, all, values, elements, more);
    }
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const BrowseElement& element : elements.value()) result.push_back(toUtf8(element.Name().value()));
        return result;
    }
    ReturnCode properties(const NullableArray<std::int32_t>& ids, bool all, bool values) {
        return server.GetProperties(items, ids, all, values, found);
    }

    NullableText point = "";
    std::int32_t most = 0;
    NullableArray<BrowseElement> elements;
    bool more = true;
    NullableArray<ItemIdentifier> items = {item("Analog.Level")};
    NullableArray<ItemProperties> found;
};

TEST_F(BrowseTest, ElementsComeWithAllTheirFields) {
    connect();
    EXPECT_EQ(browse("Analog"), ReturnCode::SUCCEEDED);
    EXPECT_THAT(names(), ElementsAre("Level", "Temperature"));
    EXPECT_EQ(elements[0].ItemName(), NullableText("Analog.Level"));
    EXPECT_EQ(elements[0].ItemPath(), NullableText(""));
    EXPECT_TRUE(elements[0].IsItem());
    EXPECT_TRUE(elements[0].HasChildren());
    EXPECT_THAT(elements[0].ItemProperties().RequestedItemProperties(), IsEmpty());
    EXPECT_FALSE(more);
    EXPECT_TRUE(trace.hasInOrder({"==> MCPP::DaServerMgt::Browse", "==> DaServer::browse", "--> DaServerCom::browse",
                                  "--> DaServerMgtPrivate::browse", "<-- DaServerMgtPrivate::browse [hr=0x0]",
                                  "<-- DaServerCom::browse [hr=0x0]", "<== DaServer::browse [hr=0x0]",
                                  "<== MCPP::DaServerMgt::Browse [hr=0x0]"}));
    EXPECT_TRUE(trace.hasInOrder(
        {"  IN Parameters:", "  Item Name = Analog",
         "  Item Path = ", "  Continuation Point = ", "  MaxElementsReturned = 0", "  browseFilter = 0",
         "  ReturnAllProperties = false", "  ReturnPropertyValues = false", "  Requested PropertyID count = 0",
         "  OUT Parameters:", "  Continuation Point = ", "  MoreElements = false", "  Item count = 2",
         "    Item[0] name=Level ItemName=Analog.Level ItemPath= isItem=true hasChildren=true"}));
}

TEST_F(BrowseTest, FiltersPassAndAnUnknownOneIsAll) {
    connect();
    browse("Analog.Level", BrowseFilter::BRANCH);
    EXPECT_THAT(names(), IsEmpty());
    browse("Analog.Level", BrowseFilter::ITEM);
    EXPECT_THAT(names(), ElementsAre("High", "Low", "Units"));
    browse("Analog.Level", static_cast<BrowseFilter>(7));
    EXPECT_THAT(names(), ElementsAre("High", "Low", "Units"));
    EXPECT_TRUE(trace.has("  browseFilter = 0"));
}

TEST_F(BrowseTest, PagesGoOnWhereTheLastOneEnded) {
    for (const int profile : {2, 3}) {
        SCOPED_TRACE(profile);
        sim.profile(profile);
        connect();
        most = 2;
        browse("Analog.Level");
        EXPECT_THAT(names(), ElementsAre("High", "Low"));
        EXPECT_NE(point, NullableText(""));
        browse("Analog.Level");
        EXPECT_THAT(names(), ElementsAre("Units"));
        EXPECT_EQ(point, NullableText(""));
        EXPECT_FALSE(more);
        point = "nonsense";
        EXPECT_EQ(opcCodeOf([&] { browse("Analog.Level"); }), hresult(0xC0040403u));
        EXPECT_EQ(point, NullableText("nonsense"));
        point = "";
        server.Disconnect();
    }
}

TEST_F(BrowseTest, BadArgumentsAreThrownBeforeTheServerIsAsked) {
    EXPECT_EQ(thrownBy<ArgumentNullException>([&] { browse(nullptr); }).ParamName(), OLESTR("itemName"));
    point = nullptr;
    EXPECT_EQ(thrownBy<ArgumentNullException>([&] { browse(""); }).ParamName(), OLESTR("continuationPoint"));
    point = "";
    most = -1;
    EXPECT_EQ(thrownBy<ArgumentOutOfRangeException>([&] { browse(""); }).ParamName(), OLESTR("maxElementsReturned"));
    most = 0;
    EXPECT_EQ(opcCodeOf([&] { browse(""); }), E_FAIL) << "not connected";
    connect();
    EXPECT_EQ(opcCodeOf([&] { browse("No.Such.Branch"); }), hresult(0xC0040007u));
}

TEST_F(BrowseTest, PropertiesComeWithItemsAndTheirFailuresAreItemErrors) {
    connect();
    EXPECT_EQ(browse("Analog", BrowseFilter::ALL, {PropertyID::HIGHEU}, false, true), ReturnCode::SUCCEEDED);
    const auto& properties = elements[0].ItemProperties().RequestedItemProperties();
    ASSERT_EQ(properties.size(), 1u);
    EXPECT_EQ(properties[0].Value(), Object(100.0));
    EXPECT_EQ(properties[0].ItemName(), NullableText("Analog.Level.High"));
    EXPECT_EQ(browse("Analog", BrowseFilter::ALL, {12345}), ReturnCode::ITEMERROR);
    EXPECT_TRUE(trace.has("    ID[0] PropertyID = 12345"));
}

TEST_F(BrowseTest, PropertiesAreAllOrThoseThatWereAskedFor) {
    for (const int profile : {2, 3}) {
        SCOPED_TRACE(profile);
        sim.profile(profile);
        connect();
        EXPECT_EQ(properties(nullptr, true, false), ReturnCode::SUCCEEDED);
        EXPECT_EQ(found[0].RequestedItemProperties().size(), 11u);
        for (const ItemProperty& property : found[0].RequestedItemProperties()) {
            EXPECT_TRUE(property.Value().isNull());
        }

        EXPECT_EQ(properties({PropertyID::DATATYPE, PropertyID::ENGINEERINGUINTS}, false, true), ReturnCode::SUCCEEDED);
        const auto& chosen = found[0].RequestedItemProperties();
        ASSERT_EQ(chosen.size(), 2u);
        EXPECT_EQ(chosen[0].Value(), Object(Type::of<double>())) << "a type and not its number";
        EXPECT_EQ(chosen[0].DataType(), Type::of<std::int16_t>());
        EXPECT_EQ(chosen[0].Description(), NullableText("Item Canonical Data Type"));
        EXPECT_EQ(chosen[1].PropertyID(), 100);
        EXPECT_EQ(chosen[1].Value(), Object("cm"));
        server.Disconnect();
    }
}

TEST_F(BrowseTest, AnUnknownItemIsAnItemError) {
    connect();
    items = {item("No.Such.Item"), item("Constant.Int32")};
    EXPECT_EQ(properties({PropertyID::VALUE}, false, true), ReturnCode::ITEMERROR);
    EXPECT_EQ(items[0].ResultID().Code(), hresult(0xC0040007u));
    EXPECT_EQ(items[1].ResultID().Code(), S_OK);
    EXPECT_THAT(found[0].RequestedItemProperties(), IsEmpty());
    EXPECT_EQ(found[1].RequestedItemProperties()[0].PropertyID(), 2);
}

TEST_F(BrowseTest, GetPropertiesRefusesBadArguments) {
    items = nullptr;
    EXPECT_EQ(thrownBy<ArgumentNullException>([&] { properties({1}, false, true); }).ParamName(),
              OLESTR("itemIdentifiers"));
    items = {item("Analog.Level")};
    EXPECT_EQ(thrownBy<ArgumentNullException>([&] { properties(nullptr, false, true); }).ParamName(),
              OLESTR("propertyIDs must not be null, if returnAllProperties is false"));
    EXPECT_EQ(thrownBy<ArgumentException>([&] { properties(std::vector<std::int32_t>(), false, true); }).Message(),
              OLESTR("propertyIDs must not be empty, if returnAllProperties is false"));
    EXPECT_EQ(opcCodeOf([&] { properties(nullptr, true, true); }), E_FAIL) << "not connected";
}

// ---- Values --------------------------------------------------------------------------------------

OpxOpc::OpxItemProperty native(std::int32_t id, const OpxOpc::OpxVariant& value) {
    OpxOpc::OpxItemProperty property;
    property.propertyId = id;
    property.value = value;
    return property;
}

Object converted(std::int32_t id, const OpxOpc::OpxVariant& value) {
    return CopyItemProperties({native(id, value)}, true).RequestedItemProperties().at(0).Value();
}

TEST(PropertyConversion, OnlyTheDataTypePropertyBecomesAType) {
    const auto tag = OpxOpc::OpxVariant::of(static_cast<std::int32_t>(Opx::VType::Double));
    EXPECT_EQ(converted(PropertyID::DATATYPE, tag), Object(Type::of<double>()));
    EXPECT_EQ(converted(PropertyID::VALUE, tag), Object(static_cast<std::int32_t>(Opx::VType::Double)));
    EXPECT_TRUE(converted(PropertyID::DATATYPE, {}).isNull());
    const Object unknown = converted(PropertyID::DATATYPE, OpxOpc::OpxVariant::of(OpxString(OLESTR("VT_R8"))));
    EXPECT_FALSE(unknown.isNull());
    EXPECT_EQ(unknown.tryGet<Type>(), nullptr);
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
