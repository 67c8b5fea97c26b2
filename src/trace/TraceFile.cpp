#include "trace/TraceFile.h"

#include <system_error>
#include <utility>

#include "trace/TraceText.h"

namespace OpxOpc {

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t kHeaderLines = 2;  // as they count

}  // namespace

bool TraceFile::open(Settings settings, OpxStringView date) {
    settings_ = std::move(settings);
    settings_.moveToBackup(settings_.path);
    create(date);
    return isOpen();
}

bool TraceFile::isAt(const fs::path& path) const {
    if (!isOpen()) return false;
    std::error_code unknown;
    return path == settings_.path || fs::equivalent(path, settings_.path, unknown);
}

void TraceFile::writeLine(const std::string& line, OpxStringView date) {
    if (!isOpen()) return;
    file_.write(line);
    if (++lines_ < settings_.lineLimit) return;
    lines_ = kHeaderLines;
    if (settings_.moveToBackup(settings_.path)) create(date);
}

void TraceFile::create(OpxStringView date) {
    lines_ = kHeaderLines;
    if (!file_.open(settings_.path)) return;
    file_.write(traceText("** %ls: start trace\n", settings_.programName) + traceText("** Date:\t%ls\n**\n", date));
}

}  // namespace OpxOpc
