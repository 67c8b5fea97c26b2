#include "com/hosting/windows/ClassRegistration.h"

#include "com/hosting/windows/RegistryKey.h"

namespace Korvex::Com {

OpxString classKeyOf(REFCLSID clsid) {
    return OLESTR("CLSID\\") + guidText(clsid);
}

std::vector<RegistryValue> classValues(const ModuleRegistration& registration) {
    const OpxString clsid = guidText(registration.clsid);
    const OpxString classKey = classKeyOf(registration.clsid);
    std::vector<RegistryValue> values = {
        {classKey, {}, registration.description},
        {classKey + OLESTR("\\ProgID"), {}, registration.progId},
        {classKey + OLESTR("\\VersionIndependentProgID"), {}, registration.versionIndependentProgId},
        {registration.progId, {}, registration.description},
        {registration.progId + OLESTR("\\CLSID"), {}, clsid},
        {registration.versionIndependentProgId, {}, registration.description},
        {registration.versionIndependentProgId + OLESTR("\\CLSID"), {}, clsid},
        {registration.versionIndependentProgId + OLESTR("\\CurVer"), {}, registration.progId},
    };
    for (const CATID& category : registration.categories)
        values.push_back({classKey + OLESTR("\\Implemented Categories\\") + guidText(category), {}, {}});
    return values;
}

bool hasServer(REFCLSID clsid, REGSAM view) {
    const RegistryKey key(HKEY_CLASSES_ROOT, classKeyOf(clsid), view);
    return key && (key.below(kModuleKey) || key.below(kProgramKey));
}

// Programs of both word sizes share the names.
bool isServedByEither(REFCLSID clsid) {
    return hasServer(clsid, KEY_WOW64_64KEY) || hasServer(clsid, KEY_WOW64_32KEY);
}

HRESULT deleteServerOfClass(const ModuleRegistration& registration, const OLECHAR* serverKey) {
    const OpxString classKey = classKeyOf(registration.clsid);
    if (const HRESULT hr = deleteClassesKeys({classKey + OLESTR("\\") + serverKey}); failed(hr)) return hr;
    if (hasServer(registration.clsid, 0)) return S_OK;
    if (const HRESULT hr = deleteClassesKeys({classKey}); failed(hr)) return hr;
    return isServedByEither(registration.clsid)
               ? S_OK
               : deleteClassesKeys({registration.progId, registration.versionIndependentProgId});
}

}  // namespace Korvex::Com
