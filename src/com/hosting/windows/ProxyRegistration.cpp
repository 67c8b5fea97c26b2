#include "com/hosting/ProxyRegistration.h"

#include "com/hosting/windows/ClassesKeys.h"
#include "com/hosting/windows/RegistryKey.h"

namespace Korvex::Com {
namespace {

OpxString keyOf(const ProxyRegistration::Interface& proxied) {
    return OLESTR("Interface\\") + guidText(proxied.id);
}

// The class whose proxy carries the interface of the key; empty if none does.
OpxString carrierOf(const RegistryKey& key) {
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
        const OpxString key = keyOf(proxied);
        const OpxString carrier = carrierOf(RegistryKey(HKEY_CLASSES_ROOT, key, 0));
        if (!carrier.empty() && !isSameClass(carrier, clsid)) continue;
        values.push_back({key, {}, proxied.name});
        values.push_back({key + OLESTR("\\NumMethods"), {}, fromUtf8(std::to_string(proxied.methods))});
        values.push_back({key + OLESTR("\\ProxyStubClsid32"), {}, clsid});
    }
    return writeClassesValues(values);
}

HRESULT unregisterProxies(const ProxyRegistration& registration) {
    const OpxString clsid = guidText(registration.clsid);
    std::vector<OpxString> interfaces;
    for (const auto& proxied : registration.interfaces) interfaces.push_back(keyOf(proxied));
    // Another's may have been registered for the machine after these were for the user.
    const HRESULT hr =
        deleteClassesKeysWhere(interfaces, [&](const RegistryKey& key) { return isSameClass(carrierOf(key), clsid); });
    const HRESULT ofClass = deleteClassesKeys({OLESTR("CLSID\\") + clsid});
    return failed(hr) ? hr : ofClass;
}

}  // namespace Korvex::Com
