#include <korvex/opc_cmn/ServerIdentifier.h>

#include <gtest/gtest.h>

namespace Korvex::OPC::OpcCmn {
namespace {

constexpr const char* kClsid = "{11111111-2222-3333-4444-555555555555}";

TEST(ServerIdentifier, TakesAUrlApartAsFarAsItGoes) {
    const NullableText null;
    const struct {
        const char* url;
        NullableText host;
        NullableText progId;
        NullableText clsid;
        ServerCategory category;
    } rows[] = {
        {"opcda://host1/Vendor.Server.1/{1}", "host1", "Vendor.Server.1", "{1}", ServerCategory::OPCDA},
        {"opchda:///Vendor.Server.1/{1}", "", "Vendor.Server.1", "{1}", ServerCategory::OPCHDA},
        {"http://host/a/b/c", "host", "a", "b/c", ServerCategory::OPCXMLDA},
        {"OPCAE://host/a/b", "host", "a", "b", ServerCategory::OPCDA},
        {"host/a/b", "host", "a", "b", ServerCategory::OPCDA},
        {"opcae://host/a", "host", null, null, ServerCategory::OPCAE},
        {"Vendor.Server.1", null, null, null, ServerCategory::OPCDA},
        {"", null, null, null, ServerCategory::OPCDA},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url);
        const ServerIdentifier server{NullableText(row.url)};
        EXPECT_EQ(server.Url(), NullableText(row.url));
        EXPECT_EQ(server.HostName(), row.host);
        EXPECT_EQ(server.ProgID(), row.progId);
        EXPECT_EQ(server.CLSID(), row.clsid);
        EXPECT_EQ(server.Category(), row.category);
    }
}

TEST(ServerIdentifier, BuildsItsUrlFromItsParts) {
    const auto urlOf = [](const char* host, ServerCategory category) {
        return toUtf8(ServerIdentifier(host, "Vendor.Server.1", kClsid, category).Url().value());
    };
    const std::string rest = std::string("/Vendor.Server.1/") + kClsid;
    EXPECT_EQ(urlOf("", ServerCategory::OPCHDA), "opchda://" + rest);
    EXPECT_EQ(urlOf("host", ServerCategory::OPCXMLDA), "http://host" + rest);
    EXPECT_EQ(urlOf("host", static_cast<ServerCategory>(7)), "://host" + rest);
    EXPECT_EQ(urlOf("host", static_cast<ServerCategory>(-1)), "://host" + rest);
}

}  // namespace
}  // namespace Korvex::OPC::OpcCmn
