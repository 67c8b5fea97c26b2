#include <korvex/opc_da_client/ResultID.h>

#include "values/HResultConverter.h"

namespace Korvex::OPC::OpcDaClient {

struct ResultID::Named {
    static constexpr ResultID of(std::uint32_t code) noexcept {
        const auto hr = static_cast<std::int32_t>(code);
        const OpxStringView name = HResultConverter::GetName(hr);
        return ResultID(hr, name, HResultConverter::GetDescription(name));
    }
};

ResultID::ResultID(std::int32_t code) noexcept : ResultID(Named::of(static_cast<std::uint32_t>(code))) {}

OpxString ResultID::ToString() const {
    return OpxString(HResultConverter::GetDescription(m_Name));
}

// Constants at compile time, so that static objects of an application may use them.
constinit const ResultID ResultID::WIN_CONNECT_E_NOCONNECTION = Named::of(0x80040200u);
constinit const ResultID ResultID::WIN_CONNECT_E_ADVISELIMIT = Named::of(0x80040201u);
constinit const ResultID ResultID::OPC_E_INVALIDHANDLE = Named::of(0xC0040001u);
constinit const ResultID ResultID::OPC_E_BADTYPE = Named::of(0xC0040004u);
constinit const ResultID ResultID::OPC_E_PUBLIC = Named::of(0xC0040005u);
constinit const ResultID ResultID::OPC_E_BADRIGHTS = Named::of(0xC0040006u);
constinit const ResultID ResultID::OPC_E_UNKNOWNITEMID = Named::of(0xC0040007u);
constinit const ResultID ResultID::OPC_E_INVALIDITEMID = Named::of(0xC0040008u);
constinit const ResultID ResultID::OPC_E_INVALIDFILTER = Named::of(0xC0040009u);
constinit const ResultID ResultID::OPC_E_UNKNOWNPATH = Named::of(0xC004000Au);
constinit const ResultID ResultID::OPC_E_RANGE = Named::of(0xC004000Bu);
constinit const ResultID ResultID::OPC_E_DUPLICATENAME = Named::of(0xC004000Cu);
constinit const ResultID ResultID::OPC_S_UNSUPPORTEDRATE = Named::of(0x0004000Du);
constinit const ResultID ResultID::OPC_S_CLAMP = Named::of(0x0004000Eu);
constinit const ResultID ResultID::OPC_S_INUSE = Named::of(0x0004000Fu);
constinit const ResultID ResultID::OPC_E_INVALIDCONFIGFILE = Named::of(0xC0040010u);
constinit const ResultID ResultID::OPC_E_NOTFOUND = Named::of(0xC0040011u);
constinit const ResultID ResultID::OPC_E_INVALID_PID = Named::of(0xC0040203u);
constinit const ResultID ResultID::OPC_E_DEADBANDNOTSET = Named::of(0xC0040400u);
constinit const ResultID ResultID::OPC_E_DEADBANDNOTSUPPORTED = Named::of(0xC0040401u);
constinit const ResultID ResultID::OPC_E_NOBUFFERING = Named::of(0xC0040402u);
constinit const ResultID ResultID::OPC_E_INVALIDCONTINUATIONPOINT = Named::of(0xC0040403u);
constinit const ResultID ResultID::OPC_S_DATAQUEUEOVERFLOW = Named::of(0x00040404u);
constinit const ResultID ResultID::OPC_E_RATENOTSET = Named::of(0xC0040405u);
constinit const ResultID ResultID::OPC_E_NOTSUPPORTED = Named::of(0xC0040406u);
constinit const ResultID ResultID::WIN_DISP_E_TYPEMISMATCH = Named::of(0x80020005u);
constinit const ResultID ResultID::WIN_E_INVALIDARG = Named::of(0x80070057u);
constinit const ResultID ResultID::WIN_E_FAIL = Named::of(0x80004005u);
constinit const ResultID ResultID::WIN_RPC_S_SERVER_UNAVAILABLE = Named::of(0x800706BAu);
constinit const ResultID ResultID::WIN_RPC_S_CALL_FAILED = Named::of(0x800706BEu);
constinit const ResultID ResultID::WIN_S_OK = Named::of(0x00000000u);
constinit const ResultID ResultID::WIN_S_FALSE = Named::of(0x00000001u);

}  // namespace Korvex::OPC::OpcDaClient
