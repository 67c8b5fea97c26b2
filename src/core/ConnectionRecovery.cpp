// What the watch-dog does with a connection: losing it and bringing it back.
#include <algorithm>
#include <utility>

#include "com/Mutex.h"
#include "core/DaServerComPrivate.h"
#include "core/guarded.h"
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

// What the client is told of a subscription's items without their server.
struct ItemReport {
    // False when the client did not take it.
    bool send(std::int32_t masterError) {
        if (!to) return true;
        const OpxDate now = OpxDate::now();
        for (OpxItemValue& value : values) value.timestamp = now;
        const auto count = static_cast<std::uint32_t>(clientHandles.size());
        return succeeded(guarded([&] {
            to->DataChange(group, S_FALSE, masterError, count, clientHandles, values, errors);
            return S_OK;
        }));
    }

    std::shared_ptr<CallbackRelay> to;
    std::uint32_t group = 0;
    std::vector<std::uint32_t> clientHandles;
    std::vector<OpxItemValue> values;
    std::vector<std::int32_t> errors;
};

}  // namespace

ServerStatus DaServerComPrivate::state() {
    const Korvex::ScopedLock guard(lock);
    return serverState;
}

bool DaServerComPrivate::reconnectsAfterError() {
    const Korvex::ScopedLock guard(lock);
    return reconnectAfterError;
}

HRESULT DaServerComPrivate::probe() {
    std::shared_ptr<DaServerMgt> server;
    {
        const Korvex::ScopedLock guard(lock);
        if (serverState < SERVERSTATUS_CONNECTED || !link.server) return E_FAIL;
        server = link.server;
    }
    return server->getStatus();
}

// ---- Losing the connection -----------------------------------------------------------------------

void DaServerComPrivate::markLost(ServerStatus why) {
    const bool failedProbe = why == SERVERSTATUS_WATCHDOG_ERROR;
    const Korvex::ScopedLock guard(lock);
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
    const Korvex::ScopedLock guard(lock);
    return std::exchange(loss_, std::nullopt);
}

HRESULT DaServerComPrivate::internalDisconnect(bool shutdown) {
    try {
        const Korvex::ScopedLock guard(lock);
        if (serverState == SERVERSTATUS_DISCONNECTED) return S_OK;
        LibT::eventWarning("Lost connection to OPC Server %ls on %ls", serverName, nodeName);
        if (!link.server) return S_OK;
        const auto all = subscriptions.all();
        TerminateOpcThread::Groups groups;
        groups.reserve(all.size() + 1);  // so that no group is taken and then lost
        for (const auto& subscription : all) groups.push_back(subscription->loseGroup());
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
        const Korvex::ScopedLock guard(lock);
        if (serverState == SERVERSTATUS_DISCONNECTED || !callback) return;
    }
    LibT::lIfCall("CALL DataCallback::ServerStatusChange");
    if (!report(why)) LibT::lError("Error: WatchDog::run - Error at calling DataCallback::ServerStatusChange");
    LibT::lIfCall("DONE DataCallback::ServerStatusChange");
}

void DaServerComPrivate::sendAllQualityBad() {
    for (const auto& subscription : subscriptions.all()) {
        ItemReport report;
        try {
            const Korvex::ScopedLock guard(lock);
            if (serverState == SERVERSTATUS_DISCONNECTED) return;
            if (subscription->isEnded()) continue;
            report.group = subscription->getQualityBadData(report.clientHandles, report.values, report.errors);
            report.to = callback;
        } catch (...) {
            LibT::lError("Error: DaServerComPrivate::sendAllQualityBad - Error at getQualityBadData");
            continue;
        }
        if (!report.send(S_OK)) {
            LibT::lError("Error: DaServerComPrivate::sendAllQualityBad - Error at calling DataCallback::DataChange");
        }
    }
}

// ---- Bringing it back ----------------------------------------------------------------------------

HRESULT DaServerComPrivate::internalConnect() {
    Attempt attempt;
    if (!beginReconnecting(attempt)) return E_FAIL;
    const HRESULT reached = guarded([&] { return reconnect(attempt); });
    stopReconnecting();
    if (failed(reached)) return reached;
    if (!report(SERVERSTATUS_CONNECTED)) LibT::lError("Error: DaServerComPrivate::internalConnect - Unexpected Error");
    const HRESULT hr = bringBackSubscriptions();
    if (attempt.askedToLeave) markLost(SERVERSTATUS_SHUTDOWN);
    return hr;
}

bool DaServerComPrivate::beginReconnecting(Attempt& attempt) {
    const Korvex::ScopedLock guard(lock);
    if (serverState == SERVERSTATUS_DISCONNECTED) return false;
    connecting_ = true;
    attempt.client = callback;
    attempt.watchDog = watchDog_;
    return true;
}

// Everything here is the attempt's own until a server is reached that is still wanted then.
HRESULT DaServerComPrivate::reconnect(Attempt& attempt) {
    try {
        const HRESULT hr = openLink(attempt, [this](DaServerMgt& server) { return recoverLocale(server); });
        if (!isDone(hr)) {
            attempt.made.clear();
            return failed(hr) ? hr : E_FAIL;
        }
        if (takeOver(attempt)) return S_OK;
        tearDownUnwanted(attempt);
        return E_FAIL;
    } catch (...) {
        LibT::lError("Error: DaServerComPrivate::internalConnect - Unexpected Error");
        attempt.made.clear();
        return E_FAIL;
    }
}

HRESULT DaServerComPrivate::recoverLocale(DaServerMgt& server) {
    if (localeId_) {
        server.keepLocaleId(*localeId_);
        return S_OK;
    }
    OpxString locale = askedLocale_;
    bool changed = false;
    changeLocale(server, locale, changed);
    return S_OK;
}

bool DaServerComPrivate::takeOver(Attempt& attempt) {
    const Korvex::ScopedLock guard(lock);
    if (serverState == SERVERSTATUS_DISCONNECTED) return false;
    LibT::eventInformation("Successfully reconnected to OPC Server %ls on %ls", serverName, nodeName);
    link = std::exchange(attempt.made, {});
    localeId_ = link.server->localeId();
    serverState = SERVERSTATUS_CONNECTED;
    loss_.reset();  // that of the server before
    connecting_ = false;
    attempt.askedToLeave = std::exchange(shutdownWhileConnecting_, false);
    return true;
}

// The connection was ended while the attempt was under way. The thread that ends it waits for none of this.
void DaServerComPrivate::tearDownUnwanted(Attempt& attempt) {
    ServerLink unwanted = std::exchange(attempt.made, {});
    unwanted.mainGroup->silence();
    unwanted.server->silence();
    unwanted.mainItems.reset();
    TerminateOpcThread thread(true, std::move(unwanted.server), {std::move(unwanted.mainGroup)});
    thread.start();
    thread.wait();
}

void DaServerComPrivate::stopReconnecting() {
    const Korvex::ScopedLock guard(lock);
    connecting_ = false;
    leftAlone_ = false;
    shutdownWhileConnecting_ = false;
}

HRESULT DaServerComPrivate::bringBackSubscriptions() {
    try {
        HRESULT hr;
        {
            const Korvex::ScopedLock guard(lock);
            // What calls did to the subscriptions while there was no server has to be complete.
            lock.waitUntilQuiet();
            hr = recoverSubscriptions();
        }
        reportRefusedItems();
        return hr;
    } catch (...) {
        LibT::lError("Error: DaServerComPrivate::internalConnect - Unexpected Error");
        return E_FAIL;
    }
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
        const auto unusable = subscription.takeGroup();
        if (unusable->wasCreated()) server->removeGroup(unusable.get());
        return hr;
    }
    return subscription.recoverGroup();
}

void DaServerComPrivate::reportRefusedItems() {
    for (const auto& subscription : subscriptions.all()) {
        ItemReport report;
        {
            const Korvex::ScopedLock guard(lock);
            if (serverState != SERVERSTATUS_CONNECTED) return;
            if (subscription->isEnded()) continue;
            report.group = subscription->takeRefusedItems(report.clientHandles, report.values, report.errors);
            report.to = callback;
        }
        if (!report.clientHandles.empty() && !report.send(S_FALSE)) {
            LibT::lError("Error: DaServerComPrivate::internalConnect - Error at calling DataCallback::DataChange");
        }
    }
}

void DaServerComPrivate::recoverIncompleteSubscriptions() {
    {
        const Korvex::ScopedLock guard(lock);
        if (serverState != SERVERSTATUS_CONNECTED) return;
        const auto all = subscriptions.all();
        if (std::all_of(all.begin(), all.end(), [](const auto& one) { return isComplete(*one); })) return;
        if (!lock.waitUntilQuiet(kQuietLimit)) return;
        recoverSubscriptions();
    }
    reportRefusedItems();
}

}  // namespace OpxOpc
