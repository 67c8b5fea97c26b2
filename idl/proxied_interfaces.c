#include "proxied_interfaces.h"

#include <objbase.h>
#include <rpcproxy.h>

void RPC_ENTRY GetProxyDllInfo(const ProxyFileInfo*** files, const CLSID** clsid);

const CLSID* korvexProxyClass(void) {
    const ProxyFileInfo** files;
    const CLSID* clsid;
    GetProxyDllInfo(&files, &clsid);
    return clsid;
}

int korvexProxiedInterface(unsigned index, KorvexProxiedInterface* found) {
    const ProxyFileInfo** file;
    const CLSID* clsid;
    GetProxyDllInfo(&file, &clsid);
    for (; *file && index >= (*file)->TableSize; ++file) index -= (*file)->TableSize;
    if (!*file) return 0;
    found->id = (*file)->pStubVtblList[index]->header.piid;
    found->name = (*file)->pNamesArray[index];
    found->methods = (*file)->pStubVtblList[index]->header.DispatchTableCount;
    return 1;
}
