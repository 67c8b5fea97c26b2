// Names and descriptions of result codes.
#pragma once

#include <cstdint>

#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

class HResultConverter {
public:
    // The symbolic name of `code`. One that is not known is "unknown", or "-unknown" if it is a failure.
    static constexpr OpxStringView GetName(std::int32_t code) {
        for (const Name& entry : kNames) {
            if (static_cast<std::int32_t>(entry.code) == code) return entry.name;
        }
        return code < 0 ? OLESTR("-unknown") : OLESTR("unknown");
    }

    // The description that belongs to `name`; `name` itself if there is none.
    static constexpr OpxStringView GetDescription(OpxStringView name) {
        for (const Description& entry : kDescriptions) {
            if (entry.name == name) return entry.text;
        }
        return name;
    }

private:
    struct Name {
        std::uint32_t code;
        OpxStringView name;
    };
    struct Description {
        OpxStringView name;
        OpxStringView text;
    };

    // clang-format off
    // 0x80040154 has the name that OPC clients know it by, not COM's. 0xC004000D to 0xC004000F and
    // 0xC0040404 have none: these numbers belong to codes that are successes.
    static constexpr Name kNames[] = {
        {0x00000000u, OLESTR("S_OK")},
        {0x00000001u, OLESTR("S_FALSE")},
        {0x80020005u, OLESTR("DISP_E_TYPEMISMATCH")},
        {0x80070057u, OLESTR("E_INVALIDARG")},
        {0x80004005u, OLESTR("E_FAIL")},
        {0x800706BAu, OLESTR("RPC_S_SERVER_UNAVAILABLE")},
        {0x800706BEu, OLESTR("RPC_S_CALL_FAILED")},
        {0x80040200u, OLESTR("CONNECT_E_NOCONNECTION")},
        {0x80040201u, OLESTR("CONNECT_E_ADVISELIMIT")},
        {0x80040154u, OLESTR("OPC_E_CLASSNOTREGISTERED")},
        {0xC0040001u, OLESTR("OPC_E_INVALIDHANDLE")},
        {0xC0040004u, OLESTR("OPC_E_BADTYPE")},
        {0xC0040005u, OLESTR("OPC_E_PUBLIC")},
        {0xC0040006u, OLESTR("OPC_E_BADRIGHTS")},
        {0xC0040007u, OLESTR("OPC_E_UNKNOWNITEMID")},
        {0xC0040008u, OLESTR("OPC_E_INVALIDITEMID")},
        {0xC0040009u, OLESTR("OPC_E_INVALIDFILTER")},
        {0xC004000Au, OLESTR("OPC_E_UNKNOWNPATH")},
        {0xC004000Bu, OLESTR("OPC_E_RANGE")},
        {0xC004000Cu, OLESTR("OPC_E_DUPLICATENAME")},
        {0x0004000Du, OLESTR("OPC_S_UNSUPPORTEDRATE")},
        {0x0004000Eu, OLESTR("OPC_S_CLAMP")},
        {0x0004000Fu, OLESTR("OPC_S_INUSE")},
        {0xC0040010u, OLESTR("OPC_E_INVALIDCONFIGFILE")},
        {0xC0040011u, OLESTR("OPC_E_NOTFOUND")},
        {0xC0040203u, OLESTR("OPC_E_INVALID_PID")},
        {0xC0040400u, OLESTR("OPC_E_DEADBANDNOTSET")},
        {0xC0040401u, OLESTR("OPC_E_DEADBANDNOTSUPPORTED")},
        {0xC0040402u, OLESTR("OPC_E_NOBUFFERING")},
        {0xC0040403u, OLESTR("OPC_E_INVALIDCONTINUATIONPOINT")},
        {0x00040404u, OLESTR("OPC_S_DATAQUEUEOVERFLOW")},
        {0xC0040405u, OLESTR("OPC_E_RATENOTSET")},
        {0xC0040406u, OLESTR("OPC_E_NOTSUPPORTED")},
    };

    // Looked up by name; "E_UNKNOWNITEMID" is the name of no code.
    static constexpr Description kDescriptions[] = {
        {OLESTR("S_OK"), OLESTR("Operation succeeded.")},
        {OLESTR("S_FALSE"), OLESTR("The function was partially successful.")},
        {OLESTR("DISP_E_TYPEMISMATCH"), OLESTR("Type mismatch.")},
        {OLESTR("E_INVALIDARG"), OLESTR("An argument to the function was invalid.")},
        {OLESTR("E_FAIL"), OLESTR("Unspecified error.")},
        {OLESTR("RPC_S_SERVER_UNAVAILABLE"), OLESTR("The RPC server is unavailable.")},
        {OLESTR("RPC_S_CALL_FAILED"), OLESTR("The remote procedure call failed.")},
        {OLESTR("CONNECT_E_NOCONNECTION"), OLESTR("The client has not registered a callback through IConnectionPoint::Advise.")},
        {OLESTR("CONNECT_E_ADVISELIMIT"), OLESTR("Advise limit exceeded for this object.")},
        {OLESTR("OPC_E_INVALIDHANDLE"), OLESTR("The value of the handle is invalid.")},
        {OLESTR("OPC_E_BADTYPE"), OLESTR("The server cannot convert the data between the specified format and/or requested data type and the canonical data type.")},
        {OLESTR("OPC_E_PUBLIC"), OLESTR("The requested operation cannot be done on a public group.")},
        {OLESTR("OPC_E_BADRIGHTS"), OLESTR("The item's access rights do not allow the operation.")},
        {OLESTR("OPC_E_UNKNOWNITEMID"), OLESTR("The item ID is not defined in the server address space or no longer exists in the server address space.")},
        {OLESTR("E_UNKNOWNITEMID"), OLESTR("The ItemId was refused by the server.")},
        {OLESTR("OPC_E_INVALIDITEMID"), OLESTR("The item ID does not conform to the server's syntax.")},
        {OLESTR("OPC_E_INVALIDFILTER"), OLESTR("The filter string was not valid.")},
        {OLESTR("OPC_E_UNKNOWNPATH"), OLESTR("The item's access path is not known to the server.")},
        {OLESTR("OPC_E_RANGE"), OLESTR("The value was out of range.")},
        {OLESTR("OPC_E_DUPLICATENAME"), OLESTR("Duplicate name not allowed.")},
        {OLESTR("OPC_S_UNSUPPORTEDRATE"), OLESTR("The server does not support the requested data rate but will use the closest available rate.")},
        {OLESTR("OPC_S_CLAMP"), OLESTR("A value passed to write was accepted but the output was clamped.")},
        {OLESTR("OPC_S_INUSE"), OLESTR("The operation cannot be performed because the object is bering referenced.")},
        {OLESTR("OPC_E_INVALIDCONFIGFILE"), OLESTR("The server's configuration file is an invalid format.")},
        {OLESTR("OPC_E_NOTFOUND"), OLESTR("The requested object (e.g. a public group) was not found.")},
        {OLESTR("OPC_E_INVALID_PID"), OLESTR("The specified property ID is not valid for the item.")},
        {OLESTR("OPC_E_DEADBANDNOTSET"), OLESTR("The item deadband has not been set for this item.")},
        {OLESTR("OPC_E_DEADBANDNOTSUPPORTED"), OLESTR("The item does not support deadband.")},
        {OLESTR("OPC_E_NOBUFFERING"), OLESTR("The server does not support buffering of data items that are collected at a faster rate than the group update rate.")},
        {OLESTR("OPC_E_INVALIDCONTINUATIONPOINT"), OLESTR("The continuation point is not valid.")},
        {OLESTR("OPC_S_DATAQUEUEOVERFLOW"), OLESTR("Not every detected change has been returned since the server's buffer reached its limit and had to purge out the oldest data.")},
        {OLESTR("OPC_E_RATENOTSET"), OLESTR("There is no sampling rate set for the specified item.")},
        {OLESTR("OPC_E_NOTSUPPORTED"), OLESTR("The server does not support writing of quality and/or timestamp.")},
    };
    // clang-format on
};

}  // namespace Korvex::OPC::OpcDaClient
