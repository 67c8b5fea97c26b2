// Programs are registered for this user, by a file in the registry of servers that is named after the class.
#include <fstream>
#include <system_error>

#include "com/hosting/LocalServer.h"
#include "com/owners.h"
#include "com/portable/ServerRegistry.h"

namespace Korvex::Com {
namespace {

namespace fs = std::filesystem;

fs::path fileOf(const ModuleRegistration& registration) {
    const fs::path folder = ServerRegistry::usersFolder();
    return folder.empty() ? fs::path() : folder / (toUtf8(registration.progId) + ".server");
}

std::string guidText(REFGUID guid) {
    LPOLESTR text = nullptr;
    return succeeded(StringFromCLSID(guid, &text)) ? toUtf8(TaskString(text).get()) : std::string();
}

std::string categoriesText(const std::vector<CATID>& categories) {
    std::string text;
    for (const CATID& category : categories) text += (text.empty() ? "" : ",") + guidText(category);
    return text;
}

bool isServerOf(const RegisteredServer& server, const fs::path& file) {
    return server.module == file || server.program == file;
}

}  // namespace

HRESULT registerLocalServer(const ModuleRegistration& registration, REFGUID) {
    const fs::path path = fileOf(registration);
    if (path.empty()) return E_ACCESSDENIED;  // a user without a home
    std::error_code isTold;
    fs::create_directories(path.parent_path(), isTold);
    std::ofstream file(path);
    file << "ProgID=" << toUtf8(registration.progId)
         << "\nVersionIndependentProgID=" << toUtf8(registration.versionIndependentProgId)
         << "\nCLSID=" << guidText(registration.clsid) << "\nDescription=" << toUtf8(registration.description)
         << "\nCategories=" << categoriesText(registration.categories) << "\nProgram=" << registration.module.string()
         << "\n";
    file.close();
    return file ? S_OK : E_ACCESSDENIED;
}

HRESULT unregisterLocalServer(const ModuleRegistration& registration, REFGUID) {
    if (!isServedHere(registration)) return S_OK;
    std::error_code error;
    fs::remove(fileOf(registration), error);
    return error ? E_ACCESSDENIED : S_OK;
}

bool isServedElsewhere(const ModuleRegistration& registration) {
    if (isBuiltInClass(registration.clsid)) return true;
    const auto server = ServerRegistry::read().find(registration.clsid);
    return server && !isServerOf(*server, registration.module);
}

bool isServedHere(const ModuleRegistration& registration) {
    const auto server = ServerRegistry::read().find(registration.clsid);
    return server && server->program == registration.module;
}

}  // namespace Korvex::Com
