#include "core/DaServerComPrivate.h"

#include <utility>

#include <korvex/native/OpxCmnClient.h>

#include "core/Addition.h"
#include "core/ItemReport.h"
#include "core/guarded.h"
#include "opc/apartment/ApartmentMode.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

using Korvex::ScopedLock;

constexpr std::uint32_t kMainUpdateRate = 2000;

// Connection events print a name of the server that nothing ever fills.
const OpxString kServerName;

}  // namespace

DaServerComPrivate::~DaServerComPrivate() {
    reset();
}

void DaServerComPrivate::reset() {
    // All that goes may wait or call the application, so it goes without the gate, in this order's reverse.
    std::unique_ptr<ApartmentShare> apartment;
    std::shared_ptr<CallbackRelay> callback;
    std::shared_ptr<WatchDog> watchDog;
    ServerLink link;
    std::vector<std::unique_ptr<TerminateOpcThread>> teardownThreads;
    {
        const ScopedLock guard(gate_);
        apartment.swap(apartment_);
        callback.swap(callback_);
        watchDog.swap(watchDog_);
        link = std::exchange(link_, {});
        teardownThreads.swap(teardownThreads_);
        state_ = SERVERSTATUS_DISCONNECTED;
        clientHandle_ = 0;
        keepAliveTime_ = 0;
        reconnectAfterError_ = true;
        askedLocale_.clear();
        localeId_.reset();
        loss_.reset();
        connecting_ = false;
        leftAlone_ = false;
        shutdownWhileConnecting_ = false;
    }
    teardownThreads.clear();
    link.clear();
    subscriptions_.clear();
}

// ---- Connecting ----------------------------------------------------------------------------------

bool DaServerComPrivate::isDisconnected() {
    const ScopedLock guard(gate_);
    return state_ == SERVERSTATUS_DISCONNECTED;
}

HRESULT DaServerComPrivate::prepare(ConnectRequest& request) {
    Address address;
    const HRESULT hr = guarded([&] { return resolveUrl(request.url, address); });
    const ScopedLock guard(gate_);
    address_ = std::move(address);
    if (failed(hr)) return hr;
    clientHandle_ = request.clientHandle;
    keepAliveTime_ = static_cast<std::uint32_t>(request.info.keepAliveTime);
    reconnectAfterError_ = request.info.reconnectAfterConnectionError;
    if (request.callback) callback_ = std::make_shared<CallbackRelay>(std::move(request.callback));
    return S_OK;
}

HRESULT DaServerComPrivate::resolveUrl(const OpxString& text, Address& address) {
    auto url = ServerUrl::parse(text);
    if (!url) {
        LibT::lError("Error DaServerCom::connect - Invalid URL '%ls' passed", text);
        return E_INVALIDARG;
    }
    if (!url->hasClsidPart) {
        LibT::lInfo("Performance warning DaServerCom::connect - No CLSID in passed URL '%ls'", text);
    }
    if (url->needsLookup()) {
        if (const HRESULT hr = lookUpClsid(*url); failed(hr)) return hr;
    }
    address.node = url->host;
    return CLSIDFromString(url->clsidText.c_str(), &address.clsid);
}

HRESULT DaServerComPrivate::lookUpClsid(ServerUrl& url) {
    OpxCmnClient client;
    return client.clsidFromProgId(url.host, url.progId, url.clsidText);
}

HRESULT DaServerComPrivate::openConnection(OpxServerConnectInfo& info, bool& localeChanged) {
    Attempt attempt;
    {
        const ScopedLock guard(gate_);
        connecting_ = true;
        attempt.client = callback_;
        askedLocale_ = info.localId;
    }
    const HRESULT hr = openLink(attempt, [&](DaServerMgt& server) {
        const HRESULT settled = changeLocale(server, info.localId, localeChanged);
        if (failed(settled)) info.retryInitialConnect = false;
        return settled;
    });
    const ScopedLock guard(gate_);
    link_ = std::move(attempt.made);
    return hr;
}

HRESULT DaServerComPrivate::openLink(Attempt& attempt, const LocaleStep& localeStep) {
    ServerLink& made = attempt.made;
    made.mainItems = std::make_shared<MainItemCache>();
    made.server = std::make_shared<DaServerMgt>();
    holdApartment();
    const Address where = address();
    HRESULT hr = made.server->connectOPCServer(where.node, where.clsid);
    if (isDone(hr)) hr = localeStep(*made.server);
    if (!isDone(hr)) return hr;

    hr = addMainGroup(attempt);
    if (isDone(hr)) hr = made.server->connectCallback(attempt.watchDog ? attempt.watchDog : watchDog());
    if (!isDone(hr)) made.server->removeGroup(made.mainGroup.get());
    return hr;
}

// One thread at a time reaches a server, so nobody else takes the share between the two looks.
void DaServerComPrivate::holdApartment() {
    {
        const ScopedLock guard(gate_);
        if (apartment_) return;
    }
    auto share = std::make_unique<ApartmentShare>();
    const ScopedLock guard(gate_);
    apartment_ = std::move(share);
}

DaServerComPrivate::Address DaServerComPrivate::address() {
    const ScopedLock guard(gate_);
    return address_;
}

// A locale that a server once settled on is not asked for again, even if this attempt fails later.
HRESULT DaServerComPrivate::changeLocale(DaServerMgt& server, OpxString& locale, bool& changed) {
    if (locale.empty()) return S_OK;
    const OpxString asked = locale;
    const HRESULT hr = server.setLocalID(locale);
    if (failed(hr)) return hr;
    {
        const ScopedLock guard(gate_);
        localeId_ = server.localeId();
    }
    if (hr == S_FALSE) {
        changed = true;
        LibT::lInfo("Changed LocalID from '%ls' to '%ls'", asked, locale);
    }
    return S_OK;
}

HRESULT DaServerComPrivate::addMainGroup(Attempt& attempt) {
    const auto group = std::make_shared<DaGroupMgt>(OLESTR("Main"), kMainUpdateRate, false, 0, 0.0f);
    attempt.made.mainGroup = group;
    const HRESULT hr = attempt.made.server->addGroup(group.get());
    return isDone(hr) ? group->connectCallback(attempt.client) : hr;
}

std::shared_ptr<WatchDog> DaServerComPrivate::watchDog() {
    const ScopedLock guard(gate_);
    if (!watchDog_) watchDog_ = std::make_shared<WatchDog>(weak_from_this(), keepAliveTime_);
    return watchDog_;
}

HRESULT DaServerComPrivate::createWatchDog() {
    const auto dog = watchDog();
    try {
        dog->create(dog);
        return S_OK;
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

void DaServerComPrivate::begin(ServerStatus first) {
    {
        const ScopedLock guard(gate_);
        connecting_ = false;
        state_ = first;
    }
    if (!report(first)) LibT::lError("Error: DaServerCom::connect - Error at calling DataCallback::ServerStatusChange");
}

void DaServerComPrivate::startWatchDog() {
    bool askedToLeave = false;
    {
        const ScopedLock guard(gate_);
        askedToLeave = std::exchange(shutdownWhileConnecting_, false);
    }
    if (askedToLeave) markLost(SERVERSTATUS_SHUTDOWN);
    watchDog()->start();
}

void DaServerComPrivate::removeMainGroup() {
    ServerLink link;
    {
        const ScopedLock guard(gate_);
        link.server = link_.server;
        link.mainGroup = std::move(link_.mainGroup);
    }
    link.server->removeGroup(link.mainGroup.get());
}

void DaServerComPrivate::abandonConnection() {
    std::shared_ptr<DaServerMgt> server;
    {
        const ScopedLock guard(gate_);
        connecting_ = false;
        shutdownWhileConnecting_ = false;
        server = link_.server;
    }
    if (server) server->disconnectCallback();
    ServerLink abandoned;
    {
        const ScopedLock guard(gate_);
        abandoned = std::exchange(link_, {});
    }
    server.reset();
    abandoned.clear();
}

// ---- Disconnecting -------------------------------------------------------------------------------

bool DaServerComPrivate::end(bool& wasConnected) {
    const ScopedLock guard(gate_);
    if (state_ == SERVERSTATUS_DISCONNECTED) return false;
    wasConnected = state_ == SERVERSTATUS_CONNECTED;
    // Objects of a server may live in the watch-dog's apartment, which has to stand until they are gone.
    leftAlone_ = connecting_;
    if (watchDog_ && !ApartmentMode::isSingleThreaded()) watchDog_->requestStop();
    state_ = SERVERSTATUS_DISCONNECTED;
    gate_.waitUntilQuiet();
    return true;
}

void DaServerComPrivate::closeConnection(bool wasConnected) {
    ServerLink link;
    {
        const ScopedLock guard(gate_);
        link = link_;
    }
    try {
        removeSubscriptions(wasConnected ? link.server.get() : nullptr);
        if (wasConnected) {
            link.mainGroup.reset();
            removeMainGroup();
        }
    } catch (...) {
        LibT::lError("Error: DaServerCom::disconnect - Error at releasing server interfaces");
    }
    const bool watchDogGoesLast = ApartmentMode::isSingleThreaded();
    if (!watchDogGoesLast) stopWatchDog();
    closeLink(link, wasConnected);
    if (watchDogGoesLast) {
        if (!isLeftAlone()) waitForTearDowns();
        stopWatchDog();
    }
    std::unique_ptr<ApartmentShare> ended;  // outlives the gate: ending an apartment may let calls in
    const ScopedLock guard(gate_);
    link_.clear();
    link.clear();
    if (!leftAlone_) ended.swap(apartment_);
}

void DaServerComPrivate::closeLink(const ServerLink& link, bool wasConnected) {
    try {
        if (wasConnected) {
            link.server->disconnectCallback();
            link.server->disconnectOPCServer();
            LibT::eventInformation("Disconnected from OPC Server %ls on %ls", kServerName, address().node);
        } else if (link.server) {
            // Lost, and not given up by the watch-dog any more.
            const ScopedLock guard(gate_);
            startTearDown(false, link.server, {link.mainGroup});
        }
    } catch (...) {
        LibT::lError("Error: DaServerCom::disconnect - Error at releasing server interfaces");
    }
}

void DaServerComPrivate::waitForTearDowns() {
    std::vector<TerminateOpcThread*> threads;  // which stay where they are until a reset
    {
        const ScopedLock guard(gate_);
        for (const auto& thread : teardownThreads_) threads.push_back(thread.get());
    }
    for (TerminateOpcThread* const thread : threads) thread->wait();
}

// One that is trying to reach a server is not waited for: it shares this record until it has ended.
void DaServerComPrivate::stopWatchDog() {
    std::shared_ptr<WatchDog> stopped;
    bool leftAlone;
    {
        const ScopedLock guard(gate_);
        stopped.swap(watchDog_);
        leftAlone = leftAlone_;
    }
    if (!stopped) return;
    stopped->requestStop();
    if (leftAlone) return;
    const Addition::AtThread here(stopped->id());
    stopped->wait();
}

bool DaServerComPrivate::isLeftAlone() {
    const ScopedLock guard(gate_);
    return leftAlone_;
}

// On a server that is lost, where none is given, the groups are only given up.
void DaServerComPrivate::removeSubscriptions(DaServerMgt* server) {
    auto removed = subscriptions_.clear();
    for (auto& subscription : removed) {
        if (const auto group = subscription->takeGroup()) {
            if (server)
                server->removeGroup(group.get());
            else
                tearDownGroup(group);
        }
        subscription.reset();
    }
}

void DaServerComPrivate::reportDisconnected() {
    if (!report(SERVERSTATUS_DISCONNECTED)) {
        LibT::lError("Error: DaServerCom::disconnect - Error at calling DataCallback::ServerStatusChange");
    }
    std::shared_ptr<CallbackRelay> relay;
    {
        const ScopedLock guard(gate_);
        relay.swap(callback_);
    }
    if (relay) relay->silence();
}

// ---- Calls ---------------------------------------------------------------------------------------

std::optional<DaServerComPrivate::Admission> DaServerComPrivate::enter(bool needsServer) {
    const ScopedLock guard(gate_);
    const bool waitsForServer = !needsServer && reconnectAfterError_ && state_ != SERVERSTATUS_DISCONNECTED;
    if (!isConnected() && !waitsForServer) return std::nullopt;
    gate_.enter();
    return Admission{isConnected(), reconnectAfterError_, isConnected() ? link_ : ServerLink(), callback_};
}

std::uint32_t DaServerComPrivate::addSubscription(SubscriptionTable::Wrapper subscription, const ServerLink& madeOn) {
    // Without a group there is nothing to compare, and the call is waited for before groups are made.
    if (!madeOn.server) return subscriptions_.add(std::move(subscription));
    const ScopedLock guard(gate_);
    if (state_ == SERVERSTATUS_DISCONNECTED) return 0;
    if (link_.server != madeOn.server) {
        if (auto group = subscription->takeGroup()) tearDownGroup(std::move(group));
    }
    return subscriptions_.add(std::move(subscription));
}

void DaServerComPrivate::tearDownGroup(std::shared_ptr<DaGroupMgt> group) {
    group->silence();
    const ScopedLock guard(gate_);
    startTearDown(false, nullptr, {std::move(group)});
}

void DaServerComPrivate::startTearDown(bool removeGroups, std::shared_ptr<DaServerMgt> server,
                                       TerminateOpcThread::Groups groups) {
    for (const auto& thread : teardownThreads_) {
        if (thread->isRunning()) continue;
        thread->reuse(removeGroups, std::move(server), std::move(groups));
        return thread->start();
    }
    teardownThreads_.push_back(
        std::make_unique<TerminateOpcThread>(removeGroups, std::move(server), std::move(groups)));
    teardownThreads_.back()->start();
}

bool DaServerComPrivate::report(ServerStatus status) noexcept {
    std::shared_ptr<CallbackRelay> to;
    std::uint32_t handle;
    {
        const ScopedLock guard(gate_);
        to = callback_;
        handle = clientHandle_;
    }
    if (!to) return true;
    try {
        to->ServerStatusChange(handle, status);
        return true;
    } catch (...) {
        return false;
    }
}

// ---- Losing the connection -----------------------------------------------------------------------

ServerStatus DaServerComPrivate::state() {
    const ScopedLock guard(gate_);
    return state_;
}

bool DaServerComPrivate::reconnectsAfterError() {
    const ScopedLock guard(gate_);
    return reconnectAfterError_;
}

HRESULT DaServerComPrivate::probe() {
    std::shared_ptr<DaServerMgt> server;
    {
        const ScopedLock guard(gate_);
        if (state_ < SERVERSTATUS_CONNECTED || !link_.server) return E_FAIL;
        server = link_.server;
    }
    return server->getStatus();
}

void DaServerComPrivate::markLost(ServerStatus why) {
    const bool failedProbe = why == SERVERSTATUS_WATCHDOG_ERROR;
    const ScopedLock guard(gate_);
    if (connecting_) {
        shutdownWhileConnecting_ = true;
        return;
    }
    if (failedProbe ? !isConnected() : state_ == SERVERSTATUS_DISCONNECTED) return;
    state_ = why;
    loss_ = why;
    if (failedProbe) LibT::lInOut("START WatchDog::run - Wait until all OPC calls are finished");
    gate_.waitUntilQuiet();
    if (failedProbe) LibT::lInOut("DONE  WatchDog::run - Wait until all OPC calls are finished");
}

std::optional<ServerStatus> DaServerComPrivate::takeLoss() {
    const ScopedLock guard(gate_);
    return std::exchange(loss_, std::nullopt);
}

HRESULT DaServerComPrivate::internalDisconnect(bool shutdown) {
    try {
        const ScopedLock guard(gate_);
        if (state_ == SERVERSTATUS_DISCONNECTED) return S_OK;
        LibT::eventWarning("Lost connection to OPC Server %ls on %ls", kServerName, address_.node);
        if (!link_.server) return S_OK;
        const auto all = subscriptions_.all();
        TerminateOpcThread::Groups groups;
        groups.reserve(all.size() + 1);  // so that no group is taken and then lost
        for (const auto& subscription : all) groups.push_back(subscription->loseGroup());
        groups.push_back(link_.mainGroup);
        for (const auto& group : groups) {
            if (group) group->silence();
        }
        link_.server->silence();
        auto server = link_.server;
        link_.clear();
        startTearDown(shutdown, std::move(server), std::move(groups));
    } catch (...) {
        LibT::lError("Error: DaServerComPrivate::internalDisconnect - Unexpected Error");
    }
    return S_OK;
}

void DaServerComPrivate::reportLoss(ServerStatus why) {
    {
        const ScopedLock guard(gate_);
        if (state_ == SERVERSTATUS_DISCONNECTED || !callback_) return;
    }
    LibT::lIfCall("CALL DataCallback::ServerStatusChange");
    if (!report(why)) LibT::lError("Error: WatchDog::run - Error at calling DataCallback::ServerStatusChange");
    LibT::lIfCall("DONE DataCallback::ServerStatusChange");
}

void DaServerComPrivate::sendAllQualityBad() {
    for (const auto& subscription : subscriptions_.all()) {
        ItemReport report;
        try {
            const ScopedLock guard(gate_);
            if (state_ == SERVERSTATUS_DISCONNECTED) return;
            if (subscription->isEnded()) continue;
            report.group = subscription->getQualityBadData(report.clientHandles, report.values, report.errors);
            report.to = callback_;
        } catch (...) {
            LibT::lError("Error: DaServerComPrivate::sendAllQualityBad - Error at getQualityBadData");
            continue;
        }
        if (!report.send(S_OK)) {
            LibT::lError("Error: DaServerComPrivate::sendAllQualityBad - Error at calling DataCallback::DataChange");
        }
    }
}

// ---- Reconnecting --------------------------------------------------------------------------------

bool DaServerComPrivate::beginReconnecting(Attempt& attempt) {
    const ScopedLock guard(gate_);
    if (state_ == SERVERSTATUS_DISCONNECTED) return false;
    connecting_ = true;
    attempt.client = callback_;
    attempt.watchDog = watchDog_;
    return true;
}

HRESULT DaServerComPrivate::reopenLink(Attempt& attempt) {
    return openLink(attempt, [this](DaServerMgt& server) { return recoverLocale(server); });
}

HRESULT DaServerComPrivate::recoverLocale(DaServerMgt& server) {
    std::optional<LCID> settled;
    OpxString locale;
    {
        const ScopedLock guard(gate_);
        settled = localeId_;
        locale = askedLocale_;
    }
    if (settled) {
        server.keepLocaleId(*settled);
        return S_OK;
    }
    bool changed = false;
    changeLocale(server, locale, changed);
    return S_OK;
}

bool DaServerComPrivate::takeOver(Attempt& attempt) {
    const ScopedLock guard(gate_);
    if (state_ == SERVERSTATUS_DISCONNECTED) return false;
    LibT::eventInformation("Successfully reconnected to OPC Server %ls on %ls", kServerName, address_.node);
    link_ = std::exchange(attempt.made, {});
    localeId_ = link_.server->localeId();
    state_ = SERVERSTATUS_CONNECTED;
    loss_.reset();  // that of the server before
    connecting_ = false;
    attempt.askedToLeave = std::exchange(shutdownWhileConnecting_, false);
    return true;
}

void DaServerComPrivate::stopReconnecting() {
    const ScopedLock guard(gate_);
    connecting_ = false;
    leftAlone_ = false;
    shutdownWhileConnecting_ = false;
}

}  // namespace OpxOpc
