#include "com/ServerClasses.h"

#include <algorithm>

#include "com/portable/ServerRegistry.h"

namespace Korvex::Com {
namespace {

bool implementsAnyOf(const RegisteredServer& server, const std::vector<CATID>& categories) {
    return std::any_of(categories.begin(), categories.end(), [&](const CATID& category) {
        return std::find(server.categories.begin(), server.categories.end(), category) != server.categories.end();
    });
}

}  // namespace

std::vector<CLSID> classesOfCategories(const std::vector<CATID>& categories) {
    std::vector<CLSID> classes;
    const ServerRegistry registry = ServerRegistry::read();
    for (const RegisteredServer& server : registry.servers()) {
        if (categories.empty() || implementsAnyOf(server, categories)) classes.push_back(server.clsid);
    }
    return classes;
}

std::optional<ClassDetails> detailsOfClass(REFCLSID clsid) {
    const auto server = ServerRegistry::read().find(clsid);
    if (!server) return std::nullopt;
    return ClassDetails{server->progId, server->description, server->versionIndependentProgId};
}

}  // namespace Korvex::Com
