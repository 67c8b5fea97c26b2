#include <korvex/opc_da_client/ResultID.h>

#include <string>

#include <gtest/gtest.h>

#include "tests/support/rows.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using R = ResultID;

// Used before main: the predefined results are constants that need no initialisation.
const bool startedWithConstants = R::WIN_E_FAIL.Name() == OLESTR("E_FAIL");

const R* const kConstants[] = {&R::WIN_CONNECT_E_NOCONNECTION,
                               &R::WIN_CONNECT_E_ADVISELIMIT,
                               &R::OPC_E_INVALIDHANDLE,
                               &R::OPC_E_BADTYPE,
                               &R::OPC_E_PUBLIC,
                               &R::OPC_E_BADRIGHTS,
                               &R::OPC_E_UNKNOWNITEMID,
                               &R::OPC_E_INVALIDITEMID,
                               &R::OPC_E_INVALIDFILTER,
                               &R::OPC_E_UNKNOWNPATH,
                               &R::OPC_E_RANGE,
                               &R::OPC_E_DUPLICATENAME,
                               &R::OPC_S_UNSUPPORTEDRATE,
                               &R::OPC_S_CLAMP,
                               &R::OPC_S_INUSE,
                               &R::OPC_E_INVALIDCONFIGFILE,
                               &R::OPC_E_NOTFOUND,
                               &R::OPC_E_INVALID_PID,
                               &R::OPC_E_DEADBANDNOTSET,
                               &R::OPC_E_DEADBANDNOTSUPPORTED,
                               &R::OPC_E_NOBUFFERING,
                               &R::OPC_E_INVALIDCONTINUATIONPOINT,
                               &R::OPC_S_DATAQUEUEOVERFLOW,
                               &R::OPC_E_RATENOTSET,
                               &R::OPC_E_NOTSUPPORTED,
                               &R::WIN_DISP_E_TYPEMISMATCH,
                               &R::WIN_E_INVALIDARG,
                               &R::WIN_E_FAIL,
                               &R::WIN_RPC_S_SERVER_UNAVAILABLE,
                               &R::WIN_RPC_S_CALL_FAILED,
                               &R::WIN_S_OK,
                               &R::WIN_S_FALSE};

TEST(ResultID, EveryCodeHasItsNameAndDescription) {
    EXPECT_TRUE(startedWithConstants);
    const auto rows = Testing::rowsOf("api/results.txt", 3);
    ASSERT_GT(rows.size(), std::size(kConstants));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto code = static_cast<std::uint32_t>(std::stoul(rows[i][0], nullptr, 16));
        const ResultID made(static_cast<std::int32_t>(code));
        EXPECT_EQ(toUtf8(made.Name()), rows[i][1]);
        EXPECT_EQ(toUtf8(made.Description()), rows[i][2]);
        EXPECT_EQ(toUtf8(made.ToString()), rows[i][2]);
        EXPECT_EQ(made.Succeeded(), code < 0x80000000) << rows[i][0];
        if (i >= std::size(kConstants)) continue;
        EXPECT_EQ(*kConstants[i], made) << rows[i][1];
        EXPECT_EQ(kConstants[i]->Name(), made.Name());
        EXPECT_EQ(kConstants[i]->Description(), made.Description());
    }
}

TEST(ResultID, ComparesByCode) {
    EXPECT_EQ(ResultID(1), ResultID::WIN_S_FALSE);
    EXPECT_NE(ResultID(2), ResultID(3)) << "although both are called unknown";
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
