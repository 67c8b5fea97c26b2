// Keys of the system's registry.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "com/com.h"

namespace Korvex::Com {

// An open key, for reading; empty where there is none. `view` is KEY_WOW64_32KEY, KEY_WOW64_64KEY, or 0 for
// that of the process.
class RegistryKey {
public:
    RegistryKey() = default;
    RegistryKey(HKEY root, const OpxString& path, REGSAM view) {
        if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, &key_) != ERROR_SUCCESS) key_ = nullptr;
    }
    RegistryKey(RegistryKey&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
    RegistryKey& operator=(RegistryKey&& other) noexcept {
        std::swap(key_, other.key_);
        return *this;
    }
    ~RegistryKey() {
        if (key_) RegCloseKey(key_);
    }

    explicit operator bool() const noexcept { return key_ != nullptr; }

    RegistryKey below(const OpxString& name) const {
        RegistryKey key;
        if (RegOpenKeyExW(key_, name.c_str(), 0, KEY_READ, &key.key_) != ERROR_SUCCESS) key.key_ = nullptr;
        return key;
    }

    // The names of the keys below.
    std::vector<OpxString> names() const {
        std::vector<OpxString> result;
        OLECHAR name[kLongestName];
        for (DWORD i = 0;; ++i) {
            DWORD length = kLongestName;
            const LSTATUS status = RegEnumKeyExW(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr);
            if (status != ERROR_SUCCESS) return result;
            result.emplace_back(name, length);
        }
    }

    // The key's own value, as text; empty if it has none.
    OpxString text() const {
        DWORD size = 0;
        if (RegGetValueW(key_, nullptr, nullptr, RRF_RT_REG_SZ, nullptr, nullptr, &size) != ERROR_SUCCESS) return {};
        OpxString value(size / sizeof(OLECHAR), 0);
        if (RegGetValueW(key_, nullptr, nullptr, RRF_RT_REG_SZ, nullptr, value.data(), &size) != ERROR_SUCCESS) {
            return {};
        }
        return value.c_str();
    }

private:
    static constexpr DWORD kLongestName = 256;

    HKEY key_ = nullptr;
};

}  // namespace Korvex::Com
