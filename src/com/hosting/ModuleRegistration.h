// Makes a server module known to COM. Modules only where COM's registry is a database of the system: on
// other systems a text file beside the module says the same.
#pragma once

#include <filesystem>
#include <vector>

#include "com/com.h"

namespace Korvex::Com {

struct ModuleRegistration {
    CLSID clsid;
    OpxString progId;
    OpxString versionIndependentProgId;
    OpxString description;
    std::vector<CATID> categories;
    std::filesystem::path module;
};

// Registers an in-process server that any apartment may use: for all users, or for this user
// where that is not allowed.
HRESULT registerModule(const ModuleRegistration& registration);
// Takes back what registerModule() wrote, for all users and for this one.
HRESULT unregisterModule(const ModuleRegistration& registration);

// Whether something else than this module serves the class, in this process or out of it, whatever its
// word size.
bool isServedElsewhere(const ModuleRegistration& registration);

// Whether it is registered that this program serves the class.
bool isServedHere(const ModuleRegistration& registration);

}  // namespace Korvex::Com
