#include <korvex/native/OpxDaServer.h>

#include "com/Mutex.h"
#include "com/ascii_case.h"
#include "core/ExclusiveFlag.h"
#include "core/OpxDaServerCom.h"
#include "core/ParameterTrace.h"
#include "core/guarded.h"
#include "opc/callbacks/unowned.h"
#include "trace/InterfaceScope.h"
#include "values/deadband.h"

namespace OpxOpc {
namespace {

constexpr std::size_t kLongestRefusedUrl = 10;
constexpr const char* kNotConnected = "[E_FAIL] - Server not connected";
constexpr const char* kNoItems = "[E_FAIL] - Item list is empty";
constexpr const char* kDifferentLengths = "[E_FAIL] - Item list has different length than value list";
constexpr const char* kNoProperties = "[E_INVALIDARG] - No properties requested";
constexpr const char* kInvalidDeadband = "[E_FAIL] - Deadband is invalid";

bool namesDataAccessServer(OpxStringView url) {
    using Korvex::Com::beginsWithIgnoringCase;
    return url.size() > kLongestRefusedUrl &&
           (beginsWithIgnoringCase(url, OLESTR("OPCDA:")) || beginsWithIgnoringCase(url, OLESTR("OPCDX:")));
}

}  // namespace

// The engine is shared with the calls in progress, so that a disconnect cannot free it under them.
struct OpxDaServer::Private {
    std::shared_ptr<OpxDaServerInterface> engine() {
        const Korvex::ScopedLock guard(lock);
        return connected;
    }
    void connect(std::shared_ptr<OpxDaServerInterface> engine) {
        const Korvex::ScopedLock guard(lock);
        connected.swap(engine);
    }
    void disconnect() { connect(nullptr); }
    std::int32_t modify(const ModifyRequest& request, std::uint32_t* revisedUpdateRate);

    Korvex::Mutex lock;
    std::shared_ptr<OpxDaServerInterface> connected GUARDED_BY(lock);  // null while disconnected
    ExclusiveFlag changing;                                            // connecting or disconnecting
};

OpxDaServer::OpxDaServer() {
    LibT::lCtor("-> Ctor DaServer");
    d_ = std::make_unique<Private>();
    LibT::lCtor("<- Ctor DaServer");
}

OpxDaServer::~OpxDaServer() {
    LibT::lCtor("--> Dtor DaServer");
    if (d_->engine()) guarded([this] { return disconnect(); });
    d_.reset();
    LibT::lCtor("<-- Dtor DaServer");
}

std::int32_t OpxDaServer::connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                                  OpxDataCallback* callback) {
    return connect(url, info, clientHandle, unowned(callback));
}

std::int32_t OpxDaServer::connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                                  std::shared_ptr<OpxDataCallback> callback) {
    LibT::lIfCall("==> DaServer::connect URL=%ls", url);
    const InterfaceScope trace = InterfaceScope::entered("DaServer::connect");
    const ExclusiveFlag::Claim claim(d_->changing);
    if (!claim || d_->engine()) return trace.refuse("[E_FAIL] - Server already connected", E_FAIL);
    if (!callback) return trace.refuse("[E_INVALIDARG] - No callback pointer passt", E_INVALIDARG);
    ConnectRequest request = {url, info, clientHandle, std::move(callback)};
    ParameterTrace::inputs(request);
    if (!namesDataAccessServer(url)) {
        LibT::lError("Interface pointer DaServerInterface not valid");
        return trace.leave(E_FAIL);
    }
    auto engine = std::make_shared<OpxDaServerCom>();
    const HRESULT hr = engine->connect(std::move(request));
    if (succeeded(hr)) d_->connect(std::move(engine));
    engine.reset();
    return trace.leave(hr);
}

std::int32_t OpxDaServer::disconnect() {
    const InterfaceScope trace("DaServer::disconnect");
    const ExclusiveFlag::Claim claim(d_->changing);
    auto engine = d_->engine();
    if (!claim || !engine) return trace.refuse(kNotConnected, E_FAIL);
    const HRESULT hr = engine->disconnect();
    d_->disconnect();
    engine.reset();
    return trace.leave(hr);
}

std::int32_t OpxDaServer::read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items,
                               std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) {
    const InterfaceScope trace("DaServer::read");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    if (items.empty()) return trace.refuse(kNoItems, E_INVALIDARG);
    const ReadRequest request = {std::nullopt, maxAge, items};
    const ReadAnswer answer = {values, errors};
    ParameterTrace::inputs(request);
    const HRESULT hr = engine->read(request, answer);
    if (succeeded(hr)) ParameterTrace::outputs(request, answer);
    return trace.leave(hr);
}

std::int32_t OpxDaServer::readAsync(std::uint32_t transaction, std::uint32_t maxAge,
                                    std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors) {
    const InterfaceScope trace("DaServer::readAsync");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    if (items.empty()) return trace.refuse(kNoItems, E_INVALIDARG);
    const ReadRequest request = {transaction, maxAge, items};
    ParameterTrace::inputs(request);
    const HRESULT hr = engine->readAsync(request, errors);
    if (succeeded(hr)) ParameterTrace::errorOutputs(items, errors);
    return trace.leave(hr);
}

std::int32_t OpxDaServer::write(std::vector<OpxItemIdentifier>& items, const std::vector<OpxItemValue>& values,
                                std::vector<std::int32_t>& errors) {
    const InterfaceScope trace("DaServer::write");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    if (items.empty()) return trace.refuse(kNoItems, E_INVALIDARG);
    if (items.size() != values.size()) return trace.refuse(kDifferentLengths, E_INVALIDARG);
    const WriteRequest request = {std::nullopt, items, values};
    ParameterTrace::inputs(request);
    const HRESULT hr = engine->write(request, errors);
    if (succeeded(hr)) ParameterTrace::errorOutputs(items, errors);
    return trace.leave(hr);
}

std::int32_t OpxDaServer::writeAsync(std::uint32_t transaction, std::vector<OpxItemIdentifier>& items,
                                     const std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) {
    const InterfaceScope trace("DaServer::writeAsync");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    if (items.empty()) return trace.refuse(kNoItems, E_INVALIDARG);
    if (items.size() != values.size()) return trace.refuse(kDifferentLengths, E_INVALIDARG);
    const WriteRequest request = {transaction, items, values};
    ParameterTrace::inputs(request);
    const HRESULT hr = engine->writeAsync(request, errors);
    if (succeeded(hr)) ParameterTrace::errorOutputs(items, errors);
    return trace.leave(hr);
}

// ---- Subscriptions -------------------------------------------------------------------------------

std::int32_t OpxDaServer::subscribe(std::uint32_t clientSubscription, bool active, std::uint32_t updateRate,
                                    float deadband, std::vector<OpxItemIdentifier>& items,
                                    std::uint32_t* revisedUpdateRate, std::uint32_t* serverSubscription,
                                    std::vector<std::int32_t>& errors) {
    const InterfaceScope trace("DaServer::subscribe");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    if (items.empty()) return trace.refuse(kNoItems, E_INVALIDARG);
    if (isInvalidDeadband(deadband)) return trace.refuse(kInvalidDeadband, E_INVALIDARG);
    const SubscribeRequest request = {clientSubscription, active, updateRate, deadband, items};
    const SubscribeAnswer answer = {revisedUpdateRate, serverSubscription, errors};
    ParameterTrace::inputs(request);
    const HRESULT hr = engine->subscribe(request, answer);
    if (succeeded(hr)) ParameterTrace::outputs(request, answer);
    return trace.leave(hr);
}

std::int32_t OpxDaServer::subscriptionModify(std::uint32_t serverSubscription, float deadband) {
    return d_->modify({.serverSubscription = serverSubscription, .deadband = deadband}, nullptr);
}

std::int32_t OpxDaServer::subscriptionModify(std::uint32_t serverSubscription, std::uint32_t updateRate,
                                             std::uint32_t* revisedUpdateRate) {
    return d_->modify({.serverSubscription = serverSubscription, .updateRate = updateRate}, revisedUpdateRate);
}

std::int32_t OpxDaServer::subscriptionModify(std::uint32_t serverSubscription, bool active) {
    return d_->modify({.serverSubscription = serverSubscription, .active = active}, nullptr);
}

std::int32_t OpxDaServer::subscriptionModify(std::uint32_t serverSubscription, bool active, std::uint32_t updateRate,
                                             float deadband, std::uint32_t* revisedUpdateRate) {
    return d_->modify({serverSubscription, active, updateRate, deadband}, revisedUpdateRate);
}

std::int32_t OpxDaServer::Private::modify(const ModifyRequest& request, std::uint32_t* revisedUpdateRate) {
    const InterfaceScope trace("DaServer::subscriptionModify");
    const auto current = engine();
    if (!current) return trace.refuse(kNotConnected, E_FAIL);
    if (request.deadband && isInvalidDeadband(*request.deadband)) return trace.refuse(kInvalidDeadband, E_INVALIDARG);
    ParameterTrace::inputs(request);
    const HRESULT hr = current->subscriptionModify(request, revisedUpdateRate);
    if (succeeded(hr) && request.updateRate) ParameterTrace::modifyOutputs(revisedUpdateRate);
    return trace.leave(hr);
}

std::int32_t OpxDaServer::subscriptionAddItems(std::uint32_t serverSubscription, std::vector<OpxItemIdentifier>& items,
                                               std::vector<std::int32_t>& errors) {
    const InterfaceScope trace("DaServer::subscriptionAddItems");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    if (items.empty()) return trace.refuse(kNoItems, E_INVALIDARG);
    const AddItemsRequest request = {serverSubscription, items};
    ParameterTrace::inputs(request);
    const HRESULT hr = engine->subscriptionAddItems(request, errors);
    if (succeeded(hr)) ParameterTrace::itemOutputs(items, errors);
    return trace.leave(hr);
}

std::int32_t OpxDaServer::subscriptionRemoveItems(std::uint32_t serverSubscription,
                                                  const std::vector<OpxItemIdentifier>& items,
                                                  std::vector<std::int32_t>& errors) {
    const InterfaceScope trace("DaServer::subscriptionRemoveItems");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    if (items.empty()) return trace.refuse(kNoItems, E_INVALIDARG);
    const RemoveItemsRequest request = {serverSubscription, items};
    ParameterTrace::inputs(request);
    const HRESULT hr = engine->subscriptionRemoveItems(request, errors);
    if (succeeded(hr)) ParameterTrace::errorOutputs(items, errors);
    return trace.leave(hr);
}

std::int32_t OpxDaServer::subscriptionCancel(std::uint32_t serverSubscription) {
    const InterfaceScope trace("DaServer::subscriptionCancel");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    ParameterTrace::cancelInputs(serverSubscription);
    return trace.leave(engine->subscriptionCancel(serverSubscription));
}

// ---- Address space -------------------------------------------------------------------------------

std::int32_t OpxDaServer::browse(const OpxString& itemName, const OpxString& itemPath, OpxString& continuationPoint,
                                 std::uint32_t maxElementsReturned, BrowseFilter filter,
                                 const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties,
                                 bool returnPropertyValues, std::vector<OpxBrowseElement>& elements,
                                 bool* moreElements) {
    const InterfaceScope trace("DaServer::browse");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    const BrowseRequest request = {
        itemName, maxElementsReturned, filter, {propertyIds, returnAllProperties, returnPropertyValues}};
    const BrowseAnswer answer = {continuationPoint, elements, moreElements};
    ParameterTrace::inputs(request, itemPath, continuationPoint);
    const HRESULT hr = engine->browse(request, answer);
    if (succeeded(hr)) ParameterTrace::outputs(answer);
    return trace.leave(hr);
}

std::int32_t OpxDaServer::getProperties(const std::vector<OpxItemIdentifier>& items,
                                        const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties,
                                        bool returnPropertyValues, std::vector<OpxItemProperties>& results) {
    const InterfaceScope trace("DaServer::getProperties");
    const auto engine = d_->engine();
    if (!engine) return trace.refuse(kNotConnected, E_FAIL);
    if (propertyIds.empty() && !returnAllProperties) return trace.refuse(kNoProperties, E_INVALIDARG);
    const PropertiesRequest request = {items, {propertyIds, returnAllProperties, returnPropertyValues}};
    ParameterTrace::inputs(request);
    const HRESULT hr = engine->getProperties(request, results);
    if (succeeded(hr)) ParameterTrace::propertyOutputs(items, results);
    return trace.leave(hr);
}

}  // namespace OpxOpc
