#include "core/item_handles.h"

#include <exception>

#include "core/guarded.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

HRESULT addNewItems(const ServerLink& link, MainItemCache::NewItems& added, std::vector<OpxItemIdentifier>& items,
                    ResolvedItems& resolved) {
    std::vector<std::int32_t> errors;
    const HRESULT hr = guarded([&] { return link.mainGroup->addItems(added.items, errors, false); });
    if (failed(hr)) {
        link.mainItems->drop(added, hr);
        return hr;
    }
    try {
        link.mainItems->accept(added, errors, items, resolved);
    } catch (const std::exception&) {
        LibT::lError(
            "Error: DaServerComPrivate::checkHandles - Error at processing OUT parameters of DaGroupMgt::addItems");
        link.mainItems->drop(added, E_OUTOFMEMORY);
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

}  // namespace

HRESULT checkHandles(const ServerLink& link, std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved) {
    MainItemCache::NewItems added;
    MainItemCache::AwaitedItems awaited;
    try {
        link.mainItems->resolve(items, resolved, added, awaited);
    } catch (const std::exception&) {
        link.mainItems->drop(added, E_OUTOFMEMORY);
        LibT::lError("Error: DaServerComPrivate::checkHandles - Error at checking handles");
        return E_OUTOFMEMORY;
    }
    HRESULT hr = added.empty() ? S_OK : addNewItems(link, added, items, resolved);
    added.endAddition();
    if (succeeded(hr)) hr = link.mainItems->await(awaited, items, resolved);
    if (failed(hr)) return hr;
    return resolved.anyFailed() ? S_FALSE : S_OK;
}

}  // namespace OpxOpc
