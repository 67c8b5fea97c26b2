#include "opc/server/ServerInterfaces.h"

#include "opc/apartment/ApartmentMode.h"
#include "opc/apartment/InterfaceQueries.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::ComPtr;

HRESULT ServerInterfaces::take(ComPtr<IOPCServer> server) {
    Found found;
    std::get<ComPtr<IOPCServer>>(found) = std::move(server);
    const HRESULT hr = query(found);
    return failed(hr) ? hr : keep(found);
}

// An older server browses and tells properties through two interfaces, of which only the properties are required.
HRESULT ServerInterfaces::query(Found& found) {
    auto& [server, browse, addressSpace, itemProperties] = found;
    organization_ = OPC_NS_HIERARCHIAL;  // what an earlier server said does not count

    dataAccess3_ = succeeded(tracedQuery("IOPCServer::QueryInterface", "IOPCBrowse", *server, browse));
    if (dataAccess3_) return S_OK;

    const HRESULT hr = tracedQuery("IOPCServer::QueryInterface", "IOPCItemProperties", *server, itemProperties);
    if (succeeded(tracedQuery("IOPCServer::QueryInterface", "IOPCBrowseServerAddressSpace", *server, addressSpace))) {
        OPCNAMESPACETYPE told = OPC_NS_HIERARCHIAL;
        const HRESULT asking = tracedCall("IOPCBrowseServerAddressSpace::QueryOrganization",
                                          [&, &space = addressSpace] { return space->QueryOrganization(&told); });
        if (succeeded(asking)) organization_ = told;
    }
    return failed(hr) ? hr : S_OK;
}

HRESULT ServerInterfaces::keep(Found& found) {
    HRESULT hr = S_OK;
    if (ApartmentMode::isSingleThreaded() && !interfaceTable_) {
        hr = ApartmentMode::createInterfaceTable(interfaceTable_);
    }
    const auto next = [&]<typename Interface>(ComPtr<Interface>& pointer) {
        if (failed(hr)) return;
        hr = std::get<ApartmentInterface<Interface>>(kept_).keep(interfaceTable_.get(), std::move(pointer));
    };
    std::apply([&](auto&... pointers) { (next(pointers), ...); }, found);
    return hr;
}

HRESULT ServerInterfaces::release() {
    HRESULT hr = S_OK;
    IGlobalInterfaceTable* const table = interfaceTable_.get();
    shutdownPoint_.release(table, hr);
    releaseAllButServer(hr);
    const ULONG left = std::get<ApartmentInterface<IOPCServer>>(kept_).releaseLast(table, hr);
    LibT::lDetail("Reference count = %d of OPCServer object after last release", left);
    return hr;
}

// Pointers go in the list's order, cookies of the interface table from its end.
void ServerInterfaces::releaseAllButServer(HRESULT& result) {
    constexpr std::size_t kCount = std::tuple_size_v<decltype(kept_)>;
    IGlobalInterfaceTable* const table = interfaceTable_.get();
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        if (table) {
            (std::get<kCount - 1 - I>(kept_).release(table, result), ...);
        } else {
            (std::get<I + 1>(kept_).release(table, result), ...);
        }
    }
    (std::make_index_sequence<kCount - 1>());
}

BorrowedInterface<IConnectionPoint> ServerInterfaces::borrowShutdownPoint() {
    if (!shutdownPoint_.isKept() && failed(findShutdownPoint())) return {};
    return shutdownPoint_.borrow(interfaceTable_.get());
}

HRESULT ServerInterfaces::findShutdownPoint() {
    const auto asked = borrow<IOPCServer>();
    if (!asked) return E_NOINTERFACE;

    ComPtr<IConnectionPointContainer> container;
    HRESULT hr = tracedQuery("IOPCServer::QueryInterface", "IConnectionPointContainer", *asked, container);
    if (failed(hr)) {
        LibT::lError("Error: IOPCServer::QueryInterface IID_IConnectionPointContainer FAILED [hr=0x%lx]", hr);
        return hr;
    }
    ComPtr<IConnectionPoint> point;
    hr = findConnectionPoint(*container, IID_IOPCShutdown, point);
    return failed(hr) ? hr : shutdownPoint_.keep(interfaceTable_.get(), std::move(point));
}

}  // namespace OpxOpc
