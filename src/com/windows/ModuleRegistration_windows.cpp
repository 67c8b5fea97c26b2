#include "com/ModuleRegistration.h"
#include "com/windows/ClassesKeys.h"
#include "com/windows/RegistryKey.h"

namespace Korvex::Com {
namespace {

std::vector<RegistryValue> valuesOf(const ModuleRegistration& registration) {
    const OpxString clsid = guidText(registration.clsid);
    const OpxString classKey = OpxString(OLESTR("CLSID\\")) + clsid;
    std::vector<RegistryValue> values = {
        {classKey, {}, registration.description},
        {classKey + OLESTR("\\InprocServer32"), {}, registration.module.native()},
        {classKey + OLESTR("\\InprocServer32"), OLESTR("ThreadingModel"), OLESTR("Both")},
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

// A server that the class names below `kind`, and that is not `module`.
bool namesAnother(const RegistryKey& classKey, const OLECHAR* kind, const OpxString& module) {
    const OpxString path = classKey.below(kind).text();
    return !path.empty() && CompareStringOrdinal(path.c_str(), -1, module.c_str(), -1, TRUE) != CSTR_EQUAL;
}

}  // namespace

HRESULT registerModule(const ModuleRegistration& registration) {
    return writeClassesValues(valuesOf(registration));
}

HRESULT unregisterModule(const ModuleRegistration& registration) {
    return deleteClassesKeys(
        {OLESTR("CLSID\\") + guidText(registration.clsid), registration.progId, registration.versionIndependentProgId});
}

bool isServedElsewhere(const ModuleRegistration& registration) {
    for (const REGSAM view : {KEY_WOW64_64KEY, KEY_WOW64_32KEY}) {
        const RegistryKey key(HKEY_CLASSES_ROOT, OLESTR("CLSID\\") + guidText(registration.clsid), view);
        if (!key) continue;
        for (const OLECHAR* kind : {OLESTR("InprocServer32"), OLESTR("LocalServer32")}) {
            if (namesAnother(key, kind, registration.module.native())) return true;
        }
    }
    return false;
}

}  // namespace Korvex::Com
