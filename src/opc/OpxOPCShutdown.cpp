#include "opc/OpxOPCShutdown.h"

#include "trace/LibT.h"

namespace OpxOpc {

OpxOPCShutdown::OpxOPCShutdown(OpxDataCallback* client) : client_(client) {
    LibT::lCtor("Ctor OPCShutdown");
}

OpxOPCShutdown::~OpxOPCShutdown() {
    LibT::lCtor("Dtor OPCShutdown");
}

HRESULT STDMETHODCALLTYPE OpxOPCShutdown::ShutdownRequest(LPCWSTR reason) {
    LibT::lIfCall("==> OPCShutdown::ShutdownRequest");
    if (reason) LibT::lInfo("ShutdownRequest - reason for shutdown: %ls", OpxStringView(reason));
    try {
        client_->ServerStatusChange(0, SERVERSTATUS_SHUTDOWN);
    } catch (...) {
        LibT::lError("Error: OPCShutdown::ShutdownRequest - Unexpected Error");
    }
    LibT::lIfCall("<== OPCShutdown::ShutdownRequest [hr=S_OK]");
    return S_OK;
}

}  // namespace OpxOpc
