#include <korvex/opc_da_client/QualityID.h>

#include "values/QualityConverter.h"

namespace Korvex::OPC::OpcDaClient {

struct QualityID::Named {
    static constexpr QualityID of(std::int32_t code) noexcept {
        const OpxStringView name = QualityConverter::GetName(code & 0xFC);
        return QualityID(code, name, QualityConverter::GetDescription(name));
    }
};

QualityID::QualityID(std::int32_t code) noexcept : QualityID(Named::of(code)) {}

OpxString QualityID::ToString() const {
    return OpxString(QualityConverter::GetDescription(m_Name));
}

// Constants at compile time, so that static objects of an application may use them.
constinit const QualityID QualityID::OPC_QUALITY_BAD = Named::of(0x00);
constinit const QualityID QualityID::OPC_QUALITY_CONFIG_ERROR = Named::of(0x04);
constinit const QualityID QualityID::OPC_QUALITY_NOT_CONNECTED = Named::of(0x08);
constinit const QualityID QualityID::OPC_QUALITY_DEVICE_FAILURE = Named::of(0x0C);
constinit const QualityID QualityID::OPC_QUALITY_SENSOR_FAILURE = Named::of(0x10);
constinit const QualityID QualityID::OPC_QUALITY_LAST_KNOWN = Named::of(0x14);
constinit const QualityID QualityID::OPC_QUALITY_COMM_FAILURE = Named::of(0x18);
constinit const QualityID QualityID::OPC_QUALITY_OUT_OF_SERVICE = Named::of(0x1C);
constinit const QualityID QualityID::OPC_QUALITY_WAITING_FOR_INITIAL_DATA = Named::of(0x20);
constinit const QualityID QualityID::OPC_QUALITY_UNCERTAIN = Named::of(0x40);
constinit const QualityID QualityID::OPC_QUALITY_LAST_USABLE = Named::of(0x44);
constinit const QualityID QualityID::OPC_QUALITY_SENSOR_CAL = Named::of(0x50);
constinit const QualityID QualityID::OPC_QUALITY_EGU_EXCEEDED = Named::of(0x54);
constinit const QualityID QualityID::OPC_QUALITY_SUB_NORMAL = Named::of(0x58);
constinit const QualityID QualityID::OPC_QUALITY_GOOD = Named::of(0xC0);
constinit const QualityID QualityID::OPC_QUALITY_LOCAL_OVERRIDE = Named::of(0xD8);

}  // namespace Korvex::OPC::OpcDaClient
