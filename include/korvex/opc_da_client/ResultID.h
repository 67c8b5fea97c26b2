// What became of one item or of a call: a result code with its name and description.
#pragma once

#include <cstdint>

#include <korvex/export.h>
#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

// Immutable; may be used by any thread. The texts live as long as the library.
class KORVEX_OPC_API ResultID {
public:
    // `code` is an HRESULT: negative for a failure.
    explicit ResultID(std::int32_t code) noexcept;

    std::int32_t Code() const noexcept { return m_Code; }
    // The symbolic name, "OPC_E_BADRIGHTS". For a code that is not known "-unknown", or "unknown" if it
    // is a success.
    OpxStringView Name() const noexcept { return m_Name; }
    // A sentence for people to read; the name if there is none.
    OpxStringView Description() const noexcept { return m_Description; }
    bool Succeeded() const noexcept { return m_Code != -1 && m_Code >= 0; }

    // The description.
    OpxString ToString() const;

    // Compare the codes.
    friend bool operator==(const ResultID& a, const ResultID& b) noexcept { return a.m_Code == b.m_Code; }

    // The codes that have a name. Those of the operating system begin with WIN_; their `Name` does not.
    static const ResultID WIN_CONNECT_E_NOCONNECTION;
    static const ResultID WIN_CONNECT_E_ADVISELIMIT;
    static const ResultID OPC_E_INVALIDHANDLE;
    static const ResultID OPC_E_BADTYPE;
    static const ResultID OPC_E_PUBLIC;
    static const ResultID OPC_E_BADRIGHTS;
    static const ResultID OPC_E_UNKNOWNITEMID;
    static const ResultID OPC_E_INVALIDITEMID;
    static const ResultID OPC_E_INVALIDFILTER;
    static const ResultID OPC_E_UNKNOWNPATH;
    static const ResultID OPC_E_RANGE;
    static const ResultID OPC_E_DUPLICATENAME;
    static const ResultID OPC_S_UNSUPPORTEDRATE;
    static const ResultID OPC_S_CLAMP;
    static const ResultID OPC_S_INUSE;
    static const ResultID OPC_E_INVALIDCONFIGFILE;
    static const ResultID OPC_E_NOTFOUND;
    static const ResultID OPC_E_INVALID_PID;
    static const ResultID OPC_E_DEADBANDNOTSET;
    static const ResultID OPC_E_DEADBANDNOTSUPPORTED;
    static const ResultID OPC_E_NOBUFFERING;
    static const ResultID OPC_E_INVALIDCONTINUATIONPOINT;
    static const ResultID OPC_S_DATAQUEUEOVERFLOW;
    static const ResultID OPC_E_RATENOTSET;
    static const ResultID OPC_E_NOTSUPPORTED;
    static const ResultID WIN_DISP_E_TYPEMISMATCH;
    static const ResultID WIN_E_INVALIDARG;
    static const ResultID WIN_E_FAIL;
    static const ResultID WIN_RPC_S_SERVER_UNAVAILABLE;
    static const ResultID WIN_RPC_S_CALL_FAILED;
    static const ResultID WIN_S_OK;
    static const ResultID WIN_S_FALSE;

private:
    struct Named;

    constexpr ResultID(std::int32_t code, OpxStringView name, OpxStringView description) noexcept
        : m_Code(code), m_Name(name), m_Description(description) {}

    std::int32_t m_Code;
    OpxStringView m_Name;
    OpxStringView m_Description;
};

}  // namespace Korvex::OPC::OpcDaClient
