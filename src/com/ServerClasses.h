// The servers that are registered on this machine, wherever the system keeps that.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "com/com.h"

namespace Korvex::Com {

// The classes registered at a moment. Where the registry is a database of the system, that is asked each time.
struct RegisteredServers;
std::shared_ptr<const RegisteredServers> lookAtServers();

// The classes that implement one of the categories, each once, in the registry's order; of an empty list
// the classes that implement any.
std::vector<CLSID> classesOfCategories(const RegisteredServers& servers, const std::vector<CATID>& categories);

// The registry's texts of a class; each may be empty.
struct ClassDetails {
    OpxString progId;
    OpxString description;
    OpxString versionIndependentProgId;
};
// Nothing for a class that is not registered.
std::optional<ClassDetails> detailsOfClass(const RegisteredServers& servers, REFCLSID clsid);

}  // namespace Korvex::Com
