#include "com/portable/local/RuntimeFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "com/portable/environment.h"
#include "com/portable/local/LocalFailure.h"

namespace Korvex::Com {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFolderVariable = "KORVEX_OPC_RUNTIME";
constexpr mode_t kRights = S_IRWXU | S_IRWXG | S_IRWXO;

bool isUsersAlone(const struct stat& status) {
    return S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() && (status.st_mode & kRights) == S_IRWXU;
}

bool isUsersAlone(const fs::path& folder) {
    struct stat status = {};
    return ::lstat(folder.c_str(), &status) == 0 && isUsersAlone(status);
}

fs::path placeOf(const RuntimeFolder::Places& places) {
    if (const auto named = trustedVariable(kFolderVariable); named && !named->empty()) return *named;
    if (isUsersAlone(places.usersRuntime)) return places.usersRuntime / "korvex-opc";
    return places.temporary / ("korvex-opc-" + std::to_string(::geteuid()));
}

Descriptor openFolder(const fs::path& path) {
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) throw systemFailure(E_ACCESSDENIED, path.string());
    Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) throw systemFailure(E_ACCESSDENIED, path.string());
    struct stat status = {};
    if (::fstat(folder.get(), &status) != 0 || !isUsersAlone(status))
        throw LocalFailure(E_ACCESSDENIED, path.string() + ": others than this user may use this folder");
    return folder;
}

// Returns whether the lock is held now.
bool takeLock(const Descriptor& file, int operation) {
    while (::flock(file.get(), operation) != 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

}  // namespace

RuntimeFolder::Places RuntimeFolder::systemPlaces() {
    return {"/run/user/" + std::to_string(::geteuid()), "/tmp"};
}

RuntimeFolder RuntimeFolder::open(const Places& places) {
    fs::path path = placeOf(places);
    Descriptor folder = openFolder(path);
    return RuntimeFolder(std::move(folder), std::move(path));
}

RuntimeFolder::RuntimeFolder(Descriptor folder, fs::path path) : folder_(std::move(folder)), path_(std::move(path)) {}

std::string RuntimeFolder::shortPath(const std::string& name) const {
    return "/proc/self/fd/" + std::to_string(descriptor()) + "/" + name;
}

Descriptor RuntimeFolder::openLock(const std::string& name) const {
    Descriptor file(::openat(descriptor(), name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file) throw systemFailure(E_ACCESSDENIED, (path_ / name).string());
    return file;
}

Descriptor RuntimeFolder::lock(const std::string& name) const {
    Descriptor file = openLock(name);
    if (!takeLock(file, LOCK_EX)) throw systemFailure(E_FAIL, (path_ / name).string());
    return file;
}

std::optional<Descriptor> RuntimeFolder::tryLock(const std::string& name) const {
    Descriptor file = openLock(name);
    if (takeLock(file, LOCK_EX | LOCK_NB)) return file;
    if (errno != EWOULDBLOCK) throw systemFailure(E_FAIL, (path_ / name).string());
    return std::nullopt;
}

void RuntimeFolder::keepFromCleaners() const {
    takeLock(folder_, LOCK_SH | LOCK_NB);  // cleaners leave out what is in a locked folder
}

}  // namespace Korvex::Com
