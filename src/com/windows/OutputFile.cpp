#include "com/OutputFile.h"

#include <string>

#include "com/com.h"

namespace Korvex::Com {
namespace {

HANDLE handleOf(std::intptr_t value) {
    return reinterpret_cast<HANDLE>(value);
}

}  // namespace

bool OutputFile::open(const std::filesystem::path& path) {
    close();
    constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = ::CreateFileW(path.c_str(), FILE_APPEND_DATA | SYNCHRONIZE, kShared, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    handle_ = file == INVALID_HANDLE_VALUE ? kNone : reinterpret_cast<std::intptr_t>(file);
    return isOpen();
}

void OutputFile::close() noexcept {
    if (isOpen()) ::CloseHandle(handleOf(handle_));
    handle_ = kNone;
}

void OutputFile::write(std::string_view text) {
    std::string lines;
    for (const char c : text) {
        if (c == '\n') lines.push_back('\r');
        lines.push_back(c);
    }
    DWORD written = 0;
    ::WriteFile(handleOf(handle_), lines.data(), static_cast<DWORD>(lines.size()), &written, nullptr);
}

}  // namespace Korvex::Com
