#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <korvex/opc_da_client/ConnectInfo.h>
#include <korvex/opc_da_client/Exceptions.h>
#include <korvex/opc_da_client/ItemIdentifier.h>
#include <korvex/opc_da_client/ItemResultCallback.h>
#include <korvex/opc_da_client/ItemValueCallback.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

TEST(Records, StartWithTheirDefaults) {
    const ConnectInfo info;
    EXPECT_EQ(info.LocalId(), NullableText("en"));
    EXPECT_FALSE(info.RetryInitialConnection());
    EXPECT_TRUE(info.RetryAfterConnectionError());
    EXPECT_EQ(info.KeepAliveTime(), 10000);

    const ItemIdentifier item;
    EXPECT_EQ(item.ItemName(), NullableText(""));
    EXPECT_EQ(item.ItemPath(), NullableText(""));
    EXPECT_EQ(item.ServerHandle(), 0);
    EXPECT_TRUE(item.DataType().isNull());
    EXPECT_EQ(item.ResultID(), ResultID::WIN_S_OK);

    const ItemValueCallback value;
    EXPECT_TRUE(value.Value().isNull());
    EXPECT_FALSE(value.Quality().has_value());
    EXPECT_EQ(value.TimeStamp(), DateTime());
    EXPECT_TRUE(value.ClientHandle().isNull());
    EXPECT_FALSE(value.ResultID().has_value());

    const ItemResultCallback result;
    EXPECT_TRUE(result.ClientHandle().isNull());
    EXPECT_FALSE(result.ResultID().has_value());
}

TEST(Records, KeepWhatTheyAreGivenUnchecked) {
    const ConnectInfo info(nullptr, true, false, -5);
    EXPECT_TRUE(info.LocalId().isNull());
    EXPECT_TRUE(info.RetryInitialConnection());
    EXPECT_FALSE(info.RetryAfterConnectionError());
    EXPECT_EQ(info.KeepAliveTime(), -5);

    EXPECT_TRUE(ItemIdentifier("Line1.Speed", "").ClientHandle().isNull());
    ItemIdentifier item(OLESTR("Line1.Speed"), nullptr, 42);
    EXPECT_EQ(item.ItemName(), NullableText("Line1.Speed"));
    EXPECT_TRUE(item.ItemPath().isNull());
    EXPECT_EQ(item.ClientHandle(), Object(42));
    item.ClientHandle("forty-two");
    item.DataType(Type::of<double>());
    item.ResultID(ResultID::OPC_E_BADRIGHTS);
    EXPECT_EQ(item.ClientHandle(), Object("forty-two"));
    EXPECT_EQ(item.DataType(), Type::of<double>());
    EXPECT_EQ(item.ResultID(), ResultID::OPC_E_BADRIGHTS);
}

TEST(Exceptions, SayWhatHappenedInBothForms) {
    const std::pair<std::shared_ptr<Exception>, std::string> table[] = {
        {std::make_shared<OPCException>(ResultID::WIN_E_FAIL), "Unspecified error."},
        {std::make_shared<OPCException>(ResultID::WIN_E_FAIL, OLESTR("The server is already connected.")),
         "Unspecified error. - The server is already connected."},
        {std::make_shared<OPCException>(ResultID(-1)), "-unknown"},
        {std::make_shared<ComException>(-2147221164), "The call failed with result 0x80040154."},
        {std::make_shared<ArgumentException>(OLESTR("\u00B0C?"), "unit"),
         "\xC2\xB0"
         "C?"},
    };
    for (const auto& [exception, expected] : table) {
        EXPECT_EQ(exception->what(), expected);
        EXPECT_EQ(toUtf8(exception->Message()), expected);
    }
}

TEST(Exceptions, CarryTheCode) {
    EXPECT_EQ(OPCException(ResultID::OPC_E_RANGE, "x").ResultID(), ResultID::OPC_E_RANGE);
    EXPECT_EQ(ComException(-2147221164).ErrorCode(), -2147221164);
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
