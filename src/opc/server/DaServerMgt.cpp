#include "opc/server/DaServerMgt.h"

#include <utility>

#include "com/ComCalls.h"
#include "com/owners.h"
#include "com/platform.h"
#include "opc/apartment/InterfaceQueries.h"
#include "opc/broken_registrations.h"
#include "opc/callbacks/KeptSinks.h"
#include "opc/callbacks/disconnectSink.h"
#include "opc/server/DaServerMgtPrivate.h"
#include "opc/server/LocaleIds.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::comCalls;
using Korvex::Com::ComPtr;

namespace {

void traceModuleFailure() {
    const OpxString reason = Korvex::Com::takeModuleFailure();
    if (!reason.empty()) LibT::lError("Error: CoCreateInstanceEx - the server's module cannot be loaded: %ls", reason);
}

HRESULT createServer(const OpxString& node, const CLSID& clsid, ComPtr<IOPCServer>& server) {
    COSERVERINFO remote = {0, const_cast<LPWSTR>(node.c_str()), nullptr, 0};
    MULTI_QI query = {&IID_IOPCServer, nullptr, S_OK};
    const HRESULT hr = tracedCall("CoCreateInstanceEx", [&] {
        return node.empty() ? comCalls().coCreateInstanceEx(clsid, CLSCTX_ALL, nullptr, 1, &query)
                            : comCalls().coCreateInstanceEx(clsid, CLSCTX_REMOTE_SERVER, &remote, 1, &query);
    });
    server = ComPtr<IOPCServer>::adopt(static_cast<IOPCServer*>(query.pItf));
    if (node.empty()) traceBrokenRegistrations("CoCreateInstanceEx");
    if (failed(hr)) traceModuleFailure();
    if (failed(hr)) return hr;
    if (failed(query.hr)) return query.hr;
    return server ? S_OK : E_NOINTERFACE;
}

void traceState(OPCSERVERSTATE state) {
    switch (state) {
        case OPC_STATUS_RUNNING:
            return;
        case OPC_STATUS_FAILED:
            return LibT::lError("Error: IOPCServer::GetStatus - status is OPC_STATUS_FAILED");
        case OPC_STATUS_NOCONFIG:
            return LibT::lError("Error: IOPCServer::GetStatus - status is OPC_STATUS_NOCONFIG");
        case OPC_STATUS_SUSPENDED:
            return LibT::lError("Error: IOPCServer::GetStatus - status is OPC_STATUS_SUSPENDED");
        case OPC_STATUS_TEST:
            return LibT::lError("Error: IOPCServer::GetStatus - status is OPC_STATUS_TEST");
        case OPC_STATUS_COMM_FAULT:
            return LibT::lError("Error: IOPCServer::GetStatus - status is OPC_STATUS_COMM_FAULT");
    }
    LibT::lError("Error: IOPCServer::GetStatus - status is not OPC_STATUS_RUNNING dwServerState=%d", state);
}

void traceAndFree(OPCSERVERSTATUS* answer) {
    const std::unique_ptr<OPCSERVERSTATUS, Korvex::Com::TaskMemoryDeleter> status(answer);
    if (!status) return;
    const Korvex::Com::TaskString vendor(status->szVendorInfo);
    traceState(status->dwServerState);
}

HRESULT setLocale(IOPCCommon& common, LCID id) {
    LibT::lIfCall("CALL IOPCCommon::SetLocaleID(0x%lx)", id);
    const HRESULT hr = common.SetLocaleID(id);
    LibT::lIfCall("DONE IOPCCommon::SetLocaleID [hr=0x%lx]", hr);
    return hr;
}

// Asks the server for `id`, or for the locale in use where it does not accept that.
HRESULT negotiateLocale(IOPCCommon& common, LCID id, LCID& inUse, OpxString& locale) {
    HRESULT hr = setLocale(common, id);
    if (succeeded(hr)) {
        LibT::lDetail("Server supports locale '%ls' -> set to LCID=0x%lx", locale, id);
        inUse = id;
        return S_OK;  // to the caller S_FALSE is a locale that was not accepted
    }
    hr = setLocale(common, inUse);
    if (failed(hr)) return hr;
    LibT::lDetail("Server does not support locale '%ls' set to LOCALE_SYSTEM_DEFAULT", locale);
    locale.clear();
    return S_FALSE;
}

void releaseTraced(ComPtr<OpxOPCShutdown>& sink) {
    LibT::lDetail("Call OPCShutdownImpl::Release");
    const ULONG left = sink.release();
    LibT::lDetail("Done OPCShutdownImpl::Release [refcount=%d]", left);
}

}  // namespace

DaServerMgt::DaServerMgt() : d_(std::make_unique<DaServerMgtPrivate>()) {
    LibT::lCtor("Ctor DaServerMgt");
}

DaServerMgt::~DaServerMgt() {
    LibT::lCtor("--> Dtor DaServerMgt");
    if (d_->connected) disconnectOPCServer();
    d_.reset();
    LibT::lCtor("<-- Dtor DaServerMgt");
}

bool DaServerMgt::isConnected() const noexcept {
    return d_->connected;
}

void DaServerMgt::attachGroup(std::unique_ptr<DaGroupMgt> group) {
    d_->defaultGroup = std::move(group);
}

HRESULT DaServerMgt::connectOPCServer(const OpxString& node, const CLSID& clsid) {
    const TraceScope scope("DaServerMgt::connectOPCServer");
    if (d_->connected) return scope.refuse("[hr=E_FAIL] - Server already connected", E_FAIL);

    ComPtr<IOPCServer> server;
    HRESULT hr = createServer(node, clsid, server);
    if (succeeded(hr)) {
        hr = d_->SetIOPCServer(std::move(server));
        d_->connected = true;
    }
    if (failed(hr) && d_->connected) disconnectOPCServer();
    return scope.leave(hr);
}

HRESULT DaServerMgt::disconnectOPCServer() {
    const TraceScope scope("DaServerMgt::disconnectOPCServer");
    if (!d_->connected) return scope.refuse("[hr=E_FAIL] - Server not connected", E_FAIL);

    if (d_->sinkAdvised) disconnectCallback();
    silence();  // where the server could not be asked to give the sink up
    if (d_->defaultGroup) removeGroup(d_->defaultGroup.get());
    d_->defaultGroup.reset();
    d_->ReleaseOPCServerInterfaces();
    return scope.leaveOk();
}

HRESULT DaServerMgt::getStatus() {
    const TraceScope scope("DaServerMgt::getStatus");
    if (!d_->connected) return scope.refuse("[hr=E_FAIL] - server not connected", E_FAIL);
    const auto server = d_->interfaces.borrow<IOPCServer>();
    if (!server) return scope.refuse("[hr=E_FAIL] - Could not get interface IOPCServer", E_NOINTERFACE);

    OPCSERVERSTATUS* status = nullptr;
    const HRESULT hr = tracedCall("IOPCServer::GetStatus", [&] { return server->GetStatus(&status); });
    if (succeeded(hr)) {
        traceAndFree(status);
    } else {
        LibT::lError("Error: IOPCServer::GetStatus FAILED [hr=0x%lx]", hr);
    }
    return scope.leave(hr);
}

HRESULT DaServerMgt::setLocalID(OpxString& locale) {
    const TraceScope scope("DaServerMgt::setLocalID");
    if (!d_->connected) {
        return scope.refuseAs("DaServerMgt::getStatus", "[hr=E_FAIL] - server not connected", E_FAIL);
    }
    const auto server = d_->interfaces.borrow<IOPCServer>();
    if (!server) {
        return scope.refuseAs("DaServerMgt::getStatus", "[hr=E_FAIL] - Could not get interface IOPCServer",
                              E_NOINTERFACE);
    }
    const auto id = localeIdFor(locale);
    if (!id) {
        LibT::lDetail("Locale '%ls' is not supported set to LOCALE_SYSTEM_DEFAULT", locale);
        locale.clear();
        return scope.leave(S_FALSE);
    }

    ComPtr<IOPCCommon> common;
    HRESULT hr = tracedQuery("IOPCServer::QueryInterface", "IOPCCommon", *server, common);
    if (failed(hr)) {
        LibT::lError("Error: IOPCServer::QueryInterface IID_IOPCCommon FAILED [hr=0x%lx]", hr);
        return scope.leave(hr);
    }
    hr = negotiateLocale(*common, *id, d_->localeId, locale);

    LibT::lIfCall("CALL IOPCCommon::Release");
    const ULONG left = common.release();
    LibT::lIfCall("DONE IOPCCommon::Release [refcount=%d]", left);
    return scope.leave(hr);
}

LCID DaServerMgt::localeId() const noexcept {
    return d_->localeId;
}

void DaServerMgt::keepLocaleId(LCID id) noexcept {
    d_->localeId = id;
}

HRESULT DaServerMgt::connectCallback(std::shared_ptr<OpxDataCallback> callback) {
    const TraceScope scope("DaServerMgt::connectCallback");
    if (d_->sinkAdvised) return scope.refuse("[hr=E_FAIL] - Callback already connected", E_FAIL);
    if (!d_->connected) return scope.refuse("[hr=E_FAIL] - Server not connected", E_FAIL);
    const auto point = d_->interfaces.borrowShutdownPoint();
    if (!point) return scope.refuse("[hr=E_NOINTERFACE] - IConnectionPoint not valid", E_NOINTERFACE);

    d_->shutdownSink = ComPtr<OpxOPCShutdown>(new OpxOPCShutdown(std::move(callback)));
    const HRESULT hr = tracedCall("IConnectionPoint::Advise",
                                  [&] { return point->Advise(d_->shutdownSink.get(), &d_->adviseCookie); });
    if (succeeded(hr)) {
        d_->sinkAdvised = true;
    } else {
        LibT::lError("Error: Server IConnectionPoint::Advise FAILED [hr=0x%lx]", hr);
        keepForever(d_->shutdownSink.get());
    }
    return scope.leave(hr);
}

HRESULT DaServerMgt::disconnectCallback() {
    const TraceScope scope("DaServerMgt::disconnectCallback");
    if (!d_->sinkAdvised) return scope.refuse("[hr=E_FAIL] - Callback not connected", E_FAIL);
    const auto point = d_->interfaces.borrowShutdownPoint();
    if (!point) return scope.refuse("[hr=E_NOINTERFACE] - IConnectionPoint not valid", E_NOINTERFACE);

    silence();
    HRESULT hr = tracedCall("IConnectionPoint::Unadvise", [&] { return point->Unadvise(d_->adviseCookie); });
    if (failed(hr)) {
        hr = disconnectSink(d_->shutdownSink.get());
        releaseTraced(d_->shutdownSink);
    }
    d_->shutdownSink.release();
    d_->sinkAdvised = false;
    d_->adviseCookie = 0;
    return scope.leave(hr);
}

void DaServerMgt::silence() {
    if (d_->shutdownSink) d_->shutdownSink->detach();
}

HRESULT DaServerMgt::addGroup(DaGroupMgt* group) {
    const TraceScope scope("DaServerMgt::addGroup");
    if (!group) return scope.refuse("[hr=E_POINTER] group pointer is NULL", E_POINTER);
    if (!d_->connected) return scope.refuse("[hr=E_FAIL] - server not connected", E_FAIL);
    const auto server = d_->interfaces.borrow<IOPCServer>();
    if (!server) return scope.refuse("[hr=E_NOINTERFACE] - IOPCServer interface not available", E_NOINTERFACE);

    FLOAT deadband = group->percentDeadband();
    OPCHANDLE serverHandle = 0;
    DWORD revisedRate = 0;
    ComPtr<IOPCItemMgt> itemMgt;
    HRESULT hr = tracedCall("IOPCServer::AddGroup", [&] {
        return server->AddGroup(group->name().c_str(), group->active() ? TRUE : FALSE, group->updateRate(),
                                group->clientHandle(), nullptr, &deadband, d_->localeId, &serverHandle, &revisedRate,
                                IID_IOPCItemMgt, itemMgt.putUnknown());
    });
    if (succeeded(hr)) group->noteCreated(serverHandle);
    if (succeeded(hr) && !itemMgt) hr = E_NOINTERFACE;
    if (failed(hr)) {
        LibT::lError("Error: IOPCServer::AddGroup FAILED [hr=0x%lx]", hr);
        return scope.leave(hr);
    }
    return scope.leave(group->initialize(itemMgt.get(), revisedRate, serverHandle, d_->localeId));
}

HRESULT DaServerMgt::removeGroup(DaGroupMgt* group) {
    const TraceScope scope("DaServerMgt::removeGroup");
    if (!group) return scope.refuse("[hr=E_POINTER] group pointer is NULL", E_POINTER);
    if (!d_->connected) return scope.refuse("[hr=E_FAIL] - server not connected", E_FAIL);
    const auto server = d_->interfaces.borrow<IOPCServer>();
    if (!server) return scope.refuse("[hr=E_NOINTERFACE] - IOPCServer interface not available", E_NOINTERFACE);

    const OPCHANDLE serverHandle = group->serverHandle();
    group->clear();
    const HRESULT hr = tracedCall("IOPCServer::RemoveGroup", [&] { return server->RemoveGroup(serverHandle, FALSE); });
    if (failed(hr)) LibT::lError("Error: IOPCServer::RemoveGroup FAILED [hr=0x%lx]", hr);
    return scope.leave(hr);
}

HRESULT DaServerMgt::browse(const BrowseRequest& request, OpxString& continuationPoint,
                            std::vector<OpxBrowseElement>& elements, bool& moreElements) {
    return d_->browse(request, continuationPoint, elements, moreElements);
}

HRESULT DaServerMgt::getProperties(const std::vector<OpxItemIdentifier>& items, const PropertyRequest& request,
                                   std::vector<OpxItemProperties>& results) {
    return d_->getProperties(items, request, results);
}

}  // namespace OpxOpc
