// Names and descriptions of result codes.
#pragma once

#include <cstdint>

#include <korvex/text.h>

#include "com/result_codes.h"

namespace Korvex::OPC::OpcDaClient {

class HResultConverter {
public:
    // The symbolic name of `code`. One that is not known is "unknown", or "-unknown" if it is a failure.
    static constexpr OpxStringView GetName(std::int32_t code) {
        for (const Row& row : kRows) {
            if (row.code == code) return row.name;
        }
        return code < 0 ? OLESTR("-unknown") : OLESTR("unknown");
    }

    // The description that belongs to `name`; `name` itself if there is none.
    static constexpr OpxStringView GetDescription(OpxStringView name) {
        for (const Row& row : kRows) {
            if (row.name == name && !row.description.empty()) return row.description;
        }
        return name == kNameOfNoCode ? OLESTR("The ItemId was refused by the server.") : name;
    }

private:
    struct Row {
        HRESULT code;
        OpxStringView name;
        OpxStringView description;
    };

    static constexpr OpxStringView kNameOfNoCode = OLESTR("E_UNKNOWNITEMID");

    // clang-format off
    // REGDB_E_CLASSNOTREG has the name that OPC clients know it by, not COM's. The three successes after
    // OPC_E_DUPLICATENAME and OPC_S_DATAQUEUEOVERFLOW have no names as failures.
    static constexpr Row kRows[] = {
        {S_OK, OLESTR("S_OK"), OLESTR("Operation succeeded.")},
        {S_FALSE, OLESTR("S_FALSE"), OLESTR("The function was partially successful.")},
        {DISP_E_TYPEMISMATCH, OLESTR("DISP_E_TYPEMISMATCH"), OLESTR("Type mismatch.")},
        {E_INVALIDARG, OLESTR("E_INVALIDARG"), OLESTR("An argument to the function was invalid.")},
        {E_FAIL, OLESTR("E_FAIL"), OLESTR("Unspecified error.")},
        {kServerUnavailable, OLESTR("RPC_S_SERVER_UNAVAILABLE"), OLESTR("The RPC server is unavailable.")},
        {kCallFailed, OLESTR("RPC_S_CALL_FAILED"), OLESTR("The remote procedure call failed.")},
        {CONNECT_E_NOCONNECTION, OLESTR("CONNECT_E_NOCONNECTION"), OLESTR("The client has not registered a callback through IConnectionPoint::Advise.")},
        {CONNECT_E_ADVISELIMIT, OLESTR("CONNECT_E_ADVISELIMIT"), OLESTR("Advise limit exceeded for this object.")},
        {REGDB_E_CLASSNOTREG, OLESTR("OPC_E_CLASSNOTREGISTERED"), {}},
        {OPC_E_INVALIDHANDLE, OLESTR("OPC_E_INVALIDHANDLE"), OLESTR("The value of the handle is invalid.")},
        {OPC_E_BADTYPE, OLESTR("OPC_E_BADTYPE"), OLESTR("The server cannot convert the data between the specified format and/or requested data type and the canonical data type.")},
        {OPC_E_PUBLIC, OLESTR("OPC_E_PUBLIC"), OLESTR("The requested operation cannot be done on a public group.")},
        {OPC_E_BADRIGHTS, OLESTR("OPC_E_BADRIGHTS"), OLESTR("The item's access rights do not allow the operation.")},
        {OPC_E_UNKNOWNITEMID, OLESTR("OPC_E_UNKNOWNITEMID"), OLESTR("The item ID is not defined in the server address space or no longer exists in the server address space.")},
        {OPC_E_INVALIDITEMID, OLESTR("OPC_E_INVALIDITEMID"), OLESTR("The item ID does not conform to the server's syntax.")},
        {OPC_E_INVALIDFILTER, OLESTR("OPC_E_INVALIDFILTER"), OLESTR("The filter string was not valid.")},
        {OPC_E_UNKNOWNPATH, OLESTR("OPC_E_UNKNOWNPATH"), OLESTR("The item's access path is not known to the server.")},
        {OPC_E_RANGE, OLESTR("OPC_E_RANGE"), OLESTR("The value was out of range.")},
        {OPC_E_DUPLICATENAME, OLESTR("OPC_E_DUPLICATENAME"), OLESTR("Duplicate name not allowed.")},
        {OPC_S_UNSUPPORTEDRATE, OLESTR("OPC_S_UNSUPPORTEDRATE"), OLESTR("The server does not support the requested data rate but will use the closest available rate.")},
        {OPC_S_CLAMP, OLESTR("OPC_S_CLAMP"), OLESTR("A value passed to write was accepted but the output was clamped.")},
        {OPC_S_INUSE, OLESTR("OPC_S_INUSE"), OLESTR("The operation cannot be performed because the object is bering referenced.")},
        {OPC_E_INVALIDCONFIGFILE, OLESTR("OPC_E_INVALIDCONFIGFILE"), OLESTR("The server's configuration file is an invalid format.")},
        {OPC_E_NOTFOUND, OLESTR("OPC_E_NOTFOUND"), OLESTR("The requested object (e.g. a public group) was not found.")},
        {OPC_E_INVALID_PID, OLESTR("OPC_E_INVALID_PID"), OLESTR("The specified property ID is not valid for the item.")},
        {OPC_E_DEADBANDNOTSET, OLESTR("OPC_E_DEADBANDNOTSET"), OLESTR("The item deadband has not been set for this item.")},
        {OPC_E_DEADBANDNOTSUPPORTED, OLESTR("OPC_E_DEADBANDNOTSUPPORTED"), OLESTR("The item does not support deadband.")},
        {OPC_E_NOBUFFERING, OLESTR("OPC_E_NOBUFFERING"), OLESTR("The server does not support buffering of data items that are collected at a faster rate than the group update rate.")},
        {OPC_E_INVALIDCONTINUATIONPOINT, OLESTR("OPC_E_INVALIDCONTINUATIONPOINT"), OLESTR("The continuation point is not valid.")},
        {OPC_S_DATAQUEUEOVERFLOW, OLESTR("OPC_S_DATAQUEUEOVERFLOW"), OLESTR("Not every detected change has been returned since the server's buffer reached its limit and had to purge out the oldest data.")},
        {OPC_E_RATENOTSET, OLESTR("OPC_E_RATENOTSET"), OLESTR("There is no sampling rate set for the specified item.")},
        {OPC_E_NOTSUPPORTED, OLESTR("OPC_E_NOTSUPPORTED"), OLESTR("The server does not support writing of quality and/or timestamp.")},
    };
    // clang-format on
};

}  // namespace Korvex::OPC::OpcDaClient
