// The part of the system's registry that COM looks in, for writing.
#pragma once

#include <functional>
#include <vector>

#include "com/com.h"
#include "com/hosting/windows/RegistryKey.h"

namespace Korvex::Com {

// "{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}"
OpxString guidText(REFGUID guid);

// A value of a key below the classes' root; an empty name is the key's own value.
struct RegistryValue {
    OpxString key;
    OpxString name;
    OpxString data;
};

// Writes them for all users, or for this user where that is not allowed.
HRESULT writeClassesValues(const std::vector<RegistryValue>& values);
// Deletes the keys with what is below, for all users and for this one; those that are not there count as
// deleted.
HRESULT deleteClassesKeys(const std::vector<OpxString>& keys);
// The same where `mayGo` says so of the key, which is empty where there is none.
HRESULT deleteClassesKeysWhere(const std::vector<OpxString>& keys,
                               const std::function<bool(const RegistryKey&)>& mayGo);

}  // namespace Korvex::Com
