#include <korvex/opc_da_client/QualityID.h>

#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/rows.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using Q = QualityID;

const Q* const kConstants[] = {&Q::OPC_QUALITY_BAD,
                               &Q::OPC_QUALITY_CONFIG_ERROR,
                               &Q::OPC_QUALITY_NOT_CONNECTED,
                               &Q::OPC_QUALITY_DEVICE_FAILURE,
                               &Q::OPC_QUALITY_SENSOR_FAILURE,
                               &Q::OPC_QUALITY_LAST_KNOWN,
                               &Q::OPC_QUALITY_COMM_FAILURE,
                               &Q::OPC_QUALITY_OUT_OF_SERVICE,
                               &Q::OPC_QUALITY_WAITING_FOR_INITIAL_DATA,
                               &Q::OPC_QUALITY_UNCERTAIN,
                               &Q::OPC_QUALITY_LAST_USABLE,
                               &Q::OPC_QUALITY_SENSOR_CAL,
                               &Q::OPC_QUALITY_EGU_EXCEEDED,
                               &Q::OPC_QUALITY_SUB_NORMAL,
                               &Q::OPC_QUALITY_GOOD,
                               &Q::OPC_QUALITY_LOCAL_OVERRIDE};

TEST(QualityID, EveryStatusHasItsNameWhateverTheOtherBits) {
    std::map<std::int32_t, std::string> named;
    for (const auto& row : Testing::rowsOf("api/qualities.txt", 2)) {
        const std::int32_t status = std::stoi(row[0], nullptr, 16);
        ASSERT_LT(named.size(), std::size(kConstants));
        EXPECT_EQ(kConstants[named.size()]->FullCode(), status) << row[1];
        named[status] = row[1];
    }
    EXPECT_EQ(named.size(), std::size(kConstants));
    for (std::int32_t status = 0; status <= 0xFC; status += 4) {
        const auto found = named.find(status);
        std::ostringstream number;
        number << std::uppercase << std::hex << status;
        const std::string name = found == named.end() ? number.str() : found->second;
        for (const std::int32_t other : {0, 3, 0x7F00, 0x7FFFFF01}) {
            const QualityID quality(status | other);
            EXPECT_EQ(toUtf8(quality.Name()), name);
            EXPECT_EQ(quality.IsGood(), status >= 0xC0) << name;
            if (status != 0x00 && status != 0xC0) {
                EXPECT_EQ(quality.Description(), quality.Name());
            }
        }
    }
    EXPECT_EQ(toUtf8(QualityID::OPC_QUALITY_BAD.ToString()), "The quality of the value is bad.");
    EXPECT_EQ(toUtf8(QualityID::OPC_QUALITY_GOOD.ToString()), "The quality of the value is good.");
}

TEST(QualityID, SplitsTheWord) {
    struct Case {
        std::int32_t code, quality, limit, vendor;
    };
    constexpr Case table[] = {
        {0xC2, 0xC0, 2, 0}, {0x1234, 0x34, 0, 0x12}, {0x80C3, 0xC0, 3, 0x80}, {0x7FFFFFFF, 0xFC, 3, 0x7FFFFF},
        {-1, 0xFC, 3, -1},  {-256, 0, 0, -1},
    };
    for (const Case& expected : table) {
        const QualityID quality(expected.code);
        EXPECT_EQ(quality.FullCode(), expected.code);
        EXPECT_EQ(quality.Quality(), expected.quality) << expected.code;
        EXPECT_EQ(quality.LimitBits(), expected.limit) << expected.code;
        EXPECT_EQ(quality.VendorBits(), expected.vendor) << expected.code;
    }
}

TEST(QualityID, ComparesByStatusAlone) {
    EXPECT_EQ(QualityID(0xC2), QualityID::OPC_QUALITY_GOOD);
    EXPECT_EQ(QualityID(0x12C0), QualityID::OPC_QUALITY_GOOD);
    EXPECT_NE(QualityID(0xD8), QualityID::OPC_QUALITY_GOOD);
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
