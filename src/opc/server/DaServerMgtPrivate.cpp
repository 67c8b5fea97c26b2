#include "opc/server/DaServerMgtPrivate.h"

#include <utility>

#include "opc/apartment/ApartmentMode.h"
#include "opc/apartment/InterfaceQueries.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::ComPtr;

struct DaServerMgtPrivate::Found {
    ComPtr<IOPCServer> server;
    ComPtr<IOPCBrowse> browse;
    ComPtr<IOPCItemProperties> itemProperties;
    ComPtr<IOPCBrowseServerAddressSpace> addressSpace;
};

DaServerMgtPrivate::DaServerMgtPrivate() {
    ApartmentMode::enter();
}

DaServerMgtPrivate::~DaServerMgtPrivate() {
    ApartmentMode::leave();
    interfaceTable.release();
}

HRESULT DaServerMgtPrivate::SetIOPCServer(ComPtr<IOPCServer> offered) {
    const TraceScope scope("DaServerMgtPrivate::SetIOPCServer");
    Found found;
    found.server = std::move(offered);
    const HRESULT hr = queryBrowsing(found);
    return scope.leave(failed(hr) ? hr : keep(found));
}

// A data access 3.0 server browses and tells properties through one interface, an older one through two,
// of which only the properties are required.
HRESULT DaServerMgtPrivate::queryBrowsing(Found& found) {
    IOPCServer& asked = *found.server;
    browseOrganization = OPC_NS_HIERARCHIAL;  // what an earlier server said does not count

    dataAccess3 = succeeded(tracedQuery("IOPCServer::QueryInterface", "IOPCBrowse", asked, found.browse));
    if (dataAccess3) return S_OK;

    const HRESULT hr = tracedQuery("IOPCServer::QueryInterface", "IOPCItemProperties", asked, found.itemProperties);
    if (succeeded(
            tracedQuery("IOPCServer::QueryInterface", "IOPCBrowseServerAddressSpace", asked, found.addressSpace))) {
        OPCNAMESPACETYPE told = OPC_NS_HIERARCHIAL;
        const HRESULT asking = tracedCall("IOPCBrowseServerAddressSpace::QueryOrganization",
                                          [&] { return found.addressSpace->QueryOrganization(&told); });
        if (succeeded(asking)) browseOrganization = told;
    }
    return failed(hr) ? hr : S_OK;
}

HRESULT DaServerMgtPrivate::keep(Found& found) {
    HRESULT hr = S_OK;
    if (ApartmentMode::isSingleThreaded() && !interfaceTable) hr = ApartmentMode::createInterfaceTable(interfaceTable);
    if (succeeded(hr)) hr = server.keep(interfaceTable.get(), std::move(found.server));
    if (succeeded(hr)) hr = browseInterface.keep(interfaceTable.get(), std::move(found.browse));
    if (succeeded(hr)) hr = addressSpace.keep(interfaceTable.get(), std::move(found.addressSpace));
    if (succeeded(hr)) hr = itemProperties.keep(interfaceTable.get(), std::move(found.itemProperties));
    return hr;
}

HRESULT DaServerMgtPrivate::ReleaseOPCServerInterfaces() {
    const TraceScope scope("DaServerMgtPrivate::ReleaseOPCServerInterfaces");
    connected = false;
    forgetAddressSpace();

    HRESULT hr = S_OK;
    IGlobalInterfaceTable* const table = interfaceTable.get();
    connectionPoint.release(table, hr);
    if (table) {
        itemProperties.release(table, hr);
        addressSpace.release(table, hr);
        browseInterface.release(table, hr);
    } else {
        browseInterface.release(table, hr);
        addressSpace.release(table, hr);
        itemProperties.release(table, hr);
    }
    const ULONG left = server.releaseLast(table, hr);
    LibT::lDetail("Reference count = %d of OPCServer object after last release", left);
    return scope.leave(hr);
}

BorrowedInterface<IOPCServer> DaServerMgtPrivate::GetIOPCServer() const {
    return server.borrow(interfaceTable.get());
}

BorrowedInterface<IConnectionPoint> DaServerMgtPrivate::GetIConnectionPoint() {
    if (!connectionPoint.isKept() && failed(findShutdownPoint())) return {};
    return connectionPoint.borrow(interfaceTable.get());
}

HRESULT DaServerMgtPrivate::findShutdownPoint() {
    const auto asked = GetIOPCServer();
    if (!asked) return E_NOINTERFACE;

    ComPtr<IConnectionPointContainer> container;
    HRESULT hr = tracedQuery("IOPCServer::QueryInterface", "IConnectionPointContainer", *asked, container);
    if (failed(hr)) {
        LibT::lError("Error: IOPCServer::QueryInterface IID_IConnectionPointContainer FAILED [hr=0x%lx]", hr);
        return hr;
    }
    ComPtr<IConnectionPoint> point;
    hr = findConnectionPoint(*container, IID_IOPCShutdown, point);
    return failed(hr) ? hr : connectionPoint.keep(interfaceTable.get(), std::move(point));
}

}  // namespace OpxOpc
