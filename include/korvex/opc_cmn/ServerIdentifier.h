// The names of an OPC server.
#pragma once

#include <utility>

#include <korvex/export.h>
#include <korvex/opc_cmn/ServerCategory.h>
#include <korvex/opc_da_client/NullableText.h>

namespace Korvex::OPC::OpcCmn {

using OpcDaClient::NullableText;

/// Every field has a getter and a setter of the same name; they do not change each other. Not safe to be
/// used by several threads.
class KORVEX_OPC_API ServerIdentifier {
public:
    /// Builds the URL. A category that is none gives one that begins with "://".
    ServerIdentifier(NullableText hostName, NullableText progID, NullableText clsid, ServerCategory category);

    /// Takes a URL apart: [scheme "://"] host "/" ProgID "/" CLSID. What is missing is null text; a scheme
    /// that is not known, or none, is OPCDA.
    explicit ServerIdentifier(NullableText url);

    /// "opcda://host/ProgID/{CLSID}", for DaServerMgt::Connect.
    const NullableText& Url() const noexcept { return m_Url; }
    /// Sets it.
    void Url(NullableText value) { m_Url = std::move(value); }

    /// Empty for this machine.
    const NullableText& HostName() const noexcept { return m_HostName; }
    /// Sets it.
    void HostName(NullableText value) { m_HostName = std::move(value); }

    /// The ProgID.
    const NullableText& ProgID() const noexcept { return m_ProgId; }
    /// Sets it.
    void ProgID(NullableText value) { m_ProgId = std::move(value); }

    /// With braces.
    const NullableText& CLSID() const noexcept { return m_Clsid; }
    /// Sets it.
    void CLSID(NullableText value) { m_Clsid = std::move(value); }

    /// The kind of server.
    ServerCategory Category() const noexcept { return m_Category; }
    /// Sets it.
    void Category(ServerCategory value) noexcept { m_Category = value; }

    /// Releases nothing: there is nothing but the object.
    void Dispose() noexcept {}

private:
    NullableText m_Url;
    NullableText m_HostName;
    NullableText m_ProgId;
    NullableText m_Clsid;
    ServerCategory m_Category = ServerCategory::OPCDA;
};

}  // namespace Korvex::OPC::OpcCmn
