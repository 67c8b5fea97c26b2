#include "com/ModuleRegistration.h"

#include "com/windows/ClassRegistration.h"
#include "com/windows/RegistryKey.h"

namespace Korvex::Com {
namespace {

// The path that a server's key holds; a program's stands in quotes.
OpxString serverPath(const RegistryKey& classKey, const OLECHAR* serverKey) {
    const OpxString path = classKey.below(serverKey).text();
    const bool isQuoted = path.size() >= 2 && path.front() == OLESTR('"') && path.back() == OLESTR('"');
    return isQuoted ? path.substr(1, path.size() - 2) : path;
}

// A server that the class names below `serverKey`, and that is not `module`.
bool namesAnother(const RegistryKey& classKey, const OLECHAR* serverKey, const OpxString& module) {
    const OpxString path = serverPath(classKey, serverKey);
    return !path.empty() && CompareStringOrdinal(path.c_str(), -1, module.c_str(), -1, TRUE) != CSTR_EQUAL;
}

}  // namespace

HRESULT registerModule(const ModuleRegistration& registration) {
    const OpxString key = classKeyOf(registration.clsid) + OLESTR("\\") + kModuleKey;
    std::vector<RegistryValue> values = classValues(registration);
    values.push_back({key, {}, registration.module.native()});
    values.push_back({key, OLESTR("ThreadingModel"), OLESTR("Both")});
    return writeClassesValues(values);
}

HRESULT unregisterModule(const ModuleRegistration& registration) {
    return deleteServerOfClass(registration, kModuleKey);
}

bool isServedElsewhere(const ModuleRegistration& registration) {
    for (const REGSAM view : {KEY_WOW64_64KEY, KEY_WOW64_32KEY}) {
        const RegistryKey key(HKEY_CLASSES_ROOT, classKeyOf(registration.clsid), view);
        if (!key) continue;
        for (const OLECHAR* serverKey : {kModuleKey, kProgramKey}) {
            if (namesAnother(key, serverKey, registration.module.native())) return true;
        }
    }
    return false;
}

}  // namespace Korvex::Com
