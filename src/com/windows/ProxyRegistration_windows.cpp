#include "com/ProxyRegistration.h"

#include "com/windows/ClassesKeys.h"
#include "com/windows/RegistryKey.h"

namespace Korvex::Com {
namespace {

OpxString keyOf(const ProxyRegistration::Interface& proxied) {
    return OLESTR("Interface\\") + guidText(proxied.id);
}

// The class whose proxy carries the interface now; empty if none does.
OpxString carrierOf(const ProxyRegistration::Interface& proxied) {
    const RegistryKey key(HKEY_CLASSES_ROOT, keyOf(proxied), 0);
    return key ? key.below(OLESTR("ProxyStubClsid32")).text() : OpxString();
}

bool isSameClass(const OpxString& left, const OpxString& right) {
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_EQUAL;
}

}  // namespace

HRESULT registerProxies(const ProxyRegistration& registration) {
    const OpxString clsid = guidText(registration.clsid);
    const OpxString classKey = OLESTR("CLSID\\") + clsid;
    std::vector<RegistryValue> values = {
        {classKey, {}, registration.description},
        {classKey + OLESTR("\\InprocServer32"), {}, registration.module.native()},
        {classKey + OLESTR("\\InprocServer32"), OLESTR("ThreadingModel"), OLESTR("Both")},
    };
    for (const auto& proxied : registration.interfaces) {
        const OpxString carrier = carrierOf(proxied);
        if (!carrier.empty() && !isSameClass(carrier, clsid)) continue;
        const OpxString key = keyOf(proxied);
        values.push_back({key, {}, proxied.name});
        values.push_back({key + OLESTR("\\NumMethods"), {}, fromUtf8(std::to_string(proxied.methods))});
        values.push_back({key + OLESTR("\\ProxyStubClsid32"), {}, clsid});
    }
    return writeClassesValues(values);
}

HRESULT unregisterProxies(const ProxyRegistration& registration) {
    const OpxString clsid = guidText(registration.clsid);
    std::vector<OpxString> keys = {OLESTR("CLSID\\") + clsid};
    for (const auto& proxied : registration.interfaces) {
        if (isSameClass(carrierOf(proxied), clsid)) keys.push_back(keyOf(proxied));
    }
    return deleteClassesKeys(keys);
}

}  // namespace Korvex::Com
