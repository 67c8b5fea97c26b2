#include <algorithm>
#include <iterator>

#include "com/ServerClasses.h"
#include "com/hosting/windows/ClassesKeys.h"
#include "com/hosting/windows/RegistryKey.h"

namespace Korvex::Com {
namespace {

// A server of the other word size serves as well, in a process of its own.
constexpr REGSAM kViews[] = {KEY_WOW64_64KEY, KEY_WOW64_32KEY};

bool implementsAnyOf(const RegistryKey& classKey, const std::vector<OpxString>& categories) {
    const RegistryKey implemented = classKey.below(OLESTR("Implemented Categories"));
    if (!implemented) return false;
    if (categories.empty()) return true;
    return std::any_of(categories.begin(), categories.end(),
                       [&](const OpxString& category) { return static_cast<bool>(implemented.below(category)); });
}

void addClasses(REGSAM view, const std::vector<OpxString>& categories, std::vector<CLSID>& classes) {
    const RegistryKey all(HKEY_CLASSES_ROOT, OLESTR("CLSID"), view);
    for (const OpxString& name : all.names()) {
        CLSID clsid = {};
        if (failed(CLSIDFromString(name.c_str(), &clsid)) || !implementsAnyOf(all.below(name), categories)) continue;
        if (std::find(classes.begin(), classes.end(), clsid) == classes.end()) classes.push_back(clsid);
    }
}

}  // namespace

struct RegisteredServers {};

std::shared_ptr<const RegisteredServers> lookAtServers() {
    return std::make_shared<const RegisteredServers>();
}

std::vector<CLSID> classesOfCategories(const RegisteredServers&, const std::vector<CATID>& categories) {
    std::vector<OpxString> names;
    std::transform(categories.begin(), categories.end(), std::back_inserter(names), &guidText);
    std::vector<CLSID> classes;
    for (const REGSAM view : kViews) addClasses(view, names, classes);
    return classes;
}

std::optional<ClassDetails> detailsOfClass(const RegisteredServers&, REFCLSID clsid) {
    for (const REGSAM view : kViews) {
        const RegistryKey key(HKEY_CLASSES_ROOT, OLESTR("CLSID\\") + guidText(clsid), view);
        if (!key) continue;
        return ClassDetails{key.below(OLESTR("ProgID")).text(), key.text(),
                            key.below(OLESTR("VersionIndependentProgID")).text()};
    }
    return std::nullopt;
}

}  // namespace Korvex::Com
