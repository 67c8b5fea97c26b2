#include <korvex/opc_da_client/ResultID.h>

#include "values/HResultConverter.h"

namespace Korvex::OPC::OpcDaClient {

struct ResultID::Named {
    static constexpr ResultID of(HRESULT code) noexcept {
        const OpxStringView name = HResultConverter::GetName(code);
        return ResultID(code, name, HResultConverter::GetDescription(name));
    }
};

ResultID::ResultID(std::int32_t code) noexcept : ResultID(Named::of(code)) {}

OpxString ResultID::ToString() const {
    return OpxString(HResultConverter::GetDescription(m_Name));
}

// Constants at compile time, so that static objects of an application may use them.
constinit const ResultID ResultID::WIN_CONNECT_E_NOCONNECTION = Named::of(CONNECT_E_NOCONNECTION);
constinit const ResultID ResultID::WIN_CONNECT_E_ADVISELIMIT = Named::of(CONNECT_E_ADVISELIMIT);
constinit const ResultID ResultID::OPC_E_INVALIDHANDLE = Named::of(::OPC_E_INVALIDHANDLE);
constinit const ResultID ResultID::OPC_E_BADTYPE = Named::of(::OPC_E_BADTYPE);
constinit const ResultID ResultID::OPC_E_PUBLIC = Named::of(::OPC_E_PUBLIC);
constinit const ResultID ResultID::OPC_E_BADRIGHTS = Named::of(::OPC_E_BADRIGHTS);
constinit const ResultID ResultID::OPC_E_UNKNOWNITEMID = Named::of(::OPC_E_UNKNOWNITEMID);
constinit const ResultID ResultID::OPC_E_INVALIDITEMID = Named::of(::OPC_E_INVALIDITEMID);
constinit const ResultID ResultID::OPC_E_INVALIDFILTER = Named::of(::OPC_E_INVALIDFILTER);
constinit const ResultID ResultID::OPC_E_UNKNOWNPATH = Named::of(::OPC_E_UNKNOWNPATH);
constinit const ResultID ResultID::OPC_E_RANGE = Named::of(::OPC_E_RANGE);
constinit const ResultID ResultID::OPC_E_DUPLICATENAME = Named::of(::OPC_E_DUPLICATENAME);
constinit const ResultID ResultID::OPC_S_UNSUPPORTEDRATE = Named::of(::OPC_S_UNSUPPORTEDRATE);
constinit const ResultID ResultID::OPC_S_CLAMP = Named::of(::OPC_S_CLAMP);
constinit const ResultID ResultID::OPC_S_INUSE = Named::of(::OPC_S_INUSE);
constinit const ResultID ResultID::OPC_E_INVALIDCONFIGFILE = Named::of(::OPC_E_INVALIDCONFIGFILE);
constinit const ResultID ResultID::OPC_E_NOTFOUND = Named::of(::OPC_E_NOTFOUND);
constinit const ResultID ResultID::OPC_E_INVALID_PID = Named::of(::OPC_E_INVALID_PID);
constinit const ResultID ResultID::OPC_E_DEADBANDNOTSET = Named::of(::OPC_E_DEADBANDNOTSET);
constinit const ResultID ResultID::OPC_E_DEADBANDNOTSUPPORTED = Named::of(::OPC_E_DEADBANDNOTSUPPORTED);
constinit const ResultID ResultID::OPC_E_NOBUFFERING = Named::of(::OPC_E_NOBUFFERING);
constinit const ResultID ResultID::OPC_E_INVALIDCONTINUATIONPOINT = Named::of(::OPC_E_INVALIDCONTINUATIONPOINT);
constinit const ResultID ResultID::OPC_S_DATAQUEUEOVERFLOW = Named::of(::OPC_S_DATAQUEUEOVERFLOW);
constinit const ResultID ResultID::OPC_E_RATENOTSET = Named::of(::OPC_E_RATENOTSET);
constinit const ResultID ResultID::OPC_E_NOTSUPPORTED = Named::of(::OPC_E_NOTSUPPORTED);
constinit const ResultID ResultID::WIN_DISP_E_TYPEMISMATCH = Named::of(DISP_E_TYPEMISMATCH);
constinit const ResultID ResultID::WIN_E_INVALIDARG = Named::of(E_INVALIDARG);
constinit const ResultID ResultID::WIN_E_FAIL = Named::of(E_FAIL);
constinit const ResultID ResultID::WIN_RPC_S_SERVER_UNAVAILABLE = Named::of(kServerUnavailable);
constinit const ResultID ResultID::WIN_RPC_S_CALL_FAILED = Named::of(kCallFailed);
constinit const ResultID ResultID::WIN_S_OK = Named::of(S_OK);
constinit const ResultID ResultID::WIN_S_FALSE = Named::of(S_FALSE);

}  // namespace Korvex::OPC::OpcDaClient
