#include "com/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace Korvex::Com {
namespace {

constexpr mode_t kMode = 0640;
// A pipe that nobody reads is no file to wait for.
constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

bool isTrusted(const struct stat& entry) {
    return entry.st_uid == 0 || entry.st_uid == ::geteuid();
}

bool isTrustedLink(const std::filesystem::path& path, struct stat& link) {
    return ::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode) && isTrusted(link);
}

bool isSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_ctim.tv_sec == b.st_ctim.tv_sec &&
           a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

// Who made the file beforehand could read what is written to it.
bool mayBeWritten(int file) {
    struct stat status = {};
    return ::fstat(file, &status) == 0 && (!S_ISREG(status.st_mode) || isTrusted(status));
}

int closed(int file) {
    ::close(file);
    return -1;
}

// The link must not have been exchanged meanwhile.
int openThroughLink(const std::filesystem::path& path) {
    struct stat before = {};
    struct stat after = {};
    if (!isTrustedLink(path, before)) return -1;
    const int file = ::open(path.c_str(), kFlags, kMode);
    if (file < 0) return file;
    return isTrustedLink(path, after) && isSame(before, after) ? file : closed(file);
}

int openTrusted(const std::filesystem::path& path) {
    int file = ::open(path.c_str(), kFlags | O_NOFOLLOW, kMode);
    if (file < 0 && errno == ELOOP) file = openThroughLink(path);
    if (file < 0) return file;
    return mayBeWritten(file) ? file : closed(file);
}

// A pipe that is full for a moment is waited for.
bool waitsForRoom(int file) {
    const int flags = ::fcntl(file, F_GETFL);
    return flags >= 0 && ::fcntl(file, F_SETFL, flags & ~O_NONBLOCK) == 0;
}

}  // namespace

bool OutputFile::open(const std::filesystem::path& path) {
    close();
    int file = openTrusted(path);
    if (file >= 0 && !waitsForRoom(file)) file = closed(file);
    handle_ = file < 0 ? kNone : file;
    return isOpen();
}

void OutputFile::close() noexcept {
    if (isOpen()) ::close(static_cast<int>(handle_));
    handle_ = kNone;
}

void OutputFile::write(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(static_cast<int>(handle_), text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace Korvex::Com
