#include "com/hosting/ModuleRegistration.h"

#include <filesystem>
#include <system_error>

#include "com/hosting/windows/ClassRegistration.h"
#include "com/hosting/windows/RegistryKey.h"

namespace Korvex::Com {
namespace {

// The path that a server's key holds; a program's stands in quotes.
OpxString serverPath(const RegistryKey& classKey, const OLECHAR* serverKey) {
    const OpxString path = classKey.below(serverKey).text();
    const bool isQuoted = path.size() >= 2 && path.front() == OLESTR('"') && path.back() == OLESTR('"');
    return isQuoted ? path.substr(1, path.size() - 2) : path;
}

bool isSame(const OpxString& left, const OpxString& right) {
    return CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_EQUAL;
}

// One of this name that has been moved or deleted since it was registered.
bool isGone(const std::filesystem::path& server, const std::filesystem::path& module) {
    std::error_code ignored;
    return isSame(server.stem().native(), module.stem().native()) && !std::filesystem::exists(server, ignored);
}

// A server that the class names below `serverKey`, and that is not `module`.
bool namesAnother(const RegistryKey& classKey, const OLECHAR* serverKey, const std::filesystem::path& module) {
    const OpxString path = serverPath(classKey, serverKey);
    return !path.empty() && !isSame(path, module.native()) && !isGone(path, module);
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
    for (const REGSAM view : {REGSAM{KEY_WOW64_64KEY}, REGSAM{KEY_WOW64_32KEY}}) {
        const RegistryKey key(HKEY_CLASSES_ROOT, classKeyOf(registration.clsid), view);
        if (!key) continue;
        for (const OLECHAR* serverKey : {kModuleKey, kProgramKey}) {
            if (namesAnother(key, serverKey, registration.module)) return true;
        }
    }
    return false;
}

bool isServedHere(const ModuleRegistration& registration) {
    const RegistryKey key(HKEY_CLASSES_ROOT, classKeyOf(registration.clsid), 0);
    return key && isSame(serverPath(key, kProgramKey), registration.module.native());
}

}  // namespace Korvex::Com
