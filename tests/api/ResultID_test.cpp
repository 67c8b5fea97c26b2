#include <korvex/opc_da_client/ResultID.h>

#include <string>
#include <tuple>

#include <gtest/gtest.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

// "NAME: description" or "NAME" alone where there is no description of its own.
std::string texts(std::uint32_t code) {
    const ResultID result(static_cast<std::int32_t>(code));
    EXPECT_EQ(result.ToString(), OpxString(result.Description()));
    if (result.Name() == result.Description()) return toUtf8(result.Name());
    return toUtf8(result.Name()) + ": " + toUtf8(result.Description());
}

// Used before main: the predefined results are constants that need no initialisation.
const bool startedWithConstants = ResultID::WIN_E_FAIL.Name() == OLESTR("E_FAIL");

#define INSTANCE(name, code) \
    { &ResultID::name, #name, code }

TEST(ResultID, ThePredefinedResultsHaveTheirCodesAndNames) {
    const std::tuple<const ResultID*, std::string, std::uint32_t> table[] = {
        INSTANCE(WIN_CONNECT_E_NOCONNECTION, 0x80040200),
        INSTANCE(WIN_CONNECT_E_ADVISELIMIT, 0x80040201),
        INSTANCE(OPC_E_INVALIDHANDLE, 0xC0040001),
        INSTANCE(OPC_E_BADTYPE, 0xC0040004),
        INSTANCE(OPC_E_PUBLIC, 0xC0040005),
        INSTANCE(OPC_E_BADRIGHTS, 0xC0040006),
        INSTANCE(OPC_E_UNKNOWNITEMID, 0xC0040007),
        INSTANCE(OPC_E_INVALIDITEMID, 0xC0040008),
        INSTANCE(OPC_E_INVALIDFILTER, 0xC0040009),
        INSTANCE(OPC_E_UNKNOWNPATH, 0xC004000A),
        INSTANCE(OPC_E_RANGE, 0xC004000B),
        INSTANCE(OPC_E_DUPLICATENAME, 0xC004000C),
        INSTANCE(OPC_S_UNSUPPORTEDRATE, 0x0004000D),
        INSTANCE(OPC_S_CLAMP, 0x0004000E),
        INSTANCE(OPC_S_INUSE, 0x0004000F),
        INSTANCE(OPC_E_INVALIDCONFIGFILE, 0xC0040010),
        INSTANCE(OPC_E_NOTFOUND, 0xC0040011),
        INSTANCE(OPC_E_INVALID_PID, 0xC0040203),
        INSTANCE(OPC_E_DEADBANDNOTSET, 0xC0040400),
        INSTANCE(OPC_E_DEADBANDNOTSUPPORTED, 0xC0040401),
        INSTANCE(OPC_E_NOBUFFERING, 0xC0040402),
        INSTANCE(OPC_E_INVALIDCONTINUATIONPOINT, 0xC0040403),
        INSTANCE(OPC_S_DATAQUEUEOVERFLOW, 0x00040404),
        INSTANCE(OPC_E_RATENOTSET, 0xC0040405),
        INSTANCE(OPC_E_NOTSUPPORTED, 0xC0040406),
        INSTANCE(WIN_DISP_E_TYPEMISMATCH, 0x80020005),
        INSTANCE(WIN_E_INVALIDARG, 0x80070057),
        INSTANCE(WIN_E_FAIL, 0x80004005),
        INSTANCE(WIN_RPC_S_SERVER_UNAVAILABLE, 0x800706BA),
        INSTANCE(WIN_RPC_S_CALL_FAILED, 0x800706BE),
        INSTANCE(WIN_S_OK, 0x00000000),
        INSTANCE(WIN_S_FALSE, 0x00000001),
    };
    for (const auto& [result, instance, code] : table) {
        const std::string name = instance.starts_with("WIN_") ? instance.substr(4) : instance;
        EXPECT_EQ(static_cast<std::uint32_t>(result->Code()), code) << instance;
        EXPECT_EQ(toUtf8(result->Name()), name);
        EXPECT_NE(result->Description(), result->Name()) << instance << " has a description";
        EXPECT_EQ(result->Description().back(), OLESTR('.')) << instance;
        EXPECT_EQ(result->Succeeded(),
                  instance == "WIN_S_OK" || instance == "WIN_S_FALSE" || instance.starts_with("OPC_S_"))
            << instance;
        EXPECT_EQ(texts(code), name + ": " + toUtf8(result->Description())) << "made from the code";
    }
    EXPECT_TRUE(startedWithConstants);
}

TEST(ResultID, TextsThatApplicationsRelyOnStayAsTheyAre) {
    const std::pair<std::uint32_t, std::string> table[] = {
        {0, "S_OK: Operation succeeded."},
        {0x80004005, "E_FAIL: Unspecified error."},
        {0xC0040007,
         "OPC_E_UNKNOWNITEMID: The item ID is not defined in the server address space or no longer "
         "exists in the server address space."},
        {0x0004000F, "OPC_S_INUSE: The operation cannot be performed because the object is bering referenced."},
        {0x80040154, "OPC_E_CLASSNOTREGISTERED"},
        {0xC004000D, "-unknown"},
        {0xC004000E, "-unknown"},
        {0xC004000F, "-unknown"},
        {0xC0040404, "-unknown"},
        {0xFFFFFFFF, "-unknown"},
        {0x80000000, "-unknown"},
        {0x00040005, "unknown"},
        {2, "unknown"},
        {0x7FFFFFFF, "unknown"},
    };
    for (const auto& [code, expected] : table) {
        EXPECT_EQ(texts(code), expected);
        EXPECT_EQ(ResultID(static_cast<std::int32_t>(code)).Succeeded(), code < 0x80000000) << expected;
    }
}

TEST(ResultID, ComparesByCode) {
    EXPECT_EQ(ResultID(1), ResultID::WIN_S_FALSE);
    EXPECT_NE(ResultID(2), ResultID(3)) << "although both are called unknown";
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
