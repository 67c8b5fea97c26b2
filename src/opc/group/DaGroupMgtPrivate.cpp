#include "opc/group/DaGroupMgtPrivate.h"

#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::ComPtr;

HRESULT DaGroupMgtPrivate::SetIOPCItemMgt(IOPCItemMgt* itemMgt) {
    const TraceScope scope("DaGroupMgtPrivate::SetIOPCItemMgt");
    GroupInterfaces::Found found;
    HRESULT hr = GroupInterfaces::query(itemMgt, found);
    if (failed(hr)) return scope.leave(hr);

    io.takesAges(std::get<ComPtr<IOPCSyncIO2>>(found) && std::get<ComPtr<IOPCAsyncIO3>>(found));
    hr = interfaces.keep(found);
    available = true;
    return scope.leave(hr);
}

HRESULT DaGroupMgtPrivate::ReleaseOPCGroupInterfaces() {
    const TraceScope scope("DaGroupMgtPrivate::ReleaseOPCGroupInterfaces");
    available = false;
    return scope.leave(interfaces.release());
}

}  // namespace OpxOpc
