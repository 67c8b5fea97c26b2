// The connection as its watch-dog sees it.
#pragma once

#include <optional>

#include <korvex/native/OpxDataCallback.h>

#include "com/com.h"

namespace OpxOpc {

// The watch-dog calls all of these on its thread, `markLost` also on the server's. A connection that is
// being ended by its owner is in the state SERVERSTATUS_DISCONNECTED; everything but `state` then does
// nothing.
class WatchedConnection {
public:
    virtual ~WatchedConnection() = default;

    virtual ServerStatus state() = 0;
    virtual bool reconnectsAfterError() = 0;

    // Asks whether the server answers.
    virtual HRESULT probe() = 0;

    // Notes that the connection is lost and waits for the calls in progress: SERVERSTATUS_WATCHDOG_ERROR
    // if it was still thought to stand, or SERVERSTATUS_SHUTDOWN.
    virtual void markLost(ServerStatus why) = 0;
    // Answers once how the connection was lost.
    virtual std::optional<ServerStatus> takeLoss() = 0;

    // Gives the dead connection up, tells the client, and that its items have no good value any more.
    virtual HRESULT internalDisconnect(bool shutdown) = 0;
    virtual void reportLoss(ServerStatus why) = 0;
    virtual void sendAllQualityBad() = 0;

    // Connects again and brings the subscriptions back.
    virtual HRESULT internalConnect() = 0;
    // Brings those back that a reconnect had to leave out.
    virtual void recoverIncompleteSubscriptions() = 0;

protected:
    WatchedConnection() = default;
    WatchedConnection(const WatchedConnection&) = default;
    WatchedConnection& operator=(const WatchedConnection&) = default;
};

}  // namespace OpxOpc
