#include "core/Reconnector.h"

#include <algorithm>
#include <utility>

#include "core/DaServerComPrivate.h"
#include "core/ItemReport.h"
#include "core/guarded.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

using Attempt = DaServerComPrivate::Attempt;

// How long a subscription that could not be brought back waits for the calls in progress, before it
// is left to the next check: new calls stand still meanwhile.
constexpr std::chrono::milliseconds kQuietLimit{100};

// Whether there is nothing to bring back: one that is cancelled, or that the server failed to end, stays
// as it is.
bool isComplete(const DaGroupWrapper& subscription) {
    return subscription.isWhole() || subscription.isEnded();
}

// The connection was ended while the attempt was under way. The thread that ends it waits for none of this.
void tearDownUnwanted(Attempt& attempt) {
    ServerLink unwanted = std::exchange(attempt.made, {});
    unwanted.mainGroup->silence();
    unwanted.server->silence();
    unwanted.mainItems.reset();
    TerminateOpcThread thread(true, std::move(unwanted.server), {std::move(unwanted.mainGroup)});
    thread.start();
    thread.wait();
}

// Everything here is the attempt's own until a server is reached that is still wanted then.
HRESULT reach(DaServerComPrivate& connection, Attempt& attempt) {
    try {
        const HRESULT hr = connection.reopenLink(attempt);
        if (!DaServerComPrivate::isDone(hr)) {
            attempt.made.clear();
            return failed(hr) ? hr : E_FAIL;
        }
        if (connection.takeOver(attempt)) return S_OK;
        tearDownUnwanted(attempt);
        return E_FAIL;
    } catch (...) {
        LibT::lError("Error: DaServerComPrivate::internalConnect - Unexpected Error");
        attempt.made.clear();
        return E_FAIL;
    }
}

HRESULT recover(DaGroupWrapper& subscription, DaServerMgt& server) {
    if (const auto incomplete = subscription.takeGroup()) server.removeGroup(incomplete.get());
    HRESULT hr = subscription.createGroup();
    if (failed(hr)) return hr;
    hr = server.addGroup(subscription.group().get());
    if (failed(hr)) {
        const auto unusable = subscription.takeGroup();
        if (unusable->wasCreated()) server.removeGroup(unusable.get());
        return hr;
    }
    return subscription.recoverGroup();
}

// The client's handler, and whatever a wait lets in, may have ended the connection or lost it again.
HRESULT recoverSubscriptions(DaServerComPrivate& connection) REQUIRES(connection.gate()) {
    HRESULT hr = S_OK;
    for (const auto& subscription : connection.subscriptions().all()) {
        if (!connection.isConnected()) break;
        const auto server = connection.link().server;
        hr = isComplete(*subscription) ? S_OK : recover(*subscription, *server);
    }
    return hr;
}

}  // namespace

HRESULT Reconnector::reconnect() {
    Attempt attempt;
    if (!connection_.beginReconnecting(attempt)) return E_FAIL;
    const HRESULT reached = guarded([&] { return reach(connection_, attempt); });
    connection_.stopReconnecting();
    if (failed(reached)) return reached;
    if (!connection_.report(SERVERSTATUS_CONNECTED)) {
        LibT::lError("Error: DaServerComPrivate::internalConnect - Unexpected Error");
    }
    const HRESULT hr = bringBackSubscriptions();
    if (attempt.askedToLeave) connection_.markLost(SERVERSTATUS_SHUTDOWN);
    return hr;
}

HRESULT Reconnector::bringBackSubscriptions() {
    try {
        HRESULT hr;
        {
            const Korvex::ScopedLock guard(connection_.gate());
            // Calls that began while there was no server have to complete their changes of the subscriptions.
            connection_.gate().waitUntilQuiet();
            hr = recoverSubscriptions(connection_);
        }
        reportRefusedItems();
        return hr;
    } catch (...) {
        LibT::lError("Error: DaServerComPrivate::internalConnect - Unexpected Error");
        return E_FAIL;
    }
}

void Reconnector::reportRefusedItems() {
    for (const auto& subscription : connection_.subscriptions().all()) {
        ItemReport report;
        {
            const Korvex::ScopedLock guard(connection_.gate());
            if (!connection_.isConnected()) return;
            if (subscription->isEnded()) continue;
            report.group = subscription->takeRefusedItems(report.clientHandles, report.values, report.errors);
            report.to = connection_.callback();
        }
        if (!report.clientHandles.empty() && !report.send(S_FALSE)) {
            LibT::lError("Error: DaServerComPrivate::internalConnect - Error at calling DataCallback::DataChange");
        }
    }
}

void Reconnector::recoverIncompleteSubscriptions() {
    {
        const Korvex::ScopedLock guard(connection_.gate());
        if (!connection_.isConnected()) return;
        const auto all = connection_.subscriptions().all();
        if (std::all_of(all.begin(), all.end(), [](const auto& one) { return isComplete(*one); })) return;
        if (!connection_.gate().waitUntilQuiet(kQuietLimit)) return;
        recoverSubscriptions(connection_);
    }
    reportRefusedItems();
}

}  // namespace OpxOpc
