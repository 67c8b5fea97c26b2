#include "trace/TraceFiles.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include "trace/TraceBackups.h"
#include "trace/TraceText.h"

namespace OpxOpc {
namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kHighestErrorLevel = 3;
constexpr std::uint32_t kErrorLineLimit = 10000;

// A point in time as lines tell it.
struct TimeTexts {
    explicit TimeTexts(const Korvex::Com::ZonedTime& now) {
        const std::chrono::sys_seconds seconds{std::chrono::seconds(now.seconds)};
        const auto midnight = std::chrono::floor<std::chrono::days>(seconds);
        const std::chrono::year_month_day day(midnight);
        const std::chrono::hh_mm_ss clock(seconds - midnight);
        date = fromUtf8(traceText("%04d-%02u-%02u", int(day.year()), unsigned(day.month()), unsigned(day.day())));
        time = fromUtf8(traceText("%02d:%02d:%02d.%03dZ", clock.hours().count(), clock.minutes().count(),
                                  clock.seconds().count(), now.milliseconds));
    }
    OpxString date;
    OpxString time;
};

std::string lineOf(const TimeTexts& now, std::int32_t level, std::string_view message) {
    std::string line = traceText("%ls %ls|%d|%04X* ", now.date, now.time, level, Korvex::Com::currentThreadId());
    line += message;
    line += '\n';
    return line;
}

// So that a later change of the current directory does not part a file from its backups.
fs::path absolutePath(const fs::path& path) {
    return fs::absolute(path);
}

}  // namespace

bool TraceFiles::openTrace(std::uint32_t level, std::uint32_t lineLimit, std::uint32_t backups, const fs::path& path,
                           const OpxString& programName) {
    const Korvex::ScopedLock guard(lock_);
    if (trace_.isOpen()) return false;
    const fs::path file = absolutePath(path);
    errorsAreInTrace_ = errors_.isAt(file);
    if (errorsAreInTrace_) errors_.close();
    const auto moveToBackup = [backups](const fs::path& full) { return moveToNumberedBackup(full, backups); };
    if (!trace_.open({file, programName, lineLimit, moveToBackup}, TimeTexts(clock_()).date)) return false;
    constexpr std::uint32_t highest = std::numeric_limits<std::int32_t>::max();
    level_ = static_cast<std::int32_t>(std::min(level, highest));
    return true;
}

bool TraceFiles::openErrors(const fs::path& path, const OpxString& programName) {
    const Korvex::ScopedLock guard(lock_);
    if (errors_.isOpen() || sharesFile()) return false;
    const fs::path file = absolutePath(path);
    errorsAreInTrace_ = trace_.isAt(file);
    if (errorsAreInTrace_) return true;
    return errors_.open({file, programName, kErrorLineLimit, moveToSingleBackup}, TimeTexts(clock_()).date);
}

void TraceFiles::write(std::int32_t level, std::string_view message) {
    const Korvex::ScopedLock guard(lock_);
    const bool isError = level <= kHighestErrorLevel;
    const bool goesToTrace = trace_.isOpen() && (level <= level_ || (isError && errorsAreInTrace_));
    const bool goesToErrors = errors_.isOpen() && isError;
    if (!goesToTrace && !goesToErrors) return;
    const TimeTexts now(clock_());
    const std::string line = lineOf(now, level, message);
    if (goesToTrace) trace_.writeLine(line, now.date);
    if (goesToErrors) errors_.writeLine(line, now.date);
}

}  // namespace OpxOpc
