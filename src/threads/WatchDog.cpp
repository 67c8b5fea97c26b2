#include "threads/WatchDog.h"

#include <algorithm>
#include <utility>

#include "opc/apartment/BackgroundApartment.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

constexpr std::int64_t kShortestPeriod = 2000;
constexpr std::int64_t kIntervalAfterShutdown = 60000;
constexpr std::int64_t kFirstRetryPeriods = 2;
constexpr std::int64_t kMostRetryPeriods = 10;
constexpr std::chrono::milliseconds kPassInterval{200};

}  // namespace

WatchDog::WatchDog(std::weak_ptr<WatchedConnection> connection, std::uint32_t period)
    : connection_(std::move(connection)),
      clock_(Clock::current()),
      period_(std::max<std::int64_t>(period, kShortestPeriod)) {
    LibT::lCtor("Ctor WatchDog");
}

WatchDog::~WatchDog() {
    requestStop();
    wait();
    LibT::lCtor("Dtor WatchDog");
}

void WatchDog::ServerStatusChange(std::uint32_t, ServerStatus) {
    if (const auto connection = connection_.lock()) connection->markLost(SERVERSTATUS_SHUTDOWN);
}

void WatchDog::run() {
    LibT::lInOut("--> WatchDog::run");
    {
        const BackgroundApartment apartment;
        // Its last owner perhaps, where what is being torn down may still need this thread's apartment.
        if (const auto connection = connection_.lock()) watch(*connection);
    }
    LibT::lInOut("<-- WatchDog::run");
}

void WatchDog::watch(WatchedConnection& connection) {
    lastCheck_ = clock_.now();
    reconnectInterval_ = kFirstRetryPeriods * period_;
    while (!stop_.isSet()) {
        try {
            waitForNextPass();
            if (!stop_.isSet()) pass(connection);
        } catch (...) {
            LibT::lError("Error: WatchDog::run - Error in watchdog function");
        }
    }
}

void WatchDog::waitForNextPass() {
    clock_.wait(kPassInterval, stop_, pumpsMessages_ ? Signal::messagesOfApartment() : Signal::Messages::Leave);
}

void WatchDog::pass(WatchedConnection& connection) {
    if (const auto why = connection.takeLoss()) return handleLoss(connection, *why);

    const ServerStatus state = connection.state();
    if (state == SERVERSTATUS_DISCONNECTED) return;
    const std::int64_t now = clock_.now();
    lastCheck_ = std::min(lastCheck_, now);  // the system's time may be set back
    const std::int64_t sinceCheck = now - lastCheck_;
    if (state == SERVERSTATUS_CONNECTED) {
        if (sinceCheck > period_) check(connection);
    } else if (sinceCheck > reconnectInterval_) {
        tryReconnect(connection);
    }
}

void WatchDog::handleLoss(WatchedConnection& connection, ServerStatus why) {
    // A subscription that could not be brought back may have changed it.
    reconnectInterval_ = why == SERVERSTATUS_SHUTDOWN ? kIntervalAfterShutdown : kFirstRetryPeriods * period_;
    connection.internalDisconnect(why == SERVERSTATUS_SHUTDOWN);
    connection.reportLoss(why);
    connection.sendAllQualityBad();
}

void WatchDog::check(WatchedConnection& connection) {
    lastCheck_ = clock_.now();
    if (failed(connection.probe()))
        connection.markLost(SERVERSTATUS_WATCHDOG_ERROR);
    else
        connection.recoverIncompleteSubscriptions();
}

void WatchDog::tryReconnect(WatchedConnection& connection) {
    lastCheck_ = clock_.now();
    if (!connection.reconnectsAfterError()) return requestStop();
    // From now on servers may have made objects in this thread's apartment.
    pumpsMessages_ = true;
    if (succeeded(connection.internalConnect()))
        reconnectInterval_ = kFirstRetryPeriods * period_;
    else
        reconnectInterval_ = std::min(reconnectInterval_ + period_, kMostRetryPeriods * period_);
}

}  // namespace OpxOpc
