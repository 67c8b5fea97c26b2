#include "core/DaServerComPrivate.h"

#include <exception>

#include <korvex/native/OpxCmnClient.h>

#include "core/guarded.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

constexpr std::uint32_t kMainUpdateRate = 2000;

}  // namespace

DaServerComPrivate::~DaServerComPrivate() {
    reset();
}

void DaServerComPrivate::reset() {
    mainItems.clear();
    serverState = SERVERSTATUS_DISCONNECTED;
    busyCount = 0;
    clientHandle = 0;
    callback = nullptr;
}

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

HRESULT DaServerComPrivate::openConnection(OpxServerConnectInfo& info, OpxDataCallback* receiver, bool& localeChanged) {
    serverMgt = std::make_unique<DaServerMgt>();
    HRESULT hr = serverMgt->connectOPCServer(nodeName, clsid);
    if (failed(hr) || hr == S_FALSE) return hr;
    hr = changeLocale(info, localeChanged);
    if (failed(hr)) return hr;
    return addMainGroup(receiver);
}

HRESULT DaServerComPrivate::changeLocale(OpxServerConnectInfo& info, bool& changed) {
    if (info.localId.empty()) return S_OK;
    const OpxString asked = info.localId;
    const HRESULT hr = serverMgt->setLocalID(info.localId);
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

HRESULT DaServerComPrivate::addMainGroup(OpxDataCallback* receiver) {
    mainGroup = std::make_unique<DaGroupMgt>(OLESTR("Main"), kMainUpdateRate, false, 0, 0.0f);
    HRESULT hr = serverMgt->addGroup(mainGroup.get());
    if (succeeded(hr) && hr != S_FALSE) hr = mainGroup->connectCallback(receiver);
    if (failed(hr) || hr == S_FALSE) serverMgt->removeGroup(mainGroup.get());
    return hr;
}

void DaServerComPrivate::abandonConnection() {
    mainGroup.reset();
    serverMgt.reset();
}

void DaServerComPrivate::closeConnection(bool wasConnected) {
    try {
        if (wasConnected) serverMgt->removeGroup(mainGroup.get());
        mainGroup.reset();
        if (wasConnected) {
            serverMgt->disconnectOPCServer();
            LibT::eventInformation("Disconnected from OPC Server %ls on %ls", serverName, nodeName);
        }
    } catch (...) {
        LibT::lError("Error: DaServerCom::disconnect - Error at releasing server interfaces");
    }
    abandonConnection();
}

HRESULT DaServerComPrivate::checkHandles(std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved) {
    MainItemCache::NewItems added;
    try {
        added = mainItems.resolve(items, resolved);
    } catch (const std::exception&) {
        LibT::lError("Error: DaServerComPrivate::checkHandles - Error at checking handles");
        return E_OUTOFMEMORY;
    }
    if (added.empty()) return resolved.anyFailed() ? S_FALSE : S_OK;

    std::vector<std::int32_t> errors;
    const HRESULT hr = guarded([&] { return mainGroup->addItems(added.items, errors, false); });
    if (failed(hr)) {
        mainItems.drop(added);
        return hr;
    }
    try {
        mainItems.accept(added, errors, items, resolved);
    } catch (const std::exception&) {
        LibT::lError(
            "Error: DaServerComPrivate::checkHandles - Error at processing OUT parameters of DaGroupMgt::addItems");
        mainItems.drop(added);
        return E_OUTOFMEMORY;
    }
    return resolved.anyFailed() ? S_FALSE : S_OK;
}

bool DaServerComPrivate::reportState() const noexcept {
    try {
        callback->ServerStatusChange(clientHandle, serverState);
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace OpxOpc
