#include "trace/TraceFile.h"

#include <system_error>
#include <utility>

namespace OpxOpc {

namespace fs = std::filesystem;

bool TraceFile::open(Settings settings, std::string_view date) {
    settings_ = std::move(settings);
    startAnew(date);
    return isOpen();
}

void TraceFile::close() {
    if (isOpen()) stream_.close();
}

bool TraceFile::isAt(const fs::path& path) const {
    if (!isOpen()) return false;
    std::error_code unknown;
    return path == settings_.path || fs::equivalent(path, settings_.path, unknown);
}

void TraceFile::writeLine(const std::string& line, std::string_view date) {
    if (!isOpen()) return;
    // A write that failed, on a full disk say, is no reason not to try the next.
    stream_.clear();
    stream_ << line << std::flush;
    if (++lines_ >= settings_.lineLimit) startAnew(date);
}

void TraceFile::startAnew(std::string_view date) {
    close();
    settings_.moveToBackup(settings_.path);
    lines_ = 2;
    stream_.clear();
    stream_.open(settings_.path, std::ios::out | std::ios::trunc);
    stream_ << "** " << settings_.programName << ": start trace\n** Date:\t" << date << "\n**\n" << std::flush;
}

}  // namespace OpxOpc
