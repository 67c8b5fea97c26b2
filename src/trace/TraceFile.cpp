#include "trace/TraceFile.h"

#include <system_error>
#include <utility>

#include "trace/TraceText.h"

namespace OpxOpc {

namespace fs = std::filesystem;

bool TraceFile::open(Settings settings, OpxStringView date) {
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

void TraceFile::writeLine(const std::string& line, OpxStringView date) {
    if (!isOpen()) return;
    // A write that failed, on a full disk say, is no reason not to try the next.
    stream_.clear();
    stream_ << line << std::flush;
    if (++lines_ >= settings_.lineLimit) startAnew(date);
}

void TraceFile::startAnew(OpxStringView date) {
    close();
    settings_.moveToBackup(settings_.path);
    lines_ = 2;
    stream_.clear();
    stream_.open(settings_.path, std::ios::out | std::ios::trunc);
    stream_ << traceText("** %ls: start trace\n", settings_.programName) << traceText("** Date:\t%ls\n**\n", date)
            << std::flush;
}

}  // namespace OpxOpc
