// The two files that a process traces to.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string_view>

#include "com/Mutex.h"
#include "com/platform.h"
#include "trace/TraceFile.h"

namespace OpxOpc {

// The trace file takes lines up to a level, the error file those of levels 1 to 3. One lock
// serialises everything; any thread may call any function.
class TraceFiles {
public:
    using Clock = Korvex::Com::ZonedTime (*)();

    explicit TraceFiles(Clock clock = Korvex::Com::currentTime) : clock_(clock) {}

    // Both are false, and change nothing, if that file is open already; false as well if it cannot be
    // created.
    bool openTrace(std::uint32_t level, std::uint32_t lineLimit, std::uint32_t backups,
                   const std::filesystem::path& path, const OpxString& programName);
    bool openErrors(const std::filesystem::path& path, const OpxString& programName);

    // The highest level that the trace file takes; 0 before it is opened.
    std::int32_t level() const noexcept { return level_; }

    void write(std::int32_t level, std::string_view message);

private:
    bool sharesFile() const REQUIRES(lock_) { return errorsAreInTrace_ && trace_.isOpen(); }

    const Clock clock_;
    Korvex::Mutex lock_;
    std::atomic<std::int32_t> level_{0};
    TraceFile trace_ GUARDED_BY(lock_);
    TraceFile errors_ GUARDED_BY(lock_);
    bool errorsAreInTrace_ GUARDED_BY(lock_) = false;
};

}  // namespace OpxOpc
