// Notices a lost connection and brings it back.
#pragma once

#include <cstdint>
#include <memory>

#include <korvex/native/OpxDataCallback.h>

#include "threads/Clock.h"
#include "threads/OpxThread.h"
#include "threads/WatchedConnection.h"

namespace OpxOpc {

// One thread a connection. It probes the server every period, and after a loss tries to reconnect:
// first after two periods, then after one more each time, up to ten; after a request to leave, the
// first time a minute after the last check. A connection that does not reconnect ends the thread.
//
// As the server's callback it takes the request to leave.
class WatchDog final : public OpxThread, public OpxDataCallback {
public:
    // `period` in milliseconds, at least 2000. Create its thread with a share of its own; while the thread
    // runs it keeps the connection alive.
    WatchDog(std::weak_ptr<WatchedConnection> connection, std::uint32_t period);
    ~WatchDog() override;

    void requestStop() { stop_.set(); }

    void DataChange(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const std::vector<std::uint32_t>&,
                    const std::vector<OpxItemValue>&, const std::vector<std::int32_t>&) override {}
    void ReadComplete(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const std::vector<std::uint32_t>&,
                      const std::vector<OpxItemValue>&, const std::vector<std::int32_t>&) override {}
    void WriteComplete(std::uint32_t, std::int32_t, std::uint32_t, const std::vector<std::uint32_t>&,
                       const std::vector<std::int32_t>&) override {}
    // The server asks its clients to leave, whatever the arguments.
    void ServerStatusChange(std::uint32_t, ServerStatus) override;

private:
    void run() override;
    void watch(WatchedConnection& connection);
    void waitForNextPass();
    void pass(WatchedConnection& connection);
    void handleLoss(WatchedConnection& connection, ServerStatus why);
    void check(WatchedConnection& connection);
    void tryReconnect(WatchedConnection& connection);

    const std::weak_ptr<WatchedConnection> connection_;
    Clock& clock_;
    StopFlag stop_;
    const std::int64_t period_;

    // The thread's own, in milliseconds.
    std::int64_t lastCheck_ = 0;
    std::int64_t reconnectInterval_ = 0;
    bool pumpsMessages_ = false;
};

}  // namespace OpxOpc
