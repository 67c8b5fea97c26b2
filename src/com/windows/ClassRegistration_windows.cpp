#include "com/windows/ClassRegistration.h"

#include "com/windows/RegistryKey.h"

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

HRESULT deleteServerOfClass(const ModuleRegistration& registration, const OLECHAR* serverKey) {
    const OpxString classKey = classKeyOf(registration.clsid);
    if (const HRESULT hr = deleteClassesKeys({classKey + OLESTR("\\") + serverKey}); failed(hr)) return hr;
    const RegistryKey left(HKEY_CLASSES_ROOT, classKey, 0);
    if (left && (left.below(kModuleKey) || left.below(kProgramKey))) return S_OK;
    return deleteClassesKeys({classKey, registration.progId, registration.versionIndependentProgId});
}

}  // namespace Korvex::Com
