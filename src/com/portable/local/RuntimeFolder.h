// The folder in which a user's programs find each other.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "com/portable/local/Descriptor.h"

namespace Korvex::Com {

// Holds a socket for each program, a link to a socket for each class that a running program serves, and lock files.
// It is korvex-opc in /run/user/UID where that is the user's own, else korvex-opc-UID in /tmp, or what
// KORVEX_OPC_RUNTIME names. Session variables are not asked: a login session, cron and a service would disagree.
class RuntimeFolder {
public:
    // Where the system may have room for it.
    struct Places {
        std::filesystem::path usersRuntime;
        std::filesystem::path temporary;
    };
    static Places systemPlaces();

    // Makes the folder where there is none. Throws LocalFailure if it is another user's, or open to others.
    static RuntimeFolder open(const Places& places = systemPlaces());

    int descriptor() const noexcept { return folder_.get(); }
    const std::filesystem::path& path() const noexcept { return path_; }
    // A path of an entry that has room in a socket's address, however long the folder's own is.
    std::string shortPath(const std::string& name) const;

    // A lock among processes and threads, which ends with the descriptor or its process.
    Descriptor lock(const std::string& name) const;
    // Empty where another holds it.
    std::optional<Descriptor> tryLock(const std::string& name) const;
    // The lock that is held for a moment by whoever adds, changes or removes sockets and links.
    Descriptor lockForChange() const { return lock("changes.lock"); }

    // Keeps the system's cleaner of temporary files away while this object lives.
    void keepFromCleaners() const;

private:
    RuntimeFolder(Descriptor folder, std::filesystem::path path);

    Descriptor openLock(const std::string& name) const;

    Descriptor folder_;
    std::filesystem::path path_;
};

}  // namespace Korvex::Com
