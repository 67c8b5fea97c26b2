// A text file that lines are appended to, while others may read, move and remove it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace Korvex::Com {

// Where the system has modes, others than owner and group may not read it, and a file or a link in its place counts
// only if it is the superuser's or the process's own.
class OutputFile {
public:
    OutputFile() = default;
    ~OutputFile() { close(); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Instead of the one that is open. A file that exists keeps what it holds; false if there is none and none can be
    // created.
    bool open(const std::filesystem::path& path);
    bool isOpen() const noexcept { return handle_ != kNone; }
    void close() noexcept;

    // Appends; whatever cannot be written is lost. A line feed is written as the system's end of a line.
    void write(std::string_view text);

private:
    static constexpr std::intptr_t kNone = -1;
    std::intptr_t handle_ = kNone;
};

}  // namespace Korvex::Com
