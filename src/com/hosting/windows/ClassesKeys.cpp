#include "com/hosting/windows/ClassesKeys.h"

namespace Korvex::Com {
namespace {

const OpxString kClasses = OLESTR("Software\\Classes\\");

LSTATUS writeValue(HKEY root, const RegistryValue& value) {
    const OpxString path = kClasses + value.key;
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
    const LSTATUS deleted = RegDeleteTreeW(root, (kClasses + key).c_str());
    return deleted == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : deleted;
}

}  // namespace

OpxString guidText(REFGUID guid) {
    constexpr int kLength = 39;
    OLECHAR text[kLength];
    StringFromGUID2(guid, text, kLength);
    return text;
}

HRESULT writeClassesValues(const std::vector<RegistryValue>& values) {
    if (writeAll(HKEY_LOCAL_MACHINE, values) == ERROR_SUCCESS) return S_OK;
    return HRESULT_FROM_WIN32(static_cast<DWORD>(writeAll(HKEY_CURRENT_USER, values)));
}

HRESULT deleteClassesKeys(const std::vector<OpxString>& keys) {
    return deleteClassesKeysWhere(keys, [](const RegistryKey&) { return true; });
}

HRESULT deleteClassesKeysWhere(const std::vector<OpxString>& keys,
                               const std::function<bool(const RegistryKey&)>& mayGo) {
    LSTATUS result = ERROR_SUCCESS;
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        for (const OpxString& key : keys) {
            if (!mayGo(RegistryKey(root, kClasses + key, 0))) continue;
            if (const LSTATUS deleted = deleteTree(root, key); deleted != ERROR_SUCCESS) result = deleted;
        }
    }
    return HRESULT_FROM_WIN32(static_cast<DWORD>(result));
}

}  // namespace Korvex::Com
