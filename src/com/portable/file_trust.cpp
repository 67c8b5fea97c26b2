#include "com/portable/file_trust.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

#include <vector>

namespace Korvex::Com {
namespace {

constexpr std::size_t kRoomForEntry = 16384;

// The group that stands in the user's own entry; that of the user's number where there is no entry.
gid_t groupOfUser(uid_t user) {
    std::vector<char> room(kRoomForEntry);
    passwd entry = {};
    passwd* found = nullptr;
    ::getpwuid_r(user, &entry, room.data(), room.size(), &found);
    return found ? found->pw_gid : user;
}

// The administrators of what is installed locally.
bool isStaff(gid_t group) {
    std::vector<char> room(kRoomForEntry);
    ::group entry = {};
    ::group* found = nullptr;
    ::getgrnam_r("staff", &entry, room.data(), room.size(), &found);
    return found && found->gr_gid == group;
}

}  // namespace

bool othersMayChange(const std::filesystem::path& path) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) return false;
    if (status.st_mode & S_IWOTH) return true;
    if ((status.st_mode & S_IWGRP) == 0) return false;
    return status.st_gid != groupOfUser(status.st_uid) && !isStaff(status.st_gid);
}

std::string whyNotTrusted(const std::filesystem::path& file) {
    if (othersMayChange(file)) return "others than its owner may write to it";
    if (othersMayChange(file.parent_path())) return "others than its owner may write to its folder";
    return {};
}

}  // namespace Korvex::Com
