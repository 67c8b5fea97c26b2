// The proxies register themselves: with regsvr32, or by whoever calls the exported functions.
#include "com/hosting/ProxyRegistration.h"
#include "com/platform.h"
#include "idl/proxied_interfaces.h"

namespace {

Korvex::Com::ProxyRegistration registration() {
    static const char address = 0;
    Korvex::Com::ProxyRegistration proxies{
        *korvexProxyClass(), OLESTR("Korvex OPC proxies"), Korvex::Com::modulePathOf(&address), {}};
    KorvexProxiedInterface each = {};
    for (unsigned i = 0; korvexProxiedInterface(i, &each); ++i) {
        proxies.interfaces.push_back({*each.id, Korvex::fromUtf8(each.name), each.methods});
    }
    return proxies;
}

}  // namespace

STDAPI DllRegisterServer() {
    return Korvex::Com::registerProxies(registration());
}

STDAPI DllUnregisterServer() {
    return Korvex::Com::unregisterProxies(registration());
}
