#include "opc/group/GroupInterfaces.h"

#include <type_traits>
#include <utility>

#include "opc/apartment/ApartmentMode.h"
#include "opc/apartment/InterfaceQueries.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::ComPtr;

HRESULT GroupInterfaces::query(IOPCItemMgt* itemMgt, Found& found) {
    std::get<ComPtr<IOPCItemMgt>>(found) = itemMgt;
    HRESULT hr = S_OK;
    const auto next = [&](const auto& row) {
        if (succeeded(hr)) hr = queryOne(row, found);
    };
    std::apply([&](const auto&... rows) { (next(rows), ...); }, kRows);
    return hr;
}

template <typename Interface>
HRESULT GroupInterfaces::queryOne(const Row<Interface>& row, Found& found) {
    if (row.need == Need::Offered) return S_OK;
    IOPCItemMgt& asked = *std::get<ComPtr<IOPCItemMgt>>(found);
    auto& answer = std::get<ComPtr<Interface>>(found);
    const HRESULT hr = tracedQuery("IOPCItemMgt::QueryInterface", row.name, asked, answer);
    if (row.need == Need::Optional) {
        if (!answer) LibT::lDetail("Data Access 3 interface %s not supported by the server [hr=0x%lx]", row.name, 0);
        return S_OK;
    }
    if (failed(hr)) {
        LibT::lError("Error DaGroupMgtPrivate::SetIOPCItemMgt: QueryInterface for %s [hr=0x%lx]", row.name, hr);
    }
    return hr;
}

HRESULT GroupInterfaces::keep(Found& found) {
    HRESULT hr = S_OK;
    if (ApartmentMode::isSingleThreaded() && !interfaceTable_) {
        hr = ApartmentMode::createInterfaceTable(interfaceTable_);
        if (failed(hr)) LibT::lError("Error DaGroupMgtPrivate::SetIOPCItemMgt: CreateInstance for GIT [hr=0x%lx]", hr);
    }
    const auto next = [&](const auto& row) {
        if (succeeded(hr)) hr = keepOne(row, found);
    };
    std::apply([&](const auto&... rows) { (next(rows), ...); }, kRows);
    return hr;
}

template <typename Interface>
HRESULT GroupInterfaces::keepOne(const Row<Interface>& row, Found& found) {
    auto& pointer = std::get<ComPtr<Interface>>(found);
    if (!pointer) return S_OK;
    auto& place = std::get<ApartmentInterface<Interface>>(kept_);
    const HRESULT hr = place.keep(interfaceTable_.get(), std::move(pointer));
    if (failed(hr)) {
        LibT::lError("Error DaGroupMgtPrivate::SetIOPCItemMgt: RegisterInterfaceInGlobal in GIT for %s [hr=0x%lx]",
                     row.name, hr);
        return hr;
    }
    if (place.isKept()) return hr;
    LibT::lError("Error DaGroupMgtPrivate::SetIOPCItemMgt: cookie for %s is 0", row.name);
    return E_FAIL;
}

HRESULT GroupInterfaces::release() {
    HRESULT hr = S_OK;
    IGlobalInterfaceTable* const table = interfaceTable_.get();
    dataPoint_.release(table, hr);
    const auto next = [&]<typename Interface>(ApartmentInterface<Interface>& kept) {
        if constexpr (!std::is_same_v<Interface, ReleasedLast>) kept.release(table, hr);
    };
    std::apply([&](auto&... kept) { (next(kept), ...); }, kept_);
    const ULONG left = std::get<ApartmentInterface<ReleasedLast>>(kept_).releaseLast(table, hr);
    LibT::lDetail("Reference count = %d of OPCGroup object after last release", left);
    return hr;
}

BorrowedInterface<IConnectionPoint> GroupInterfaces::borrowDataPoint() {
    const TraceScope scope("DaGroupMgtPrivate::GetIConnectionPoint");
    if (!dataPoint_.isKept()) {
        const auto asked = borrow<IOPCItemMgt>();
        if (!asked) {
            LibT::lInOut("<-- DaGroupMgtPrivate::GetIConnectionPoint: IOPCItemMgt interface not available");
            return {};
        }
        const HRESULT hr = findDataPoint(*asked);
        if (failed(hr)) {
            scope.leave(hr);
            return {};
        }
    }
    HRESULT hr = S_OK;
    auto point = dataPoint_.borrow(interfaceTable_.get(), hr);
    scope.leave(hr);
    return point;
}

HRESULT GroupInterfaces::findDataPoint(IOPCItemMgt& asked) {
    ComPtr<IConnectionPointContainer> container;
    HRESULT hr = tracedQuery("IOPCItemMgt::QueryInterface", "IConnectionPointContainer", asked, container);
    if (failed(hr)) {
        LibT::lError("Error: IOPCItemMgt::QueryInterface for IID_IConnectionPointContainer FAILED [hr=0x%lx]", hr);
        return hr;
    }
    ComPtr<IConnectionPoint> point;
    hr = findConnectionPoint(*container, IID_IOPCDataCallback, point);
    return failed(hr) ? hr : dataPoint_.keep(interfaceTable_.get(), std::move(point));
}

}  // namespace OpxOpc
