#include "core/DaServerComPrivate.h"

#include <utility>

#include <korvex/native/OpxCmnClient.h>

#include "com/Mutex.h"
#include "core/Addition.h"
#include "core/guarded.h"
#include "opc/apartment/ApartmentMode.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

constexpr std::uint32_t kMainUpdateRate = 2000;

}  // namespace

DaServerComPrivate::~DaServerComPrivate() {
    reset();
}

void DaServerComPrivate::reset() {
    teardownThreads_.clear();
    link.clear();
    subscriptions.clear();
    serverState = SERVERSTATUS_DISCONNECTED;
    clientHandle = 0;
    keepAliveTime = 0;
    reconnectAfterError = true;
    watchDog_.reset();
    callback.reset();
    askedLocale_.clear();
    localeId_.reset();
    loss_.reset();
    connecting_ = false;
    leftAlone_ = false;
    shutdownWhileConnecting_ = false;
    apartment_.reset();
}

// ---- Connecting ----------------------------------------------------------------------------------

HRESULT DaServerComPrivate::resolveUrl(const OpxString& text) {
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
    nodeName = url->host;
    return CLSIDFromString(url->clsidText.c_str(), &clsid);
}

HRESULT DaServerComPrivate::lookUpClsid(ServerUrl& url) const {
    OpxCmnClient client;
    return client.clsidFromProgId(url.host, url.progId, url.clsidText);
}

HRESULT DaServerComPrivate::openConnection(OpxServerConnectInfo& info, bool& localeChanged) {
    Attempt attempt;
    {
        const Korvex::ScopedLock guard(lock);
        connecting_ = true;
        attempt.client = callback;
    }
    askedLocale_ = info.localId;
    const HRESULT hr = openLink(attempt, [&](DaServerMgt& server) {
        const HRESULT settled = changeLocale(server, info.localId, localeChanged);
        if (failed(settled)) info.retryInitialConnect = false;
        return settled;
    });
    const Korvex::ScopedLock guard(lock);
    link = std::move(attempt.made);
    return hr;
}

HRESULT DaServerComPrivate::openLink(Attempt& attempt, const LocaleStep& localeStep) {
    ServerLink& made = attempt.made;
    made.mainItems = std::make_shared<MainItemCache>();
    made.server = std::make_shared<DaServerMgt>();
    if (!apartment_) apartment_ = std::make_unique<ApartmentShare>();
    HRESULT hr = made.server->connectOPCServer(nodeName, clsid);
    if (isDone(hr)) hr = localeStep(*made.server);
    if (!isDone(hr)) return hr;

    hr = addMainGroup(attempt);
    if (isDone(hr)) hr = made.server->connectCallback(attempt.watchDog ? attempt.watchDog : watchDog());
    if (!isDone(hr)) made.server->removeGroup(made.mainGroup.get());
    return hr;
}

// What a server once settled on is not asked for again, even if this attempt fails later.
HRESULT DaServerComPrivate::changeLocale(DaServerMgt& server, OpxString& locale, bool& changed) {
    if (locale.empty()) return S_OK;
    const OpxString asked = locale;
    const HRESULT hr = server.setLocalID(locale);
    if (failed(hr)) return hr;
    localeId_ = server.localeId();
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
    const Korvex::ScopedLock guard(lock);
    if (!watchDog_) watchDog_ = std::make_shared<WatchDog>(weak_from_this(), keepAliveTime);
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
        const Korvex::ScopedLock guard(lock);
        connecting_ = false;
        serverState = first;
    }
    if (!report(first)) LibT::lError("Error: DaServerCom::connect - Error at calling DataCallback::ServerStatusChange");
}

void DaServerComPrivate::startWatchDog() {
    if (std::exchange(shutdownWhileConnecting_, false)) markLost(SERVERSTATUS_SHUTDOWN);
    watchDog_->start();
}

void DaServerComPrivate::removeMainGroup() {
    link.server->removeGroup(link.mainGroup.get());
    link.mainGroup.reset();
}

void DaServerComPrivate::abandonConnection() {
    {
        const Korvex::ScopedLock guard(lock);
        connecting_ = false;
        shutdownWhileConnecting_ = false;
    }
    if (link.server) link.server->disconnectCallback();
    link.clear();
}

// ---- Disconnecting -------------------------------------------------------------------------------

bool DaServerComPrivate::end(bool& wasConnected) {
    const Korvex::ScopedLock guard(lock);
    if (serverState == SERVERSTATUS_DISCONNECTED) return false;
    wasConnected = serverState == SERVERSTATUS_CONNECTED;
    // Objects of a server may live in the watch-dog's apartment, which has to stand until they are gone.
    leftAlone_ = connecting_;
    if (watchDog_ && !ApartmentMode::isSingleThreaded()) watchDog_->requestStop();
    serverState = SERVERSTATUS_DISCONNECTED;
    lock.waitUntilQuiet();
    return true;
}

void DaServerComPrivate::closeConnection(bool wasConnected) {
    try {
        removeSubscriptions(wasConnected);
        if (wasConnected) removeMainGroup();
    } catch (...) {
        LibT::lError("Error: DaServerCom::disconnect - Error at releasing server interfaces");
    }
    const bool watchDogGoesLast = ApartmentMode::isSingleThreaded();
    if (!watchDogGoesLast) stopWatchDog();
    try {
        if (wasConnected) {
            link.server->disconnectCallback();
            link.server->disconnectOPCServer();
            LibT::eventInformation("Disconnected from OPC Server %ls on %ls", serverName, nodeName);
        } else if (link.server) {
            // Lost, and not given up by the watch-dog any more.
            const Korvex::ScopedLock guard(lock);
            startTearDown(false, link.server, {link.mainGroup});
        }
    } catch (...) {
        LibT::lError("Error: DaServerCom::disconnect - Error at releasing server interfaces");
    }
    if (watchDogGoesLast) {
        if (!isLeftAlone()) waitForTearDowns();
        stopWatchDog();
    }
    std::unique_ptr<ApartmentShare> ended;  // outlives the lock: ending an apartment may let calls in
    const Korvex::ScopedLock guard(lock);
    link.clear();
    if (!leftAlone_) ended.swap(apartment_);
}

void DaServerComPrivate::waitForTearDowns() {
    for (const auto& thread : teardownThreads_) thread->wait();
}

// One that is trying to reach a server is not waited for: it shares this record until it has ended.
void DaServerComPrivate::stopWatchDog() {
    std::shared_ptr<WatchDog> stopped;
    bool leftAlone;
    {
        const Korvex::ScopedLock guard(lock);
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
    const Korvex::ScopedLock guard(lock);
    return leftAlone_;
}

void DaServerComPrivate::removeSubscriptions(bool wasConnected) {
    auto removed = subscriptions.clear();
    for (auto& subscription : removed) {
        if (const auto group = subscription->takeGroup()) {
            if (wasConnected)
                link.server->removeGroup(group.get());
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
        const Korvex::ScopedLock guard(lock);
        relay.swap(callback);
    }
    if (relay) relay->silence();
}

// ---- Calls ---------------------------------------------------------------------------------------

bool DaServerComPrivate::admits(bool needsServer) const noexcept {
    if (serverState == SERVERSTATUS_CONNECTED) return true;
    return !needsServer && reconnectAfterError && serverState != SERVERSTATUS_DISCONNECTED;
}

std::uint32_t DaServerComPrivate::addSubscription(SubscriptionTable::Wrapper subscription, const ServerLink& madeOn) {
    // Without a group there is nothing to compare, and the call is waited for before groups are made.
    if (!madeOn.server) return subscriptions.add(std::move(subscription));
    const Korvex::ScopedLock guard(lock);
    if (serverState == SERVERSTATUS_DISCONNECTED) return 0;
    if (link.server != madeOn.server) {
        if (auto group = subscription->takeGroup()) tearDownGroup(std::move(group));
    }
    return subscriptions.add(std::move(subscription));
}

void DaServerComPrivate::tearDownGroup(std::shared_ptr<DaGroupMgt> group) {
    group->silence();
    const Korvex::ScopedLock guard(lock);
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
        const Korvex::ScopedLock guard(lock);
        to = callback;
        handle = clientHandle;
    }
    if (!to) return true;
    try {
        to->ServerStatusChange(handle, status);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace OpxOpc
