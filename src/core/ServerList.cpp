#include "core/ServerList.h"

#include "com/ComCalls.h"
#include "com/owners.h"
#include "trace/TraceScope.h"

namespace OpxOpc {
namespace {

template <typename Interface>
HRESULT create(const OpxString& host, Korvex::Com::ComPtr<Interface>& list) {
    COSERVERINFO server = {};
    OpxString name = host;
    server.pwszName = name.data();
    const bool remote = !host.empty();
    MULTI_QI wanted = {&iidOf<Interface>(), nullptr, S_OK};
    const HRESULT hr = Korvex::Com::comCalls().coCreateInstanceEx(
        CLSID_OpcServerList, remote ? static_cast<DWORD>(CLSCTX_REMOTE_SERVER) : static_cast<DWORD>(CLSCTX_ALL),
        remote ? &server : nullptr, 1, &wanted);
    if (failed(hr)) return hr;
    if (failed(wanted.hr)) return wanted.hr;
    list = Korvex::Com::ComPtr<Interface>::adopt(static_cast<Interface*>(wanted.pItf));
    return list ? hr : E_NOINTERFACE;
}

template <typename Interface>
HRESULT create(const OpxString& host, bool traced, Korvex::Com::ComPtr<Interface>& list) {
    return traced ? tracedCall("CoCreateInstanceEx", [&] { return create(host, list); }) : create(host, list);
}

}  // namespace

HRESULT ServerList::open(const OpxString& host, bool traced) {
    const HRESULT hr = create(host, traced, newer_);
    return hr == E_NOINTERFACE ? create(host, traced, first_) : hr;
}

HRESULT textOfClsid(const CLSID& clsid, OpxString& text) {
    Korvex::Com::TaskString owned;
    LPOLESTR raw = nullptr;
    const HRESULT hr = StringFromCLSID(clsid, &raw);
    owned.reset(raw);
    if (succeeded(hr) && owned) text = owned.get();
    return hr;
}

}  // namespace OpxOpc
