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

struct RegisteredServers {
    ServerRegistry registry = ServerRegistry::read();
};

std::shared_ptr<const RegisteredServers> lookAtServers() {
    return std::make_shared<const RegisteredServers>();
}

std::vector<CLSID> classesOfCategories(const RegisteredServers& servers, const std::vector<CATID>& categories) {
    std::vector<CLSID> classes;
    for (const RegisteredServer& server : servers.registry.servers()) {
        if (categories.empty() || implementsAnyOf(server, categories)) classes.push_back(server.clsid);
    }
    return classes;
}

std::optional<ClassDetails> detailsOfClass(const RegisteredServers& servers, REFCLSID clsid) {
    const auto server = servers.registry.find(clsid);
    if (!server) return std::nullopt;
    return ClassDetails{server->progId, server->description, server->versionIndependentProgId};
}

}  // namespace Korvex::Com
