// The result codes of OPC Data Access under the standard's names, and those of the network that decide something.
#pragma once

#include "com/com.h"

inline constexpr HRESULT OPC_E_INVALIDHANDLE = hresult(0xC0040001u);
inline constexpr HRESULT OPC_E_BADTYPE = hresult(0xC0040004u);
inline constexpr HRESULT OPC_E_PUBLIC = hresult(0xC0040005u);
inline constexpr HRESULT OPC_E_BADRIGHTS = hresult(0xC0040006u);
inline constexpr HRESULT OPC_E_UNKNOWNITEMID = hresult(0xC0040007u);
inline constexpr HRESULT OPC_E_INVALIDITEMID = hresult(0xC0040008u);
inline constexpr HRESULT OPC_E_INVALIDFILTER = hresult(0xC0040009u);
inline constexpr HRESULT OPC_E_UNKNOWNPATH = hresult(0xC004000Au);
inline constexpr HRESULT OPC_E_RANGE = hresult(0xC004000Bu);
inline constexpr HRESULT OPC_E_DUPLICATENAME = hresult(0xC004000Cu);
inline constexpr HRESULT OPC_S_UNSUPPORTEDRATE = hresult(0x0004000Du);
inline constexpr HRESULT OPC_S_CLAMP = hresult(0x0004000Eu);
inline constexpr HRESULT OPC_S_INUSE = hresult(0x0004000Fu);
inline constexpr HRESULT OPC_E_INVALIDCONFIGFILE = hresult(0xC0040010u);
inline constexpr HRESULT OPC_E_NOTFOUND = hresult(0xC0040011u);
inline constexpr HRESULT OPC_E_INVALID_PID = hresult(0xC0040203u);
inline constexpr HRESULT OPC_E_DEADBANDNOTSET = hresult(0xC0040400u);
inline constexpr HRESULT OPC_E_DEADBANDNOTSUPPORTED = hresult(0xC0040401u);
inline constexpr HRESULT OPC_E_NOBUFFERING = hresult(0xC0040402u);
inline constexpr HRESULT OPC_E_INVALIDCONTINUATIONPOINT = hresult(0xC0040403u);
inline constexpr HRESULT OPC_S_DATAQUEUEOVERFLOW = hresult(0x00040404u);
inline constexpr HRESULT OPC_E_RATENOTSET = hresult(0xC0040405u);
inline constexpr HRESULT OPC_E_NOTSUPPORTED = hresult(0xC0040406u);

// RPC_S_SERVER_UNAVAILABLE, RPC_S_CALL_FAILED and RPC_E_TIMEOUT as the results that calls have: the SDK's names of
// the first two are those of the bare numbers.
inline constexpr HRESULT kServerUnavailable = hresult(0x800706BAu);
inline constexpr HRESULT kCallFailed = hresult(0x800706BEu);
inline constexpr HRESULT kCallTimedOut = hresult(0x8001011Fu);
