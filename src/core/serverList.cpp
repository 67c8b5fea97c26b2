#include "core/serverList.h"

#include "com/ComCalls.h"
#include "com/owners.h"

namespace OpxOpc {

HRESULT createServerList(const OpxString& host, Korvex::Com::ComPtr<IOPCServerList2>& list) {
    COSERVERINFO server = {};
    OpxString name = host;
    server.pwszName = name.data();
    const bool remote = !host.empty();
    MULTI_QI wanted = {&IID_IOPCServerList2, nullptr, S_OK};
    const HRESULT hr = Korvex::Com::comCalls().coCreateInstanceEx(
        CLSID_OpcServerList, remote ? static_cast<DWORD>(CLSCTX_REMOTE_SERVER) : static_cast<DWORD>(CLSCTX_ALL),
        remote ? &server : nullptr, 1, &wanted);
    if (failed(hr)) return hr;
    if (failed(wanted.hr)) return wanted.hr;
    list = Korvex::Com::ComPtr<IOPCServerList2>::adopt(static_cast<IOPCServerList2*>(wanted.pItf));
    return list ? hr : E_NOINTERFACE;
}

HRESULT textOf(const CLSID& clsid, OpxString& text) {
    Korvex::Com::TaskString owned;
    LPOLESTR raw = nullptr;
    const HRESULT hr = StringFromCLSID(clsid, &raw);
    owned.reset(raw);
    if (succeeded(hr) && owned) text = owned.get();
    return hr;
}

}  // namespace OpxOpc
