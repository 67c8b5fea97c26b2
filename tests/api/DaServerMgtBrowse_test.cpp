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

class DaServerMgtBrowseTest : public ApiFixture {
protected:
    std::vector<std::string> browse(const char* itemName, BrowseFilter filter = BrowseFilter::ALL) {
        server.Browse(itemName, nullptr, point, most, filter, nullptr, false, false, elements, more);
        std::vector<std::string> names;
        for (const BrowseElement& element : elements.value()) names.push_back(toUtf8(element.Name().value()));
        return names;
    }

    NullableText point = "";
    std::int32_t most = 0;
    NullableArray<BrowseElement> elements;
    bool more = true;
    NullableArray<ItemProperties> found;
};

TEST_F(DaServerMgtBrowseTest, ElementsComeWithAllTheirFields) {
    connect();
    EXPECT_THAT(browse("Analog"), ElementsAre("Level", "Temperature"));
    EXPECT_EQ(elements[0].ItemName(), NullableText("Analog.Level"));
    EXPECT_EQ(elements[0].ItemPath(), NullableText(""));
    EXPECT_TRUE(elements[0].IsItem());
    EXPECT_TRUE(elements[0].HasChildren());
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

TEST_F(DaServerMgtBrowseTest, FiltersAndPointsPassAndAnUnknownFilterIsAll) {
    connect();
    EXPECT_THAT(browse("Analog.Level", BrowseFilter::BRANCH), IsEmpty());
    EXPECT_THAT(browse("Analog.Level", BrowseFilter::ITEM), ElementsAre("High", "Low", "Units"));
    EXPECT_THAT(browse("Analog.Level", static_cast<BrowseFilter>(7)), ElementsAre("High", "Low", "Units"));
    EXPECT_TRUE(trace.has("  browseFilter = 0"));
    most = 2;
    EXPECT_THAT(browse("Analog.Level"), ElementsAre("High", "Low"));
    EXPECT_THAT(browse("Analog.Level"), ElementsAre("Units"));
    EXPECT_EQ(point, NullableText(""));
    point = "nonsense";
    EXPECT_EQ(opcCodeOf([&] { browse("Analog.Level"); }), hresult(0xC0040403u));
    EXPECT_EQ(point, NullableText("nonsense"));
}

TEST_F(DaServerMgtBrowseTest, PropertiesAreAllOrThoseThatWereAskedForAndTheirFailuresAreItemErrors) {
    connect();
    items = {item("Analog.Level"), item("No.Such.Item")};
    EXPECT_EQ(server.GetProperties(items, nullptr, true, false, found), ReturnCode::ITEMERROR);
    EXPECT_EQ(resultOf(0) + " " + resultOf(1), "S_OK OPC_E_UNKNOWNITEMID");
    EXPECT_EQ(found[0].RequestedItemProperties().size(), 11u);
    EXPECT_TRUE(found[0].RequestedItemProperties()[0].Value().isNull());
    EXPECT_THAT(found[1].RequestedItemProperties(), IsEmpty());

    items = {items[0]};
    EXPECT_EQ(server.GetProperties(items, {PropertyID::DATATYPE, PropertyID::HIGHEU}, false, true, found),
              ReturnCode::SUCCEEDED);
    const auto& chosen = found[0].RequestedItemProperties();
    ASSERT_EQ(chosen.size(), 2u);
    EXPECT_EQ(chosen[0].Value(), Object(Type::of<double>())) << "a type and not its number";
    EXPECT_EQ(chosen[0].DataType(), Type::of<std::int16_t>());
    EXPECT_EQ(chosen[0].Description(), NullableText("Item Canonical Data Type"));
    EXPECT_EQ(chosen[1].PropertyID(), PropertyID::HIGHEU);
    EXPECT_EQ(chosen[1].ItemName(), NullableText("Analog.Level.High"));

    EXPECT_EQ(server.Browse("Analog", nullptr, point, 0, BrowseFilter::ALL, {PropertyID::HIGHEU, 12345}, false, true,
                            elements, more),
              ReturnCode::ITEMERROR);
    EXPECT_EQ(elements[0].ItemProperties().RequestedItemProperties().at(0).Value(), Object(100.0));
    EXPECT_TRUE(trace.has("    ID[1] PropertyID = 12345"));
}

Object converted(std::int32_t id, const OpxOpc::OpxVariant& value) {
    OpxOpc::OpxItemProperty property;
    property.propertyId = id;
    property.value = value;
    return CopyItemProperties({property}, true).RequestedItemProperties().at(0).Value();
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
