// A connection's browsing and item properties, by whichever interfaces the server has.
#include <utility>

#include "com/Mutex.h"
#include "opc/browse/BrowseInterface.h"
#include "opc/browse/ItemPropertiesInterface.h"
#include "opc/server/DaServerMgtPrivate.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

HRESULT DaServerMgtPrivate::browse(const BrowseRequest& request, OpxString& continuationPoint,
                                   std::vector<OpxBrowseElement>& elements, bool& moreElements) {
    const TraceScope scope("DaServerMgtPrivate::browse");
    elements.clear();
    moreElements = false;
    if (!connected) return scope.refuse("[hr=E_FAIL] - server not connected", E_FAIL);

    HRESULT hr = S_OK;
    if (interfaces.isDataAccess3()) {
        const auto asked = interfaces.borrow<IOPCBrowse>();
        if (!asked) return scope.refuse("[hr=E_NOINTERFACE] - IOPCBrowse interface not available", E_NOINTERFACE);
        hr = browseWith(*asked, request, continuationPoint, elements, moreElements);
    } else {
        hr = browseAddressSpace(request, continuationPoint, elements, moreElements);
    }
    if (failed(hr)) {
        elements.clear();
        LibT::lError("Error: DaServerMgtPrivate::browse FAILED [hr=0x%lx]", hr);
    }
    return scope.leave(hr);
}

HRESULT DaServerMgtPrivate::browseAddressSpace(const BrowseRequest& request, OpxString& continuationPoint,
                                               std::vector<OpxBrowseElement>& elements, bool& moreElements) {
    const auto space = interfaces.borrow<IOPCBrowseServerAddressSpace>();
    const auto properties = interfaces.borrow<IOPCItemProperties>();
    if (!space || !properties) {
        LibT::lError("Error: DaServerMgtPrivate::browse - IOPCBrowseServerAddressSpace interface not available");
        return E_NOINTERFACE;
    }
    const AddressSpaceBrowser::Server older = {*space, *properties, interfaces.isFlat()};
    return addressSpaceBrowser()->browse(older, request, continuationPoint, elements, moreElements);
}

HRESULT DaServerMgtPrivate::getProperties(const std::vector<OpxItemIdentifier>& items, const PropertyRequest& request,
                                          std::vector<OpxItemProperties>& results) {
    const TraceScope scope("DaServerMgtPrivate::getProperties");
    results.clear();
    if (!connected) return scope.refuse("[hr=E_FAIL] - server not connected", E_FAIL);

    HRESULT hr = S_OK;
    if (interfaces.isDataAccess3()) {
        const auto asked = interfaces.borrow<IOPCBrowse>();
        if (!asked) return scope.refuse("[hr=E_NOINTERFACE] - IOPCBrowse interface not available", E_NOINTERFACE);
        hr = getPropertiesWith(*asked, items, request, results);
    } else {
        hr = queryProperties(items, request, results);
    }
    if (failed(hr)) {
        results.clear();
        LibT::lError("Error: DaServerMgtPrivate::getProperties FAILED [hr=0x%lx]", hr);
    }
    return scope.leave(hr);
}

HRESULT DaServerMgtPrivate::queryProperties(const std::vector<OpxItemIdentifier>& items, const PropertyRequest& request,
                                            std::vector<OpxItemProperties>& results) {
    const auto asked = interfaces.borrow<IOPCItemProperties>();
    if (!asked) {
        LibT::lError("Error: DaServerMgtPrivate::getProperties - IOPCItemProperties interface not available");
        return E_NOINTERFACE;
    }
    HRESULT result = S_OK;
    results.resize(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const HRESULT hr = queryItemProperties(*asked, items[i].itemName, request, results[i]);
        if (failed(hr)) return hr;
        if (hr != S_OK) result = S_FALSE;
    }
    return result;
}

// One object for every server, shared with the calls that are in it when the server is given up.
std::shared_ptr<AddressSpaceBrowser> DaServerMgtPrivate::addressSpaceBrowser() {
    const Korvex::ScopedLock guard(browserLock_);
    if (!browser_) browser_ = std::make_shared<AddressSpaceBrowser>();
    return browser_;
}

void DaServerMgtPrivate::forgetAddressSpace() {
    const Korvex::ScopedLock guard(browserLock_);
    browser_.reset();
}

}  // namespace OpxOpc
