#include "opc/callbacks/OpxOPCShutdown.h"

#include <utility>

#include "trace/LibT.h"

namespace OpxOpc {

OpxOPCShutdown::OpxOPCShutdown(std::shared_ptr<OpxDataCallback> client) : client_(std::move(client)) {
    LibT::lCtor("Ctor OPCShutdown");
}

OpxOPCShutdown::~OpxOPCShutdown() {
    LibT::lCtor("Dtor OPCShutdown");
}

void OpxOPCShutdown::detach() {
    std::shared_ptr<OpxDataCallback> dropped;  // outlives the lock, which its destruction does not need
    const Korvex::ScopedLock guard(lock_);
    dropped.swap(client_);
}

std::shared_ptr<OpxDataCallback> OpxOPCShutdown::client() const {
    const Korvex::ScopedLock guard(lock_);
    return client_;
}

HRESULT STDMETHODCALLTYPE OpxOPCShutdown::ShutdownRequest(LPCWSTR reason) {
    LibT::lIfCall("==> OPCShutdown::ShutdownRequest");
    if (reason) LibT::lInfo("ShutdownRequest - reason for shutdown: %ls", OpxStringView(reason));
    try {
        if (const auto receiver = client()) receiver->ServerStatusChange(0, SERVERSTATUS_SHUTDOWN);
    } catch (...) {
        LibT::lError("Error: OPCShutdown::ShutdownRequest - Unexpected Error");
    }
    LibT::lIfCall("<== OPCShutdown::ShutdownRequest [hr=S_OK]");
    return S_OK;
}

}  // namespace OpxOpc
