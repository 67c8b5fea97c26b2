// Questions to a server's object for another of its interfaces.
#pragma once

#include "com/ComPtr.h"
#include "com/com.h"
#include "trace/LibT.h"

namespace OpxOpc {

// Asks `source` for `target` between two lines: `method` is, say, "IOPCServer::QueryInterface", `name` "IOPCBrowse".
// A success that brings no pointer is a refusal.
template <typename Source, typename Target>
HRESULT tracedQuery(const char* method, const char* name, Source& source, Korvex::Com::ComPtr<Target>& target) {
    LibT::lIfCall("CALL %s (IID_%s)", method, name);
    HRESULT hr = source.QueryInterface(iidOf<Target>(), target.putVoid());
    LibT::lIfCall("DONE %s [hr=0x%lx]", method, hr);
    if (succeeded(hr) && !target) hr = E_NOINTERFACE;
    return hr;
}

// The connection point of `container` for the sinks of interface `sink`.
inline HRESULT findConnectionPoint(IConnectionPointContainer& container, REFIID sink,
                                   Korvex::Com::ComPtr<IConnectionPoint>& point) {
    LibT::lIfCall("CALL IConnectionPointContainer::FindConnectionPoint");
    HRESULT hr = container.FindConnectionPoint(sink, point.put());
    LibT::lIfCall("DONE IConnectionPointContainer::FindConnectionPoint [hr=0x%lx]", hr);
    if (succeeded(hr) && !point) hr = E_NOINTERFACE;
    if (failed(hr)) LibT::lError("Error: IConnectionPointContainer::FindConnectionPoint FAILED [hr=0x%lx]", hr);
    return hr;
}

}  // namespace OpxOpc
