#include "com/portable/ServerRegistry.h"

#include <dlfcn.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "com/ascii_case.h"
#include "com/portable/environment.h"
#include "com/portable/file_trust.h"

namespace Korvex::Com {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFoldersVariable = "KORVEX_OPC_SERVERS";
constexpr const char* kFolderOfServers = "korvex-opc/servers";
constexpr const char* kFileExtension = ".server";

std::string variable(const char* name) {
    return trustedVariable(name).value_or("");
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(separator, begin), text.size());
        if (end > begin) parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

std::string trimmed(const std::string& text) {
    constexpr const char* kBlanks = " \t\r";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// This library lies in PREFIX/lib, PREFIX/lib64 or PREFIX/lib/SYSTEM.
std::vector<fs::path> installationPrefixes() {
    Dl_info info = {};
    if (!::dladdr(kFolderOfServers, &info) || !info.dli_fname) return {};
    std::error_code ignored;
    const fs::path prefix = fs::weakly_canonical(info.dli_fname, ignored).parent_path().parent_path();
    if (prefix.filename() == "lib") return {prefix, prefix.parent_path()};
    return {prefix};
}

std::vector<fs::path> installedFolders() {
    std::vector<fs::path> folders;
    for (const fs::path& prefix : installationPrefixes()) {
        for (const char* place : {"share", "lib"}) folders.push_back(prefix / place / kFolderOfServers);
    }
    return folders;
}

std::vector<fs::path> searchedFolders() {
    std::vector<fs::path> folders;
    for (const std::string& folder : split(variable(kFoldersVariable), ':')) folders.emplace_back(folder);
    if (fs::path users = ServerRegistry::usersFolder(); !users.empty()) folders.push_back(std::move(users));
    for (fs::path& installed : installedFolders()) folders.push_back(std::move(installed));
    return folders;
}

GUID identifier(const std::string& text, const char* key) {
    GUID guid = {};
    if (text.empty() || failed(CLSIDFromString(fromUtf8(text).c_str(), &guid))) {
        throw std::runtime_error(std::string(key) + " is not an identifier in braces: " + text);
    }
    return guid;
}

// Some editors put one before UTF-8.
void skipByteOrderMark(std::istream& in) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    std::string start(kMark.size(), '\0');
    if (in.read(start.data(), static_cast<std::streamsize>(start.size())) && start == kMark) return;
    in.clear();
    in.seekg(0);
}

std::map<std::string, std::string> readLines(const fs::path& file) {
    if (!fs::is_regular_file(file)) throw std::runtime_error("is not a file");
    std::ifstream in(file);
    if (!in) throw std::runtime_error("cannot be opened");
    skipByteOrderMark(in);
    std::map<std::string, std::string> values;
    for (std::string line; std::getline(in, line);) {
        line = trimmed(line);
        if (line.empty() || line.front() == '#') continue;
        const std::size_t sign = line.find('=');
        if (sign == std::string::npos) throw std::runtime_error("a line has no '=': " + line);
        values[trimmed(line.substr(0, sign))] = trimmed(line.substr(sign + 1));
    }
    return values;
}

// A user who can write a registration chooses the code that its readers load.
void refuseWhatOthersMayChange(const fs::path& file) {
    if (const std::string reason = whyNotTrusted(file); !reason.empty()) throw std::runtime_error(reason);
}

ThreadingModel threadingModel(const std::string& text) {
    if (text.empty() || text == "Both") return ThreadingModel::both;
    if (text == "Apartment") return ThreadingModel::apartment;
    if (text == "Free") return ThreadingModel::free;
    throw std::runtime_error("ThreadingModel is none of Apartment, Free and Both: " + text);
}

// A relative path of a registration is relative to its file.
fs::path besideFile(const fs::path& file, const std::string& path) {
    return path.empty() ? fs::path() : file.parent_path() / path;
}

RegisteredServer parse(const fs::path& file) {
    refuseWhatOthersMayChange(file);
    auto values = readLines(file);
    RegisteredServer server;
    server.progId = fromUtf8(values["ProgID"]);
    if (server.progId.empty()) throw std::runtime_error("ProgID is missing");
    server.versionIndependentProgId = fromUtf8(values["VersionIndependentProgID"]);
    server.clsid = identifier(values["CLSID"], "CLSID");
    server.description = fromUtf8(values["Description"]);
    for (const std::string& category : split(values["Categories"], ',')) {
        server.categories.push_back(identifier(trimmed(category), "Categories"));
    }
    server.module = besideFile(file, values["Module"]);
    server.program = besideFile(file, values["Program"]);
    if (server.module.empty() && server.program.empty()) throw std::runtime_error("Module is missing");
    if (!server.module.empty() && !server.program.empty())
        throw std::runtime_error("Module and Program exclude each other");
    server.threadingModel = threadingModel(values["ThreadingModel"]);
    return server;
}

std::vector<ServerRegistry::BrokenFile>& lastBrokenFiles() {
    thread_local std::vector<ServerRegistry::BrokenFile> files;
    return files;
}

}  // namespace

ServerRegistry ServerRegistry::read() {
    ServerRegistry registry;
    for (const fs::path& folder : searchedFolders()) registry.readFolder(folder);
    lastBrokenFiles() = registry.brokenFiles_;
    return registry;
}

fs::path ServerRegistry::usersFolder() {
    if (const std::string data = variable("XDG_DATA_HOME"); !data.empty()) return fs::path(data) / kFolderOfServers;
    const std::string home = variable("HOME");
    return home.empty() ? fs::path() : fs::path(home) / ".local/share" / kFolderOfServers;
}

std::optional<RegisteredServer> ServerRegistry::find(REFCLSID clsid) const {
    const auto found = std::find_if(servers_.begin(), servers_.end(),
                                    [&](const RegisteredServer& server) { return server.clsid == clsid; });
    return found == servers_.end() ? std::nullopt : std::optional(*found);
}

std::optional<RegisteredServer> ServerRegistry::findProgId(OpxStringView progId) const {
    const auto found = std::find_if(servers_.begin(), servers_.end(), [&](const RegisteredServer& server) {
        return equalsIgnoringCase(server.progId, progId) ||
               (!progId.empty() && equalsIgnoringCase(server.versionIndependentProgId, progId));
    });
    return found == servers_.end() ? std::nullopt : std::optional(*found);
}

void ServerRegistry::readFolder(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::path> files;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().extension() == kFileExtension) files.push_back(entry->path());
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) readFile(file);
}

void ServerRegistry::readFile(const fs::path& file) {
    try {
        RegisteredServer server = parse(file);
        if (!find(server.clsid)) servers_.push_back(std::move(server));
    } catch (const std::runtime_error& error) {
        brokenFiles_.push_back({file, error.what()});
    }
}

std::vector<OpxString> takeBrokenFiles() {
    std::vector<OpxString> sentences;
    for (const ServerRegistry::BrokenFile& broken : std::exchange(lastBrokenFiles(), {})) {
        sentences.push_back(fromUtf8(broken.file.string() + ": " + broken.reason));
    }
    return sentences;
}

}  // namespace Korvex::Com
