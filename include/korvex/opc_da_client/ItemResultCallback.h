// The result of writing an item, as events deliver it.
#pragma once

#include <optional>
#include <utility>

#include <korvex/opc_da_client/Object.h>
#include <korvex/opc_da_client/ResultID.h>

namespace Korvex::OPC::OpcDaClient {

/// The result of one item of an asynchronous write.
class ItemResultCallback {
public:
    /// The application's handle of the item.
    const Object& ClientHandle() const noexcept { return m_ClientHandle; }
    /// Sets it.
    void ClientHandle(Object value) { m_ClientHandle = std::move(value); }

    /// The server's result for this item; nothing in a record that no event has filled.
    const std::optional<OpcDaClient::ResultID>& ResultID() const noexcept { return m_ResultID; }
    /// Sets it.
    void ResultID(const std::optional<OpcDaClient::ResultID>& value) noexcept { m_ResultID = value; }

private:
    Object m_ClientHandle;
    std::optional<OpcDaClient::ResultID> m_ResultID;
};

}  // namespace Korvex::OPC::OpcDaClient
