#include "core/OpxDaServerCom.h"

#include <utility>

#include "core/DaServerComPrivate.h"
#include "core/guarded.h"
#include "trace/LibT.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

OpxDaServerCom::OpxDaServerCom() {
    LibT::lCtor("Ctor DaServerCom");
    d_ = std::make_shared<DaServerComPrivate>();
}

OpxDaServerCom::~OpxDaServerCom() {
    LibT::lCtor("--> Dtor DaServerCom");
    if (!d_->isDisconnected()) guarded([this] { return disconnect(); });
    d_.reset();
    LibT::lCtor("<-- Dtor DaServerCom");
}

HRESULT OpxDaServerCom::connect(ConnectRequest request) {
    const TraceScope trace("DaServerCom::connect");
    if (d_->isLeftAlone()) d_ = std::make_shared<DaServerComPrivate>();
    if (!d_->isDisconnected()) return trace.refuse("[E_FAIL] - serverState not disconnected", E_FAIL);
    d_->reset();
    if (const HRESULT hr = d_->prepare(request); failed(hr)) return trace.leave(hr);

    bool localeChanged = false;
    const HRESULT hr = guarded([&] { return d_->openConnection(request.info, localeChanged); });
    const bool retry = hr == S_FALSE || (failed(hr) && request.info.retryInitialConnect);
    const HRESULT goesOn = failed(hr) && !retry ? hr : d_->createWatchDog();
    if (failed(goesOn)) {
        if (succeeded(hr) && !retry) d_->removeMainGroup();
        d_->abandonConnection();
        d_->reset();
        return trace.leave(goesOn);
    }
    if (retry) {
        LibT::eventWarning("Connect failed to OPC Server %ls", request.url);
        LibT::eventInformation("Continue to try connect");
        d_->begin(SERVERSTATUS_WATCHDOG_ERROR);
        d_->abandonConnection();
    } else {
        LibT::eventInformation("Successfully connected to OPC Server %ls", request.url);
        d_->begin(SERVERSTATUS_CONNECTED);
    }
    d_->startWatchDog();
    return trace.leave(retry || localeChanged ? S_FALSE : S_OK);
}

HRESULT OpxDaServerCom::disconnect() {
    const TraceScope trace("DaServerCom::disconnect");
    bool wasConnected = false;
    if (!d_->end(wasConnected)) return trace.refuse("[E_FAIL] - serverState disconnected", E_FAIL);
    d_->closeConnection(wasConnected);
    d_->reportDisconnected();
    return trace.leaveOk();
}

}  // namespace OpxOpc
