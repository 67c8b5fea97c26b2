// The servers that are registered on this machine, wherever the system keeps that.
#pragma once

#include <optional>
#include <vector>

#include "com/com.h"

namespace Korvex::Com {

// The classes that implement one of the categories, each once, in the registry's order; of an empty list
// the classes that implement any.
std::vector<CLSID> classesOfCategories(const std::vector<CATID>& categories);

// What the registry says of a class; a text may be empty.
struct ClassDetails {
    OpxString progId;
    OpxString description;
    OpxString versionIndependentProgId;
};
// Nothing for a class that is not registered.
std::optional<ClassDetails> detailsOfClass(REFCLSID clsid);

}  // namespace Korvex::Com
