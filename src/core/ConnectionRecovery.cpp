// What the watch-dog does with a connection: losing it and bringing it back.
#include <mutex>
#include <utility>

#include "core/DaServerComPrivate.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

// How long a subscription that could not be brought back waits for the calls in progress, before it
// is left to the next check: new calls stand still meanwhile.
constexpr std::chrono::milliseconds kQuietLimit{100};

// Whether there is nothing to bring back: one that is cancelled, or that the server failed to end, stays
// as it is.
bool isComplete(const DaGroupWrapper& subscription) {
    return subscription.isWhole() || subscription.isEnded();
}

}  // namespace

ServerStatus DaServerComPrivate::state() {
    const std::lock_guard guard(lock);
    return serverState;
}

bool DaServerComPrivate::reconnectsAfterError() {
    const std::lock_guard guard(lock);
    return reconnectAfterError;
}

HRESULT DaServerComPrivate::probe() {
    std::shared_ptr<DaServerMgt> server;
    {
        const std::lock_guard guard(lock);
        if (serverState < SERVERSTATUS_CONNECTED || !link.server) return E_FAIL;
        server = link.server;
    }
    return server->getStatus();
}

// ---- Losing the connection -----------------------------------------------------------------------

void DaServerComPrivate::markLost(ServerStatus why) {
    const bool failedProbe = why == SERVERSTATUS_WATCHDOG_ERROR;
    const std::lock_guard guard(lock);
    if (connecting_) {
        shutdownWhileConnecting_ = true;
        return;
    }
    if (failedProbe ? serverState != SERVERSTATUS_CONNECTED : serverState == SERVERSTATUS_DISCONNECTED) return;
    serverState = why;
    loss_ = why;
    if (failedProbe) LibT::lInOut("START WatchDog::run - Wait until all OPC calls are finished");
    lock.waitUntilQuiet();
    if (failedProbe) LibT::lInOut("DONE  WatchDog::run - Wait until all OPC calls are finished");
}

std::optional<ServerStatus> DaServerComPrivate::takeLoss() {
    const std::lock_guard guard(lock);
    return std::exchange(loss_, std::nullopt);
}

HRESULT DaServerComPrivate::internalDisconnect(bool shutdown) {
    try {
        const std::lock_guard guard(lock);
        if (serverState == SERVERSTATUS_DISCONNECTED) return S_OK;
        LibT::eventWarning("Lost connection to OPC Server %ls on %ls", serverName, nodeName);
        if (!link.server) return S_OK;
        const auto all = subscriptions.all();
        TerminateOpcThread::Groups groups;
        groups.reserve(all.size() + 1);  // so that no group is taken and then lost
        for (const auto& subscription : all) groups.push_back(subscription->takeGroup());
        groups.push_back(link.mainGroup);
        for (const auto& group : groups) {
            if (group) group->silence();
        }
        link.server->silence();
        auto server = link.server;
        link.clear();
        startTearDown(shutdown, std::move(server), std::move(groups));
    } catch (...) {
        LibT::lError("Error: DaServerComPrivate::internalDisconnect - Unexpected Error");
    }
    return S_OK;
}

void DaServerComPrivate::reportLoss(ServerStatus why) {
    {
        const std::lock_guard guard(lock);
        if (serverState == SERVERSTATUS_DISCONNECTED || !callback) return;
    }
    LibT::lIfCall("CALL DataCallback::ServerStatusChange");
    if (!report(why)) LibT::lError("Error: WatchDog::run - Error at calling DataCallback::ServerStatusChange");
    LibT::lIfCall("DONE DataCallback::ServerStatusChange");
}

void DaServerComPrivate::sendAllQualityBad() {
    for (const auto& subscription : subscriptions.all()) {
        std::vector<std::uint32_t> clientHandles;
        std::vector<OpxItemValue> values;
        std::vector<std::int32_t> errors;
        std::uint32_t group = 0;
        std::shared_ptr<CallbackRelay> to;
        try {
            const std::lock_guard guard(lock);
            if (serverState == SERVERSTATUS_DISCONNECTED) return;
            if (subscription->isEnded()) continue;
            group = subscription->getQualityBadData(clientHandles, values, errors);
            to = callback;
        } catch (...) {
            LibT::lError("Error: DaServerComPrivate::sendAllQualityBad - Error at getQualityBadData");
            continue;
        }
        if (!to) continue;
        const OpxDate now = OpxDate::now();
        for (OpxItemValue& value : values) value.timestamp = now;
        try {
            to->DataChange(group, S_FALSE, S_OK, static_cast<std::uint32_t>(clientHandles.size()), clientHandles,
                           values, errors);
        } catch (...) {
            LibT::lError("Error: DaServerComPrivate::sendAllQualityBad - Error at calling DataCallback::DataChange");
        }
    }
}

// ---- Bringing it back ----------------------------------------------------------------------------

HRESULT DaServerComPrivate::internalConnect() {
    const std::lock_guard guard(lock);
    try {
        if (serverState == SERVERSTATUS_DISCONNECTED) return E_FAIL;
        return reconnect();
    } catch (...) {
        LibT::lError("Error: DaServerComPrivate::internalConnect - Unexpected Error");
        connecting_ = false;
        shutdownWhileConnecting_ = false;
        if (serverState != SERVERSTATUS_CONNECTED) link.clear();
        return E_FAIL;
    }
}

HRESULT DaServerComPrivate::reconnect() {
    connecting_ = true;
    HRESULT hr = openLink([this](DaServerMgt& server) {
        if (localeId_) server.keepLocaleId(*localeId_);
        return S_OK;
    });
    connecting_ = false;
    const bool shutdown = std::exchange(shutdownWhileConnecting_, false);
    if (failed(hr) || hr == S_FALSE) {
        link.clear();
        return failed(hr) ? hr : E_FAIL;
    }
    LibT::eventInformation("Successfully reconnected to OPC Server %ls on %ls", serverName, nodeName);
    serverState = SERVERSTATUS_CONNECTED;
    loss_.reset();  // that of the server before
    if (!report(SERVERSTATUS_CONNECTED)) LibT::lError("Error: DaServerComPrivate::internalConnect - Unexpected Error");

    // What calls did to the subscriptions while there was no server has to be complete.
    lock.waitUntilQuiet();
    hr = recoverSubscriptions();
    if (shutdown) markLost(SERVERSTATUS_SHUTDOWN);
    return hr;
}

// The client's handler, and whatever a wait lets in, may have ended the connection or lost it again.
HRESULT DaServerComPrivate::recoverSubscriptions() {
    HRESULT hr = S_OK;
    for (const auto& subscription : subscriptions.all()) {
        if (serverState != SERVERSTATUS_CONNECTED) break;
        hr = isComplete(*subscription) ? S_OK : recover(*subscription);
    }
    return hr;
}

HRESULT DaServerComPrivate::recover(DaGroupWrapper& subscription) {
    const auto server = link.server;
    if (const auto incomplete = subscription.takeGroup()) server->removeGroup(incomplete.get());
    HRESULT hr = subscription.createGroup();
    if (failed(hr)) return hr;
    hr = server->addGroup(subscription.group().get());
    if (failed(hr)) {
        subscription.takeGroup();
        return hr;
    }
    return subscription.recoverGroup();
}

void DaServerComPrivate::recoverIncompleteSubscriptions() {
    const std::lock_guard guard(lock);
    if (serverState != SERVERSTATUS_CONNECTED) return;
    bool allWhole = true;
    for (const auto& subscription : subscriptions.all()) {
        allWhole = allWhole && isComplete(*subscription);
    }
    if (!allWhole && lock.waitUntilQuiet(kQuietLimit)) recoverSubscriptions();
}

}  // namespace OpxOpc
