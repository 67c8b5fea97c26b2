// The interface that an application of the native facade implements to be called back.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/export.h>
#include <korvex/native/OpxItemValue.h>

namespace OpxOpc {

/// State of a connection.
enum ServerStatus : std::int32_t {
    SERVERSTATUS_DISCONNECTED = 0,
    SERVERSTATUS_SHUTDOWN = 1,        ///< the server asked its clients to leave
    SERVERSTATUS_WATCHDOG_ERROR = 2,  ///< the server does not answer
    SERVERSTATUS_CONNECTED = 3,
};

/// The methods are called on COM's threads and the library's own, several at once. They must not
/// throw into COM; the library catches what a ServerStatusChange throws during disconnect.
///
/// An empty `errors` list means that every item's code is 0.
class KORVEX_OPC_API OpxDataCallback {
public:
    virtual ~OpxDataCallback() = default;

    /// Items of a subscription have changed: `count` of them, with the handles that the application gave them.
    virtual void DataChange(std::uint32_t clientSubscription, std::int32_t masterQuality, std::int32_t masterError,
                            std::uint32_t count, const std::vector<std::uint32_t>& clientHandles,
                            const std::vector<OpxItemValue>& values, const std::vector<std::int32_t>& errors) = 0;
    /// An asynchronous read has ended.
    virtual void ReadComplete(std::uint32_t transaction, std::int32_t masterQuality, std::int32_t masterError,
                              std::uint32_t count, const std::vector<std::uint32_t>& clientHandles,
                              const std::vector<OpxItemValue>& values, const std::vector<std::int32_t>& errors) = 0;
    /// An asynchronous write has ended.
    virtual void WriteComplete(std::uint32_t transaction, std::int32_t masterError, std::uint32_t count,
                               const std::vector<std::uint32_t>& clientHandles,
                               const std::vector<std::int32_t>& errors) = 0;
    /// The connection has changed its state; `clientHandle` is what connect was given.
    virtual void ServerStatusChange(std::uint32_t clientHandle, ServerStatus status) = 0;
};

}  // namespace OpxOpc
