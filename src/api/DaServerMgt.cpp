#include <korvex/opc_da_client/DaServerMgt.h>

#include <utility>

#include "api/ArgumentChecks.h"
#include "api/DaServerMgtPrivate.h"
#include "api/HandleHResult.h"
#include "com/Mutex.h"
#include "trace/InterfaceScope.h"
#include "trace/TraceConfiguration.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;
using OpxOpc::LibT;
using OpxOpc::OpxServerConnectInfo;

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

}  // namespace

std::shared_ptr<DaServerMgt::Private::Native> DaServerMgt::Private::native() const {
    const ScopedLock guard(lock);
    if (!m_Native) throw NullReferenceException();
    return m_Native;
}

std::shared_ptr<DaServerMgt::Private::Native> DaServerMgt::Private::takeNative() {
    const ScopedLock guard(lock);
    return std::exchange(m_Native, nullptr);
}

bool DaServerMgt::Private::becomeConnected(const std::shared_ptr<Native>& native) {
    const ScopedLock guard(lock);
    if (m_Native != native) return false;
    m_IsConnected = true;
    return true;
}

void DaServerMgt::Private::InitializeCallbackPointers() {
    LibT::lIfCall("==> MCPP::DaServerMgt::InitializeCallbackPointers");
    const ScopedLock guard(lock);
    m_Native->m_Callback = ClientEvents::makeCallback(events);
    LibT::lIfCall("<== MCPP::DaServerMgt::InitializeCallbackPointers");
}

DaServerMgt::DaServerMgt() : d_(std::make_unique<Private>()) {
    LibT::lCtor("Ctor MCPP::DaServerMgt");
    OpxOpc::checkTrace();
    d_->m_Native = std::make_shared<Private::Native>();
    d_->InitializeCallbackPointers();
}

DaServerMgt::~DaServerMgt() {
    Dispose();
}

void DaServerMgt::Dispose() {
    auto native = d_->takeNative();
    if (!native) return;
    LibT::lCtor("--> Dtor MCPP::DaServerMgt");
    try {
        if (d_->m_IsConnected) native->m_OpxDaClient.disconnect();
    } catch (...) {
        // The rest of the connection goes with its last owner.
    }
    d_->m_IsConnected = false;
    native.reset();
    d_->events->clear();
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
    const OpxOpc::ExclusiveFlag::Claim claim(d_->changing);
    if (!claim || d_->m_IsConnected) {
        LibT::lError("EXC MCPP::DaServerMgt::Connect throwing OPCException - Server already connected");
        throw OPCException(ResultID(E_FAIL), OLESTR("The server is already connected."));
    }
    const auto native = d_->native();
    d_->events->forgetHandles();
    OpxServerConnectInfo info = nativeConnectInfo(connectInfo);
    const std::int32_t hr =
        native->m_OpxDaClient.connect(url.value(), info, static_cast<std::uint32_t>(clientHandle), native->m_Callback);
    HandleHResult(hr);
    if (!connectInfo) throw NullReferenceException();
    connectInfo->LocalId(info.localId);
    connectFailed = connectInfo->RetryInitialConnection() && hr == S_FALSE;
    if (!d_->becomeConnected(native)) throw NullReferenceException();
    trace.leave(hr);
}

void DaServerMgt::Disconnect() {
    const InterfaceScope trace("MCPP::DaServerMgt::Disconnect");
    // A second one that comes while the first still waits finds nothing to disconnect.
    const OpxOpc::ExclusiveFlag::Claim claim(d_->changing);
    if (!claim || !d_->m_IsConnected) {
        LibT::lError("EXC MCPP::DaServerMgt::Disconnect throwing OPCException - The server is currently not connected");
        throw OPCException(ResultID(E_FAIL), OLESTR("The server is currently not connected."));
    }
    const std::int32_t hr = d_->native()->m_OpxDaClient.disconnect();
    d_->events->m_ServerState = OpcDaClient::ServerState::DISCONNECTED;
    d_->m_IsConnected = false;
    HandleHResult(hr);
    trace.leave(hr);
}

bool DaServerMgt::IsConnected() const noexcept {
    return d_->m_IsConnected;
}

OpcDaClient::ServerState DaServerMgt::ServerState() const noexcept {
    return d_->events->m_ServerState;
}

}  // namespace Korvex::OPC::OpcDaClient
