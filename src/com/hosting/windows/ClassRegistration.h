// The registry's entries of a class, whether a module or a program serves it.
#pragma once

#include "com/hosting/ModuleRegistration.h"
#include "com/hosting/windows/ClassesKeys.h"

namespace Korvex::Com {

// The keys below a class that name its server.
inline constexpr const OLECHAR* kModuleKey = OLESTR("InprocServer32");
inline constexpr const OLECHAR* kProgramKey = OLESTR("LocalServer32");

// "CLSID\{...}"
OpxString classKeyOf(REFCLSID clsid);

// The class's names, description and categories.
std::vector<RegistryValue> classValues(const ModuleRegistration& registration);

// Whether a module or a program of either word size serves the class.
bool isServedByEither(REFCLSID clsid);

// Deletes the key below the class that names a server, and with the last one all of the class.
HRESULT deleteServerOfClass(const ModuleRegistration& registration, const OLECHAR* serverKey);

}  // namespace Korvex::Com
