#include <korvex/native/OpxDaServer.h>

#include <mutex>

#include "core/OpxDaServerCom.h"
#include "core/ParameterTrace.h"
#include "trace/InterfaceScope.h"

namespace OpxOpc {
namespace {

constexpr std::size_t kLongestRefusedUrl = 10;

OLECHAR toUpper(OLECHAR c) {
    return c >= OLESTR('a') && c <= OLESTR('z') ? static_cast<OLECHAR>(c - OLESTR('a') + OLESTR('A')) : c;
}

bool beginsWith(OpxStringView text, OpxStringView upperCasePrefix) {
    if (text.size() < upperCasePrefix.size()) return false;
    for (std::size_t i = 0; i < upperCasePrefix.size(); ++i) {
        if (toUpper(text[i]) != upperCasePrefix[i]) return false;
    }
    return true;
}

bool namesDataAccessServer(OpxStringView url) {
    return url.size() > kLongestRefusedUrl && (beginsWith(url, OLESTR("OPCDA:")) || beginsWith(url, OLESTR("OPCDX:")));
}

}  // namespace

// The engine is shared with the calls in progress, so that a disconnect cannot free it under them.
struct OpxDaServer::Private {
    std::shared_ptr<OpxDaServerInterface> engine() {
        std::lock_guard guard(lock);
        return connected;
    }
    void connect(std::shared_ptr<OpxDaServerInterface> engine) {
        std::lock_guard guard(lock);
        connected.swap(engine);
    }
    // A handler of the disconnect may have made another connection meanwhile, which stays.
    void disconnect(const std::shared_ptr<OpxDaServerInterface>& engine) {
        std::lock_guard guard(lock);
        if (connected == engine) connected.reset();
    }

    std::mutex lock;
    std::shared_ptr<OpxDaServerInterface> connected;  // null while disconnected
};

OpxDaServer::OpxDaServer() {
    LibT::lCtor("-> Ctor DaServer");
    d_ = std::make_unique<Private>();
    LibT::lCtor("<- Ctor DaServer");
}

OpxDaServer::~OpxDaServer() {
    LibT::lCtor("--> Dtor DaServer");
    if (d_->engine()) disconnect();
    d_.reset();
    LibT::lCtor("<-- Dtor DaServer");
}

std::int32_t OpxDaServer::connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                                  OpxDataCallback* callback) {
    LibT::lIfCall("==> DaServer::connect URL=%ls", url);
    const InterfaceScope trace = InterfaceScope::entered("DaServer::connect");
    if (d_->engine()) return trace.refuse("[E_FAIL] - Server already connected", E_FAIL);
    if (!callback) return trace.refuse("[E_INVALIDARG] - No callback pointer passt", E_INVALIDARG);
    ParameterTrace::connectInputs(url, info, clientHandle);
    if (!namesDataAccessServer(url)) {
        LibT::lError("Interface pointer DaServerInterface not valid");
        return trace.leave(E_FAIL);
    }
    auto engine = std::make_shared<OpxDaServerCom>();
    const HRESULT hr = engine->connect(url, info, clientHandle, callback);
    if (succeeded(hr)) d_->connect(std::move(engine));
    engine.reset();
    return trace.leave(hr);
}

std::int32_t OpxDaServer::disconnect() {
    const InterfaceScope trace("DaServer::disconnect");
    auto engine = d_->engine();
    if (!engine) return trace.refuse("[E_FAIL] - Server not connected", E_FAIL);
    const HRESULT hr = engine->disconnect();
    d_->disconnect(engine);
    engine.reset();
    return trace.leave(hr);
}

std::int32_t OpxDaServer::read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items,
                               std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) {
    const InterfaceScope trace("DaServer::read");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse("[E_FAIL] - Server not connected", E_FAIL);
    if (items.empty()) return trace.refuse("[E_FAIL] - Item list is empty", E_INVALIDARG);
    ParameterTrace::readInputs(maxAge, items);
    const HRESULT hr = engine->read(maxAge, items, values, errors);
    if (succeeded(hr)) ParameterTrace::readOutputs(items, values, errors);
    return trace.leave(hr);
}

}  // namespace OpxOpc
