// Names and descriptions of OPC qualities.
#pragma once

#include <cstdint>

#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

class QualityConverter {
public:
    // The symbolic name of a quality status, the limit and vendor bits of which are 0. One that is not
    // known is named by its upper-case hexadecimal digits: "48".
    static constexpr OpxStringView GetName(std::int32_t qualityBits) {
        for (const Name& entry : kNames) {
            if (entry.quality == qualityBits) return entry.name;
        }
        return hexadecimal(qualityBits);
    }

    // The description that belongs to `name`; `name` itself if there is none.
    static constexpr OpxStringView GetDescription(OpxStringView name) {
        if (name == OLESTR("OPC_QUALITY_BAD")) return OLESTR("The quality of the value is bad.");
        if (name == OLESTR("OPC_QUALITY_GOOD")) return OLESTR("The quality of the value is good.");
        return name;
    }

private:
    struct Name {
        std::int32_t quality;
        OpxStringView name;
    };

    // A status is one of 64 multiples of 4; the names are views into this text of all of them.
    static constexpr OpxStringView hexadecimal(std::int32_t qualityBits) {
        constexpr OpxStringView all = OLESTR("0004080C1014181C2024282C3034383C4044484C5054585C6064686C7074787C")
            OLESTR("8084888C9094989CA0A4A8ACB0B4B8BCC0C4C8CCD0D4D8DCE0E4E8ECF0F4F8FC");
        return all.substr(static_cast<std::size_t>(qualityBits & 0xFC) / 4 * 2, 2);
    }

    static constexpr Name kNames[] = {
        {0x00, OLESTR("OPC_QUALITY_BAD")},
        {0x04, OLESTR("OPC_QUALITY_CONFIG_ERROR")},
        {0x08, OLESTR("OPC_QUALITY_NOT_CONNECTED")},
        {0x0C, OLESTR("OPC_QUALITY_DEVICE_FAILURE")},
        {0x10, OLESTR("OPC_QUALITY_SENSOR_FAILURE")},
        {0x14, OLESTR("OPC_QUALITY_LAST_KNOWN")},
        {0x18, OLESTR("OPC_QUALITY_COMM_FAILURE")},
        {0x1C, OLESTR("OPC_QUALITY_OUT_OF_SERVICE")},
        {0x20, OLESTR("OPC_QUALITY_WAITING_FOR_INITIAL_DATA")},
        {0x40, OLESTR("OPC_QUALITY_UNCERTAIN")},
        {0x44, OLESTR("OPC_QUALITY_LAST_USABLE")},
        {0x50, OLESTR("OPC_QUALITY_SENSOR_CAL")},
        {0x54, OLESTR("OPC_QUALITY_EGU_EXCEEDED")},
        {0x58, OLESTR("OPC_QUALITY_SUB_NORMAL")},
        {0xC0, OLESTR("OPC_QUALITY_GOOD")},
        {0xD8, OLESTR("OPC_QUALITY_LOCAL_OVERRIDE")},
    };
};

}  // namespace Korvex::OPC::OpcDaClient
