// How to connect and to keep the connection.
#pragma once

#include <cstdint>
#include <utility>

#include <korvex/opc_da_client/NullableText.h>

namespace Korvex::OPC::OpcDaClient {

/// A plain record: nothing is checked. Every field has a getter and a setter of the same name.
class ConnectInfo {
public:
    /// Locale "en", no retry of the first attempt, reconnecting after a loss, 10 s between two checks.
    ConnectInfo() : ConnectInfo("en", false, true, 10000) {}
    /// All fields at once.
    ConnectInfo(NullableText localID, bool retryInitialConnection, bool retryAfterConnectionError,
                std::int32_t keepAliveTime)
        : m_LocalId(std::move(localID)),
          m_RetryInitialConnection(retryInitialConnection),
          m_RetryAfterConnectionError(retryAfterConnectionError),
          m_KeepAliveTime(keepAliveTime) {}

    /// The locale to ask the server for; after connecting the one that it took, "" where it is another. There
    /// are six, in any case: "en" or "en-us", "en-gb", "de" or "de-de", "fr" or "fr-fr", "it" or "it-it", "es"
    /// or "es-es". It decides how numbers and dates in text are read and written. Without one that is the
    /// system's choice, which on Linux is en-US.
    const NullableText& LocalId() const noexcept { return m_LocalId; }
    /// Sets it.
    void LocalId(NullableText value) { m_LocalId = std::move(value); }

    /// A server that cannot be reached is tried again and again, instead of failing to connect. A ProgID is
    /// looked up once and not again: give a URL with the class identifier where the server may be away.
    bool RetryInitialConnection() const noexcept { return m_RetryInitialConnection; }
    /// Sets it.
    void RetryInitialConnection(bool value) noexcept { m_RetryInitialConnection = value; }

    /// A connection that is lost is made anew.
    bool RetryAfterConnectionError() const noexcept { return m_RetryAfterConnectionError; }
    /// Sets it.
    void RetryAfterConnectionError(bool value) noexcept { m_RetryAfterConnectionError = value; }

    /// Milliseconds between two probes of the server. A negative time is taken for an unsigned one of
    /// more than three weeks, so the server is as good as never probed.
    std::int32_t KeepAliveTime() const noexcept { return m_KeepAliveTime; }
    /// Sets it.
    void KeepAliveTime(std::int32_t value) noexcept { m_KeepAliveTime = value; }

private:
    NullableText m_LocalId;
    bool m_RetryInitialConnection;
    bool m_RetryAfterConnectionError;
    std::int32_t m_KeepAliveTime;
};

}  // namespace Korvex::OPC::OpcDaClient
