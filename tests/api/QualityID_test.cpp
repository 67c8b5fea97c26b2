#include <korvex/opc_da_client/QualityID.h>

#include <cstdio>
#include <map>
#include <string>

#include <gtest/gtest.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

#define INSTANCE(name, quality)     \
    {                               \
        quality, {                  \
            &QualityID::name, #name \
        }                           \
    }

TEST(QualityID, EveryStatusHasItsNameWhateverTheOtherBits) {
    const std::map<std::int32_t, std::pair<const QualityID*, std::string>> named = {
        INSTANCE(OPC_QUALITY_BAD, 0x00),
        INSTANCE(OPC_QUALITY_CONFIG_ERROR, 0x04),
        INSTANCE(OPC_QUALITY_NOT_CONNECTED, 0x08),
        INSTANCE(OPC_QUALITY_DEVICE_FAILURE, 0x0C),
        INSTANCE(OPC_QUALITY_SENSOR_FAILURE, 0x10),
        INSTANCE(OPC_QUALITY_LAST_KNOWN, 0x14),
        INSTANCE(OPC_QUALITY_COMM_FAILURE, 0x18),
        INSTANCE(OPC_QUALITY_OUT_OF_SERVICE, 0x1C),
        INSTANCE(OPC_QUALITY_WAITING_FOR_INITIAL_DATA, 0x20),
        INSTANCE(OPC_QUALITY_UNCERTAIN, 0x40),
        INSTANCE(OPC_QUALITY_LAST_USABLE, 0x44),
        INSTANCE(OPC_QUALITY_SENSOR_CAL, 0x50),
        INSTANCE(OPC_QUALITY_EGU_EXCEEDED, 0x54),
        INSTANCE(OPC_QUALITY_SUB_NORMAL, 0x58),
        INSTANCE(OPC_QUALITY_GOOD, 0xC0),
        INSTANCE(OPC_QUALITY_LOCAL_OVERRIDE, 0xD8),
    };
    for (std::int32_t status = 0; status <= 0xFC; status += 4) {
        char expected[64];
        std::snprintf(expected, sizeof expected, "%X", static_cast<unsigned>(status));
        std::string name = expected;
        if (const auto found = named.find(status); found != named.end()) {
            name = found->second.second;
            EXPECT_EQ(found->second.first->FullCode(), status) << name;
            EXPECT_EQ(*found->second.first, QualityID(status)) << name;
        }
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
