#include "opc/group/DaGroupMgtPrivate.h"

#include <utility>

#include "opc/apartment/ApartmentMode.h"
#include "opc/apartment/InterfaceQueries.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::ComPtr;

struct DaGroupMgtPrivate::Found {
    ComPtr<IOPCItemMgt> itemMgt;
    ComPtr<IOPCGroupStateMgt> groupStateMgt;
    ComPtr<IOPCSyncIO> syncIO;
    ComPtr<IOPCAsyncIO2> asyncIO2;
    ComPtr<IOPCSyncIO2> syncIO2;
    ComPtr<IOPCAsyncIO3> asyncIO3;
};

struct DaGroupMgtPrivate::RegistrationLines {
    TraceFormat<HRESULT> failed;
    TraceFormat<> zeroCookie;
};

namespace {

constexpr TraceFormat<HRESULT> kQueryDone = "DONE IOPCItemMgt::QueryInterface [hr=0x%lx]";

}  // namespace

HRESULT DaGroupMgtPrivate::SetIOPCItemMgt(IOPCItemMgt* offered) {
    const TraceScope scope("DaGroupMgtPrivate::SetIOPCItemMgt");
    Found found;
    found.itemMgt = offered;
    HRESULT hr = queryRequired(found);
    if (failed(hr)) return scope.leave(hr);

    queryDataAccess3(found);
    hr = keep(found);
    available = true;
    return scope.leave(hr);
}

HRESULT DaGroupMgtPrivate::queryRequired(Found& found) const {
    IOPCItemMgt& asked = *found.itemMgt;
    HRESULT hr =
        tracedQuery("CALL IOPCItemMgt::QueryInterface (IID_IOPCGroupStateMgt)", kQueryDone, asked, found.groupStateMgt);
    if (failed(hr)) {
        LibT::lError("Error DaGroupMgtPrivate::SetIOPCItemMgt: QueryInterface for IOPCGroupStateMgt [hr=0x%lx]", hr);
        return hr;
    }
    hr = tracedQuery("CALL IOPCItemMgt::QueryInterface (IID_IOPCSyncIO)", kQueryDone, asked, found.syncIO);
    if (failed(hr)) {
        LibT::lError("Error DaGroupMgtPrivate::SetIOPCItemMgt: QueryInterface for IOPCSyncIO [hr=0x%lx]", hr);
        return hr;
    }
    hr = tracedQuery("CALL IOPCItemMgt::QueryInterface (IID_IOPCAsyncIO2)", kQueryDone, asked, found.asyncIO2);
    if (failed(hr)) {
        LibT::lError("Error DaGroupMgtPrivate::SetIOPCItemMgt: QueryInterface for IOPCAsyncIO2 [hr=0x%lx]", hr);
    }
    return hr;
}

void DaGroupMgtPrivate::queryDataAccess3(Found& found) {
    IOPCItemMgt& asked = *found.itemMgt;
    tracedQuery("CALL IOPCItemMgt::QueryInterface (IID_IOPCSyncIO2)", kQueryDone, asked, found.syncIO2);
    if (!found.syncIO2) LibT::lDetail("Data Access 3 interface IOPCSyncIO2 not supported by the server [hr=0x%lx]", 0);
    tracedQuery("CALL IOPCItemMgt::QueryInterface (IID_IOPCAsyncIO3)", kQueryDone, asked, found.asyncIO3);
    if (!found.asyncIO3)
        LibT::lDetail("Data Access 3 interface IOPCAsyncIO3 not supported by the server [hr=0x%lx]", 0);
    dataAccess3IO = found.syncIO2 && found.asyncIO3;
}

HRESULT DaGroupMgtPrivate::keep(Found& found) {
    HRESULT hr = S_OK;
    if (ApartmentMode::isSingleThreaded() && !interfaceTable_) {
        hr = ApartmentMode::createInterfaceTable(interfaceTable_);
        if (failed(hr)) LibT::lError("Error DaGroupMgtPrivate::SetIOPCItemMgt: CreateInstance for GIT [hr=0x%lx]", hr);
    }
    const auto next = [&](auto& place, auto& pointer, const RegistrationLines& lines) {
        if (succeeded(hr)) hr = keepOne(place, pointer, lines);
    };
    next(itemMgt_, found.itemMgt,
         {"Error DaGroupMgtPrivate::SetIOPCItemMgt: RegisterInterfaceInGlobal in GIT for IOPCItemMgt [hr=0x%lx]",
          "Error DaGroupMgtPrivate::SetIOPCItemMgt: cookie for IOPCItemMgt is 0"});
    next(groupStateMgt_, found.groupStateMgt,
         {"Error DaGroupMgtPrivate::SetIOPCItemMgt: RegisterInterfaceInGlobal in GIT for IOPCGroupStateMgt [hr=0x%lx]",
          "Error DaGroupMgtPrivate::SetIOPCItemMgt: cookie for IOPCGroupStateMgt is 0"});
    next(syncIO_, found.syncIO,
         {"Error DaGroupMgtPrivate::SetIOPCItemMgt: RegisterInterfaceInGlobal in GIT for IOPCSyncIO [hr=0x%lx]",
          "Error DaGroupMgtPrivate::SetIOPCItemMgt: cookie for IOPCSyncIO is 0"});
    next(asyncIO2_, found.asyncIO2,
         {"Error DaGroupMgtPrivate::SetIOPCItemMgt: RegisterInterfaceInGlobal in GIT for IOPCAsyncIO2 [hr=0x%lx]",
          "Error DaGroupMgtPrivate::SetIOPCItemMgt: cookie for IOPCAsyncIO2 is 0"});
    next(syncIO2_, found.syncIO2,
         {"Error DaGroupMgtPrivate::SetIOPCItemMgt: RegisterInterfaceInGlobal in GIT for IOPCSyncIO2 [hr=0x%lx]",
          "Error DaGroupMgtPrivate::SetIOPCItemMgt: cookie for IOPCSyncIO2 is 0"});
    next(asyncIO3_, found.asyncIO3,
         {"Error DaGroupMgtPrivate::SetIOPCItemMgt: RegisterInterfaceInGlobal in GIT for IOPCAsyncIO3 [hr=0x%lx]",
          "Error DaGroupMgtPrivate::SetIOPCItemMgt: cookie for IOPCAsyncIO3 is 0"});
    return hr;
}

template <typename Interface>
HRESULT DaGroupMgtPrivate::keepOne(ApartmentInterface<Interface>& place, ComPtr<Interface>& pointer,
                                   const RegistrationLines& lines) {
    if (!pointer) return S_OK;
    const HRESULT hr = place.keep(interfaceTable_.get(), std::move(pointer));
    if (failed(hr)) {
        LibT::lError(lines.failed, hr);
        return hr;
    }
    if (place.isKept()) return hr;
    LibT::lError(lines.zeroCookie);
    return E_FAIL;
}

HRESULT DaGroupMgtPrivate::ReleaseOPCGroupInterfaces() {
    const TraceScope scope("DaGroupMgtPrivate::ReleaseOPCGroupInterfaces");
    available = false;

    HRESULT hr = S_OK;
    IGlobalInterfaceTable* const table = interfaceTable_.get();
    connectionPoint_.release(table, hr);
    itemMgt_.release(table, hr);
    syncIO_.release(table, hr);
    asyncIO2_.release(table, hr);
    syncIO2_.release(table, hr);
    asyncIO3_.release(table, hr);
    const ULONG left = groupStateMgt_.releaseLast(table, hr);
    LibT::lDetail("Reference count = %d of OPCGroup object after last release", left);
    return scope.leave(hr);
}

template <typename Interface>
BorrowedInterface<Interface> DaGroupMgtPrivate::fetch(const ApartmentInterface<Interface>& kept,
                                                      TraceFormat<> zeroCookieLine,
                                                      TraceFormat<HRESULT> failedLine) const {
    if (interfaceTable_ && !kept.isKept()) {
        LibT::lError(zeroCookieLine);
        return {};
    }
    HRESULT hr = S_OK;
    auto borrowed = kept.borrow(interfaceTable_.get(), hr);
    if (interfaceTable_ && failed(hr)) LibT::lError(failedLine, hr);
    return borrowed;
}

BorrowedInterface<IOPCItemMgt> DaGroupMgtPrivate::GetIOPCItemMgt() const {
    return itemMgt_.borrow(interfaceTable_.get());
}

BorrowedInterface<IOPCGroupStateMgt> DaGroupMgtPrivate::GetIOPCGroupStateMgt() const {
    HRESULT hr = S_OK;
    auto borrowed = groupStateMgt_.borrow(interfaceTable_.get(), hr);
    if (groupStateMgt_.isKept() && failed(hr)) {
        LibT::lError(
            "Error DaGroupMgtPrivate::GetIOPCGroupStateMgt: GetInterfaceFromGlobal from GIT for IOPCGroupStateMgt "
            "[hr=0x%lx]",
            hr);
    }
    return borrowed;
}

BorrowedInterface<IOPCSyncIO> DaGroupMgtPrivate::GetIOPCSyncIO() const {
    return fetch(syncIO_, "Error DaGroupMgtPrivate::GetIOPCSyncIO: cookie for IOPCSyncIO is 0",
                 "Error DaGroupMgtPrivate::GetIOPCSyncIO: GetInterfaceFromGlobal from GIT for IOPCSyncIO [hr=0x%lx]");
}

BorrowedInterface<IOPCSyncIO2> DaGroupMgtPrivate::GetIOPCSyncIO2() const {
    return fetch(syncIO2_, "Error DaGroupMgtPrivate::GetIOPCSyncIO2: cookie for IOPCSyncIO2 is 0",
                 "Error DaGroupMgtPrivate::GetIOPCSyncIO2: GetInterfaceFromGlobal from GIT for IOPCSyncIO2 [hr=0x%lx]");
}

BorrowedInterface<IOPCAsyncIO2> DaGroupMgtPrivate::GetIOPCAsyncIO2() const {
    return fetch(
        asyncIO2_, "Error DaGroupMgtPrivate::GetIOPCAsyncIO2: cookie for IOPCAsyncIO2 is 0",
        "Error DaGroupMgtPrivate::GetIOPCAsyncIO2: GetInterfaceFromGlobal from GIT for IOPCAsyncIO2 [hr=0x%lx]");
}

BorrowedInterface<IOPCAsyncIO3> DaGroupMgtPrivate::GetIOPCAsyncIO3() const {
    return fetch(
        asyncIO3_, "Error DaGroupMgtPrivate::GetIOPCAsyncIO3: cookie for IOPCAsyncIO3 is 0",
        "Error DaGroupMgtPrivate::GetIOPCAsyncIO3: GetInterfaceFromGlobal from GIT for IOPCAsyncIO3 [hr=0x%lx]");
}

BorrowedInterface<IConnectionPoint> DaGroupMgtPrivate::GetIConnectionPoint() {
    const TraceScope scope("DaGroupMgtPrivate::GetIConnectionPoint");
    if (!connectionPoint_.isKept()) {
        const auto asked = GetIOPCItemMgt();
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
    auto point = connectionPoint_.borrow(interfaceTable_.get(), hr);
    scope.leave(hr);
    return point;
}

HRESULT DaGroupMgtPrivate::findDataPoint(IOPCItemMgt& asked) {
    ComPtr<IConnectionPointContainer> container;
    HRESULT hr =
        tracedQuery("CALL IOPCItemMgt::QueryInterface (IID_IConnectionPointContainer)", kQueryDone, asked, container);
    if (failed(hr)) {
        LibT::lError("Error: IOPCItemMgt::QueryInterface for IID_IConnectionPointContainer FAILED [hr=0x%lx]", hr);
        return hr;
    }
    ComPtr<IConnectionPoint> point;
    hr = findConnectionPoint(*container, IID_IOPCDataCallback, point);
    return failed(hr) ? hr : connectionPoint_.keep(interfaceTable_.get(), std::move(point));
}

}  // namespace OpxOpc
