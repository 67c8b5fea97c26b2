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

bool isTrustedLink(const std::filesystem::path& path) {
    struct stat link = {};
    if (::lstat(path.c_str(), &link) != 0) return false;
    return S_ISLNK(link.st_mode) && (link.st_uid == 0 || link.st_uid == ::geteuid());
}

}  // namespace

bool OutputFile::open(const std::filesystem::path& path) {
    close();
    int file = ::open(path.c_str(), kFlags | O_NOFOLLOW, kMode);
    if (file < 0 && errno == ELOOP && isTrustedLink(path)) file = ::open(path.c_str(), kFlags, kMode);
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
