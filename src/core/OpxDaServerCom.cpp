#include "core/OpxDaServerCom.h"

#include <chrono>
#include <thread>

#include "core/CallFrame.h"
#include "core/DaServerComPrivate.h"
#include "core/guarded.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

constexpr std::chrono::milliseconds kBusyWait{50};

// The accepted items of a request, with the place of each in it.
struct ServerRequest {
    std::vector<std::size_t> positions;
    std::vector<std::uint32_t> handles;
    std::vector<Opx::VType> types;

    ServerRequest(const ResolvedItems& resolved, const std::vector<Opx::VType>& requestedTypes) {
        for (std::size_t i = 0; i < requestedTypes.size(); ++i) {
            if (!resolved.isValid(i)) continue;
            positions.push_back(i);
            handles.push_back(resolved.serverHandles[i]);
            types.push_back(requestedTypes[i]);
        }
    }
};

std::vector<Opx::VType> requestedTypes(const std::vector<OpxItemIdentifier>& items) {
    std::vector<Opx::VType> types;
    types.reserve(items.size());
    for (const OpxItemIdentifier& item : items) types.push_back(item.dataType);
    return types;
}

// The codes that the server gave to the items it was asked for, at their places in the request; empty
// when it gave none.
std::vector<std::int32_t> spread(const std::vector<std::int32_t>& errors, const ServerRequest& request,
                                 std::size_t count) {
    std::vector<std::int32_t> result;
    if (errors.empty()) return result;
    result.resize(count);
    for (std::size_t n = 0; n < request.positions.size() && n < errors.size(); ++n) {
        result[request.positions[n]] = errors[n];
    }
    return result;
}

void mergeErrors(const std::vector<std::int32_t>& refused, std::vector<std::int32_t>& errors) {
    if (errors.empty()) {
        errors = refused;
        return;
    }
    for (std::size_t i = 0; i < refused.size() && i < errors.size(); ++i) {
        if (refused[i] < 0) errors[i] = refused[i];
    }
}

HRESULT readResolved(DaGroupMgt& group, std::uint32_t maxAge, const ServerRequest& request,
                     std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) {
    std::vector<OpxItemValue> answered;
    std::vector<std::int32_t> codes;
    const HRESULT hr = group.read(maxAge, request.handles, request.types, answered, codes);
    if (failed(hr)) return hr;
    for (std::size_t n = 0; n < request.positions.size() && n < answered.size(); ++n) {
        values[request.positions[n]] = std::move(answered[n]);
    }
    errors = spread(codes, request, values.size());
    return hr;
}

HRESULT readItems(DaServerComPrivate& connection, std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items,
                  std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) {
    const std::vector<Opx::VType> types = requestedTypes(items);
    values.assign(items.size(), OpxItemValue());
    errors.clear();

    ResolvedItems resolved(items.size());
    const HRESULT checked = connection.checkHandles(items, resolved);
    if (failed(checked)) return checked;
    HRESULT hr = checked;
    if (resolved.anyValid) {
        hr = readResolved(*connection.mainGroup, maxAge, ServerRequest(resolved, types), values, errors);
        if (failed(hr)) return hr;
    }
    if (checked == S_FALSE) {
        mergeErrors(resolved.errors, errors);
        hr = S_FALSE;
    }
    return hr;
}

}  // namespace

OpxDaServerCom::OpxDaServerCom() {
    LibT::lCtor("Ctor DaServerCom");
    d_ = std::make_unique<DaServerComPrivate>();
}

OpxDaServerCom::~OpxDaServerCom() {
    LibT::lCtor("--> Dtor DaServerCom");
    if (d_->serverState != SERVERSTATUS_DISCONNECTED) disconnect();
    d_.reset();
    LibT::lCtor("<-- Dtor DaServerCom");
}

HRESULT OpxDaServerCom::connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                                OpxDataCallback* callback) {
    const TraceScope trace("DaServerCom::connect");
    {
        std::lock_guard guard(d_->lock);
        if (d_->serverState != SERVERSTATUS_DISCONNECTED) {
            return trace.refuse("[E_FAIL] - serverState not disconnected", E_FAIL);
        }
        d_->reset();
    }
    if (const HRESULT hr = guarded([&] { return d_->resolveUrl(url); }); failed(hr)) return trace.leave(hr);

    bool localeChanged = false;
    HRESULT hr = guarded([&] { return d_->openConnection(info, callback, localeChanged); });
    const bool retry = hr == S_FALSE || (failed(hr) && info.retryInitialConnect);
    if (failed(hr) && !retry) {
        d_->abandonConnection();
        return trace.leave(hr);
    }
    if (retry) {
        hr = S_FALSE;
        LibT::eventWarning("Connect failed to OPC Server %ls", url);
        LibT::eventInformation("Continue to try connect");
        d_->serverState = SERVERSTATUS_WATCHDOG_ERROR;
    } else {
        hr = S_OK;
        LibT::eventInformation("Successfully connected to OPC Server %ls", url);
        d_->serverState = SERVERSTATUS_CONNECTED;
    }
    d_->clientHandle = clientHandle;
    d_->callback = callback;
    if (!d_->reportState())
        LibT::lError("Error: DaServerCom::connect - Error at calling DataCallback::ServerStatusChange");
    if (retry) d_->abandonConnection();
    return trace.leave(localeChanged ? S_FALSE : hr);
}

HRESULT OpxDaServerCom::disconnect() {
    const TraceScope trace("DaServerCom::disconnect");
    bool wasConnected;
    {
        std::lock_guard guard(d_->lock);
        if (d_->serverState == SERVERSTATUS_DISCONNECTED) {
            return trace.refuse("[E_FAIL] - serverState disconnected", E_FAIL);
        }
        wasConnected = d_->serverState == SERVERSTATUS_CONNECTED;
        d_->serverState = SERVERSTATUS_DISCONNECTED;
        // New calls wait at the lock and are then refused; running ones give their count back without it.
        while (d_->busyCount != 0) std::this_thread::sleep_for(kBusyWait);
    }
    d_->closeConnection(wasConnected);
    if (!d_->reportState()) {
        LibT::lError("Error: DaServerCom::disconnect - Error at calling DataCallback::ServerStatusChange");
    }
    d_->callback = nullptr;
    LibT::lInOut("<-- DaServerCom::disconnect [hr=S_OK]");
    return S_OK;
}

HRESULT OpxDaServerCom::read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items,
                             std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) {
    CallFrame frame(*d_, "DaServerCom::read");
    if (!frame.entered()) return frame.refuseUnconnected();
    if (items.empty()) return frame.refuse("[E_INVALIDARG] - item list is empty", E_INVALIDARG);
    return frame.leave(guarded([&] { return readItems(*d_, maxAge, items, values, errors); }));
}

}  // namespace OpxOpc
