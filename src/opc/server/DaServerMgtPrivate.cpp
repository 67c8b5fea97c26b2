#include "opc/server/DaServerMgtPrivate.h"

#include <utility>

#include "opc/apartment/ApartmentMode.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

DaServerMgtPrivate::DaServerMgtPrivate() {
    ApartmentMode::enter();
}

DaServerMgtPrivate::~DaServerMgtPrivate() {
    ApartmentMode::leave();
}

HRESULT DaServerMgtPrivate::SetIOPCServer(Korvex::Com::ComPtr<IOPCServer> offered) {
    const TraceScope scope("DaServerMgtPrivate::SetIOPCServer");
    return scope.leave(interfaces.take(std::move(offered)));
}

HRESULT DaServerMgtPrivate::ReleaseOPCServerInterfaces() {
    const TraceScope scope("DaServerMgtPrivate::ReleaseOPCServerInterfaces");
    connected = false;
    forgetAddressSpace();
    return scope.leave(interfaces.release());
}

}  // namespace OpxOpc
