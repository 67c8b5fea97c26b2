#include "core/DaServerComPrivate.h"

#include <mutex>
#include <utility>

#include <korvex/native/OpxCmnClient.h>

#include "core/guarded.h"
#include "opc/ApartmentMode.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

constexpr std::uint32_t kMainUpdateRate = 2000;

// A step that does not apply counts as one that failed.
bool isDone(HRESULT hr) {
    return succeeded(hr) && hr != S_FALSE;
}

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
    localeId_.reset();
    loss_.reset();
    connecting_ = false;
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
    {
        const std::lock_guard guard(lock);
        connecting_ = true;
    }
    const HRESULT hr = openLink([&](DaServerMgt& server) { return changeLocale(server, info, localeChanged); });
    if (isDone(hr)) localeId_ = link.server->localeId();
    return hr;
}

HRESULT DaServerComPrivate::openLink(const LocaleStep& settleLocale) {
    link.mainItems = std::make_shared<MainItemCache>();
    link.server = std::make_shared<DaServerMgt>();
    if (!apartment_) apartment_.emplace();
    HRESULT hr = link.server->connectOPCServer(nodeName, clsid);
    if (isDone(hr)) hr = settleLocale(*link.server);
    if (!isDone(hr)) return hr;

    hr = addMainGroup();
    if (isDone(hr)) {
        makeWatchDog();
        hr = link.server->connectCallback(watchDog_);
    }
    if (!isDone(hr)) link.server->removeGroup(link.mainGroup.get());
    return hr;
}

HRESULT DaServerComPrivate::changeLocale(DaServerMgt& server, OpxServerConnectInfo& info, bool& changed) {
    if (info.localId.empty()) return S_OK;
    const OpxString asked = info.localId;
    const HRESULT hr = server.setLocalID(info.localId);
    if (failed(hr)) {
        info.retryInitialConnect = false;
        return hr;
    }
    if (hr == S_FALSE) {
        changed = true;
        LibT::lInfo("Changed LocalID from '%ls' to '%ls'", asked, info.localId);
    }
    return S_OK;
}

HRESULT DaServerComPrivate::addMainGroup() {
    link.mainGroup = std::make_shared<DaGroupMgt>(OLESTR("Main"), kMainUpdateRate, false, 0, 0.0f);
    const HRESULT hr = link.server->addGroup(link.mainGroup.get());
    return isDone(hr) ? link.mainGroup->connectCallback(callback) : hr;
}

void DaServerComPrivate::makeWatchDog() {
    if (!watchDog_) watchDog_ = std::make_shared<WatchDog>(weak_from_this(), keepAliveTime);
}

void DaServerComPrivate::begin(ServerStatus first) {
    {
        const std::lock_guard guard(lock);
        connecting_ = false;
        serverState = first;
    }
    if (!report(first)) LibT::lError("Error: DaServerCom::connect - Error at calling DataCallback::ServerStatusChange");
}

void DaServerComPrivate::startWatchDog() {
    if (std::exchange(shutdownWhileConnecting_, false)) markLost(SERVERSTATUS_SHUTDOWN);
    const HRESULT hr = guarded([this] {
        watchDog_->create(watchDog_);
        watchDog_->start();
        return S_OK;
    });
    if (failed(hr)) LibT::lError("Error: DaServerCom::connect - Error at starting the watch-dog");
}

void DaServerComPrivate::abandonConnection() {
    {
        const std::lock_guard guard(lock);
        connecting_ = false;
        shutdownWhileConnecting_ = false;
    }
    if (link.server) link.server->disconnectCallback();
    link.clear();
}

// ---- Disconnecting -------------------------------------------------------------------------------

bool DaServerComPrivate::end(bool& wasConnected) {
    const std::lock_guard guard(lock);
    if (serverState == SERVERSTATUS_DISCONNECTED) return false;
    wasConnected = serverState == SERVERSTATUS_CONNECTED;
    // Objects of a server may live in the watch-dog's apartment, which has to stand until they are gone.
    if (watchDog_ && !ApartmentMode::isSingleThreaded()) watchDog_->requestStop();
    serverState = SERVERSTATUS_DISCONNECTED;
    lock.waitUntilQuiet();
    return true;
}

void DaServerComPrivate::closeConnection(bool wasConnected) {
    try {
        removeSubscriptions(wasConnected);
        if (wasConnected) {
            link.server->removeGroup(link.mainGroup.get());
            link.mainGroup.reset();
        }
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
            const std::lock_guard guard(lock);
            startTearDown(false, link.server, {link.mainGroup});
        }
    } catch (...) {
        LibT::lError("Error: DaServerCom::disconnect - Error at releasing server interfaces");
    }
    if (watchDogGoesLast) {
        for (const auto& thread : teardownThreads_) thread->wait();
        stopWatchDog();
    }
    {
        const std::lock_guard guard(lock);
        link.clear();
    }
    apartment_.reset();
}

void DaServerComPrivate::stopWatchDog() {
    if (!watchDog_) return;
    watchDog_->requestStop();
    watchDog_->wait();
    watchDog_.reset();
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
        const std::lock_guard guard(lock);
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
    const std::lock_guard guard(lock);
    if (serverState == SERVERSTATUS_DISCONNECTED) return 0;
    if (link.server != madeOn.server) {
        if (auto group = subscription->takeGroup()) tearDownGroup(std::move(group));
    }
    return subscriptions.add(std::move(subscription));
}

void DaServerComPrivate::tearDownGroup(std::shared_ptr<DaGroupMgt> group) {
    group->silence();
    const std::lock_guard guard(lock);
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
        const std::lock_guard guard(lock);
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
