#include <korvex/opc_da_client/DaServerMgt.h>

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

#include <korvex/native/OpxDaServer.h>

#include "api/ArgumentChecks.h"
#include "api/CallbackWrapper.h"
#include "api/HandleHResult.h"
#include "api/HandlerList.h"
#include "api/ItemConversion.h"
#include "trace/InterfaceScope.h"
#include "trace/TraceConfiguration.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;
using OpxOpc::LibT;
using OpxOpc::OpxDaServer;
using OpxOpc::OpxServerConnectInfo;

struct DaServerMgt::Private {
    // The native side. It is shared with the calls in progress, so that disposing cannot free it under
    // them; the client goes first.
    struct Native {
        CallbackWrapper callback;
        OpxDaServer client;
    };

    // Throws once the object is disposed.
    std::shared_ptr<Native> native() const {
        const std::lock_guard guard(lock);
        if (!m_Native) throw NullReferenceException();
        return m_Native;
    }
    std::shared_ptr<Native> takeNative() {
        const std::lock_guard guard(lock);
        return std::exchange(m_Native, nullptr);
    }

    void initializeCallbackPointers();
    void onServerStateChanged(std::uint32_t clientHandle, OpxOpc::ServerStatus status);

    mutable std::mutex lock;
    std::shared_ptr<Native> m_Native;
    HandlerList<ServerStateChangedEventHandler> m_ServerStateChanged;
    std::atomic<bool> m_IsConnected{false};
    std::atomic<bool> m_IsDisconnecting{false};
    std::atomic<OpcDaClient::ServerState> m_ServerState{OpcDaClient::ServerState::DISCONNECTED};
};

namespace {

OpxServerConnectInfo nativeConnectInfo(const ConnectInfo* info) {
    OpxServerConnectInfo native;
    if (!info) return native;
    native.localId = info->LocalId().valueOrEmpty();
    native.retryInitialConnect = info->RetryInitialConnection();
    native.reconnectAfterConnectionError = info->RetryAfterConnectionError();
    native.keepAliveTime = info->KeepAliveTime();
    return native;
}

// A status that is not known leaves the state as it was.
ServerState publicState(OpxOpc::ServerStatus status, ServerState before) {
    switch (status) {
        case OpxOpc::SERVERSTATUS_CONNECTED:
            return ServerState::CONNECTED;
        case OpxOpc::SERVERSTATUS_DISCONNECTED:
            return ServerState::DISCONNECTED;
        case OpxOpc::SERVERSTATUS_SHUTDOWN:
            return ServerState::ERRORSHUTDOWN;
        case OpxOpc::SERVERSTATUS_WATCHDOG_ERROR:
            return ServerState::ERRORWATCHDOG;
    }
    return before;
}

}  // namespace

DaServerMgt::DaServerMgt() : d_(std::make_unique<Private>()) {
    LibT::lCtor("Ctor MCPP::DaServerMgt");
    OpxOpc::checkTrace();
    d_->m_Native = std::make_shared<Private::Native>();
    d_->initializeCallbackPointers();
}

DaServerMgt::~DaServerMgt() {
    Dispose();
}

void DaServerMgt::Private::initializeCallbackPointers() {
    LibT::lIfCall("==> MCPP::DaServerMgt::InitializeCallbackPointers");
    m_Native->callback.ConnectStateChange([this](std::uint32_t clientHandle, OpxOpc::ServerStatus status) {
        onServerStateChanged(clientHandle, status);
    });
    LibT::lIfCall("<== MCPP::DaServerMgt::InitializeCallbackPointers");
}

void DaServerMgt::Private::onServerStateChanged(std::uint32_t clientHandle, OpxOpc::ServerStatus status) {
    const InterfaceScope trace("MCPP::DaServerMgt::ServerStateChanged");
    m_ServerState = publicState(status, m_ServerState);
    if (!m_ServerStateChanged.empty()) {
        LibT::lIfCall("CALL MCPP::DaServerMgt::m_ServerStateChanged->Invoke");
        m_ServerStateChanged.invoke(static_cast<std::int32_t>(clientHandle), m_ServerState.load());
        LibT::lIfCall("DONE MCPP::DaServerMgt::m_ServerStateChanged->Invoke");
    }
    trace.leave();
}

void DaServerMgt::Dispose() {
    auto native = d_->takeNative();
    if (!native) return;
    LibT::lCtor("--> Dtor MCPP::DaServerMgt");
    if (d_->m_IsConnected) {
        native->client.disconnect();
        d_->m_IsConnected = false;
    }
    native.reset();
    d_->m_ServerStateChanged.clear();
    LibT::lCtor("<-- Dtor MCPP::DaServerMgt");
}

void DaServerMgt::Dispose(bool disposing) {
    if (disposing) Dispose();
}

void DaServerMgt::Connect(const NullableText& url, std::int32_t clientHandle, ConnectInfo* connectInfo,
                          bool& connectFailed) {
    const InterfaceScope trace("MCPP::DaServerMgt::Connect");
    if (url.isNull()) HandleNullReference("url");
    if (url.value().empty()) HandleEmptyString("url");
    if (d_->m_IsConnected) {
        LibT::lError("EXC MCPP::DaServerMgt::Connect throwing OPCException - Server already connected");
        throw OPCException(ResultID(E_FAIL), OLESTR("The server is already connected."));
    }
    OpxServerConnectInfo info = nativeConnectInfo(connectInfo);
    const auto native = d_->native();
    const std::int32_t hr =
        native->client.connect(url.value(), info, static_cast<std::uint32_t>(clientHandle), &native->callback);
    HandleHResult(hr);
    if (!connectInfo) throw NullReferenceException();
    connectInfo->LocalId(info.localId);
    connectFailed = connectInfo->RetryInitialConnection() && hr == S_FALSE;
    d_->m_IsConnected = true;
    trace.leave(hr);
}

void DaServerMgt::Disconnect() {
    const InterfaceScope trace("MCPP::DaServerMgt::Disconnect");
    // A second one that comes while the first still waits finds nothing to disconnect.
    if (!d_->m_IsConnected || d_->m_IsDisconnecting.exchange(true)) {
        LibT::lError("EXC MCPP::DaServerMgt::Disconnect throwing OPCException - The server is currently not connected");
        throw OPCException(ResultID(E_FAIL), OLESTR("The server is currently not connected."));
    }
    const std::int32_t hr = d_->native()->client.disconnect();
    d_->m_ServerState = OpcDaClient::ServerState::DISCONNECTED;
    d_->m_IsConnected = false;
    d_->m_IsDisconnecting = false;
    HandleHResult(hr);
    trace.leave(hr);
}

bool DaServerMgt::IsConnected() const noexcept {
    return d_->m_IsConnected;
}

OpcDaClient::ServerState DaServerMgt::ServerState() const noexcept {
    return d_->m_ServerState;
}

ReturnCode DaServerMgt::Read(std::int32_t maxAge, NullableArray<ItemIdentifier>& itemIdentifiers,
                             NullableArray<ItemValue>& itemValues) {
    const InterfaceScope trace("MCPP::DaServerMgt::Read");
    if (itemIdentifiers.isNull()) HandleNullReference("itemIdentifiers");
    if (itemIdentifiers.size() == 0) HandleEmptyArray("itemIdentifiers");
    if (maxAge < 0) HandleNegativeNumber("maxAge");

    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    std::vector<OpxOpc::OpxItemIdentifier> items = CreateItemIdentifierVector(identifiers);
    std::vector<OpxOpc::OpxItemValue> values;
    std::vector<std::int32_t> errors;
    const std::int32_t hr = d_->native()->client.read(static_cast<std::uint32_t>(maxAge), items, values, errors);
    HandleHResult(hr);

    ItemResults results(hr, errors);
    bool allGood = true;
    itemValues = ReadItemValues(items, values, results, identifiers, allGood);
    trace.leave(hr);
    return results.returnCode(allGood);
}

std::uint64_t DaServerMgt::add_ServerStateChanged(ServerStateChangedEventHandler handler) {
    const InterfaceScope trace("MCPP::DaServerMgt::add_ServerStateChanged");
    const std::uint64_t token = d_->m_ServerStateChanged.add(std::move(handler));
    trace.leave();
    return token;
}

void DaServerMgt::remove_ServerStateChanged(std::uint64_t token) {
    const InterfaceScope trace("MCPP::DaServerMgt::remove_ServerStateChanged");
    d_->m_ServerStateChanged.remove(token);
    trace.leave();
}

}  // namespace Korvex::OPC::OpcDaClient
