#include "core/checkHandles.h"

#include <exception>

#include "core/guarded.h"
#include "trace/LibT.h"

namespace OpxOpc {

HRESULT checkHandles(const ServerLink& link, std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved) {
    MainItemCache::NewItems added;
    try {
        link.mainItems->resolve(items, resolved, added);
    } catch (const std::exception&) {
        link.mainItems->drop(added);
        LibT::lError("Error: DaServerComPrivate::checkHandles - Error at checking handles");
        return E_OUTOFMEMORY;
    }
    if (added.empty()) return resolved.anyFailed() ? S_FALSE : S_OK;

    std::vector<std::int32_t> errors;
    const HRESULT hr = guarded([&] { return link.mainGroup->addItems(added.items, errors, false); });
    if (failed(hr)) {
        link.mainItems->drop(added);
        return hr;
    }
    try {
        link.mainItems->accept(added, errors, items, resolved);
    } catch (const std::exception&) {
        LibT::lError(
            "Error: DaServerComPrivate::checkHandles - Error at processing OUT parameters of DaGroupMgt::addItems");
        link.mainItems->drop(added);
        return E_OUTOFMEMORY;
    }
    return resolved.anyFailed() ? S_FALSE : S_OK;
}

}  // namespace OpxOpc
