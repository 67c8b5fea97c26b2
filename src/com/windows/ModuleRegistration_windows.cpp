#include <utility>

#include "com/ModuleRegistration.h"
#include "com/windows/RegistryKey.h"

namespace Korvex::Com {
namespace {

// A value of a key below the classes' root; an empty name is the key's own value.
struct RegistryValue {
    OpxString key;
    OpxString name;
    OpxString data;
};

OpxString guidText(REFGUID guid) {
    constexpr int kLength = 39;
    OLECHAR text[kLength];
    StringFromGUID2(guid, text, kLength);
    return text;
}

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

LSTATUS writeValue(HKEY root, const RegistryValue& value) {
    const OpxString path = OLESTR("Software\\Classes\\") + value.key;
    HKEY key = nullptr;
    const LSTATUS opened =
        RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &key, nullptr);
    if (opened != ERROR_SUCCESS) return opened;
    const LSTATUS written = RegSetValueExW(key, value.name.empty() ? nullptr : value.name.c_str(), 0, REG_SZ,
                                           reinterpret_cast<const BYTE*>(value.data.c_str()),
                                           static_cast<DWORD>((value.data.size() + 1) * sizeof(OLECHAR)));
    RegCloseKey(key);
    return written;
}

LSTATUS writeAll(HKEY root, const std::vector<RegistryValue>& values) {
    for (const RegistryValue& value : values)
        if (const LSTATUS written = writeValue(root, value); written != ERROR_SUCCESS) return written;
    return ERROR_SUCCESS;
}

LSTATUS deleteTree(HKEY root, const OpxString& key) {
    const LSTATUS deleted = RegDeleteTreeW(root, (OLESTR("Software\\Classes\\") + key).c_str());
    return deleted == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : deleted;
}

// A server that the class names below `kind`, and that is not `module`.
bool namesAnother(const RegistryKey& classKey, const OLECHAR* kind, const OpxString& module) {
    const OpxString path = classKey.below(kind).text();
    return !path.empty() && CompareStringOrdinal(path.c_str(), -1, module.c_str(), -1, TRUE) != CSTR_EQUAL;
}

}  // namespace

HRESULT registerModule(const ModuleRegistration& registration) {
    const auto values = valuesOf(registration);
    if (writeAll(HKEY_LOCAL_MACHINE, values) == ERROR_SUCCESS) return S_OK;
    return HRESULT_FROM_WIN32(static_cast<DWORD>(writeAll(HKEY_CURRENT_USER, values)));
}

HRESULT unregisterModule(const ModuleRegistration& registration) {
    const OpxString keys[] = {OLESTR("CLSID\\") + guidText(registration.clsid), registration.progId,
                              registration.versionIndependentProgId};
    LSTATUS result = ERROR_SUCCESS;
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
        for (const OpxString& key : keys)
            if (const LSTATUS deleted = deleteTree(root, key); deleted != ERROR_SUCCESS) result = deleted;
    return HRESULT_FROM_WIN32(static_cast<DWORD>(result));
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
