// The result of an item or of a call: a code with its name and description.
#pragma once

#include <cstdint>

#include <korvex/export.h>
#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

/// Immutable; may be used by any thread. The texts live as long as the library.
class KORVEX_OPC_API ResultID {
public:
    /// `code` is an HRESULT: negative for a failure.
    explicit ResultID(std::int32_t code) noexcept;

    /// The HRESULT.
    std::int32_t Code() const noexcept { return m_Code; }
    /// The symbolic name, "OPC_E_BADRIGHTS". For a code that is not known "-unknown", or "unknown" if it
    /// is a success.
    OpxStringView Name() const noexcept { return m_Name; }
    /// A sentence for people to read; the name if there is none.
    OpxStringView Description() const noexcept { return m_Description; }
    /// Whether the code is a success; -1 is none.
    bool Succeeded() const noexcept { return m_Code != -1 && m_Code >= 0; }

    /// The description.
    OpxString ToString() const;

    /// Compare the codes.
    friend bool operator==(const ResultID& a, const ResultID& b) noexcept { return a.m_Code == b.m_Code; }

    /// The codes that have a name. Those of the operating system begin with WIN_; their `Name` does not.
    static const ResultID WIN_CONNECT_E_NOCONNECTION;      ///< 0x80040200
    static const ResultID WIN_CONNECT_E_ADVISELIMIT;       ///< 0x80040201
    static const ResultID OPC_E_INVALIDHANDLE;             ///< 0xC0040001
    static const ResultID OPC_E_BADTYPE;                   ///< 0xC0040004
    static const ResultID OPC_E_PUBLIC;                    ///< 0xC0040005
    static const ResultID OPC_E_BADRIGHTS;                 ///< 0xC0040006
    static const ResultID OPC_E_UNKNOWNITEMID;             ///< 0xC0040007
    static const ResultID OPC_E_INVALIDITEMID;             ///< 0xC0040008
    static const ResultID OPC_E_INVALIDFILTER;             ///< 0xC0040009
    static const ResultID OPC_E_UNKNOWNPATH;               ///< 0xC004000A
    static const ResultID OPC_E_RANGE;                     ///< 0xC004000B
    static const ResultID OPC_E_DUPLICATENAME;             ///< 0xC004000C
    static const ResultID OPC_S_UNSUPPORTEDRATE;           ///< 0x0004000D
    static const ResultID OPC_S_CLAMP;                     ///< 0x0004000E
    static const ResultID OPC_S_INUSE;                     ///< 0x0004000F
    static const ResultID OPC_E_INVALIDCONFIGFILE;         ///< 0xC0040010
    static const ResultID OPC_E_NOTFOUND;                  ///< 0xC0040011
    static const ResultID OPC_E_INVALID_PID;               ///< 0xC0040203
    static const ResultID OPC_E_DEADBANDNOTSET;            ///< 0xC0040400
    static const ResultID OPC_E_DEADBANDNOTSUPPORTED;      ///< 0xC0040401
    static const ResultID OPC_E_NOBUFFERING;               ///< 0xC0040402
    static const ResultID OPC_E_INVALIDCONTINUATIONPOINT;  ///< 0xC0040403
    static const ResultID OPC_S_DATAQUEUEOVERFLOW;         ///< 0x00040404
    static const ResultID OPC_E_RATENOTSET;                ///< 0xC0040405
    static const ResultID OPC_E_NOTSUPPORTED;              ///< 0xC0040406
    static const ResultID WIN_DISP_E_TYPEMISMATCH;         ///< 0x80020005
    static const ResultID WIN_E_INVALIDARG;                ///< 0x80070057
    static const ResultID WIN_E_FAIL;                      ///< 0x80004005
    static const ResultID WIN_RPC_S_SERVER_UNAVAILABLE;    ///< 0x800706BA
    static const ResultID WIN_RPC_S_CALL_FAILED;           ///< 0x800706BE
    static const ResultID WIN_S_OK;                        ///< 0x00000000
    static const ResultID WIN_S_FALSE;                     ///< 0x00000001

private:
    struct Named;

    constexpr ResultID(std::int32_t code, OpxStringView name, OpxStringView description) noexcept
        : m_Code(code), m_Name(name), m_Description(description) {}

    std::int32_t m_Code;
    OpxStringView m_Name;
    OpxStringView m_Description;
};

}  // namespace Korvex::OPC::OpcDaClient
