#include "tests/support/TraceCapture.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "com/platform.h"
#include "trace/LibT.h"

namespace Korvex::Testing {
namespace {

// One file a process; it is removed when the process ends, where the system lets an open file go.
class TraceFile {
public:
    TraceFile() {
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        path_ = std::filesystem::temp_directory_path() /
                ("korvex-test-" + std::to_string(stamp) + "-" + std::to_string(Com::currentThreadId()) + ".log");
        constexpr std::uint32_t kNoLimit = 0x7FFFFFFF;
        const auto opened =
            OpxOpc::LibT::initTrace(OpxOpc::LibT::kDetail, kNoLimit, 1, fromUtf8(path_.string()), OLESTR("test"));
        if (opened != 0) throw std::runtime_error("the trace is in use");
        OpxOpc::LibT::setTraceActive(true);
    }
    ~TraceFile() {
        OpxOpc::LibT::setTraceActive(false);
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    std::string contentFrom(std::size_t start) const {
        std::ifstream file(path_, std::ios::binary);
        file.seekg(static_cast<std::streamoff>(start));
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    std::size_t size() const { return static_cast<std::size_t>(std::filesystem::file_size(path_)); }

private:
    std::filesystem::path path_;
};

TraceFile& traceFile() {
    static TraceFile file;
    return file;
}

// "2024-05-01 12:34:56.789Z|6|0A3C* text"
bool parse(const std::string& line, TraceLine& out) {
    const auto level = line.find('|');
    if (level == std::string::npos || line.size() < level + 3 || line[level + 2] != '|') return false;
    const auto text = line.find("* ", level);
    if (text == std::string::npos) return false;
    out.level = line[level + 1] - '0';
    out.text = line.substr(text + 2);
    return true;
}

}  // namespace

TraceCapture::TraceCapture() {
    clear();
}

void TraceCapture::clear() {
    start_ = traceFile().size();
}

std::vector<TraceLine> TraceCapture::lines() const {
    std::vector<TraceLine> found;
    const std::string content = traceFile().contentFrom(start_);
    for (std::size_t begin = 0; begin < content.size();) {
        auto end = content.find('\n', begin);
        if (end == std::string::npos) end = content.size();
        std::string line = content.substr(begin, end - begin);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        TraceLine parsed;
        if (parse(line, parsed)) found.push_back(std::move(parsed));
        begin = end + 1;
    }
    return found;
}

std::vector<std::string> TraceCapture::texts() const {
    return textsWith("");
}

std::vector<std::string> TraceCapture::textsWith(const std::string& part) const {
    std::vector<std::string> found;
    for (TraceLine& line : lines()) {
        if (line.text.find(part) != std::string::npos) found.push_back(std::move(line.text));
    }
    return found;
}

std::size_t TraceCapture::count(const std::string& text) const {
    std::size_t found = 0;
    for (const TraceLine& line : lines()) found += line.text == text ? 1U : 0U;
    return found;
}

bool TraceCapture::hasInOrder(const std::vector<std::string>& wanted) const {
    std::size_t next = 0;
    for (const TraceLine& line : lines()) {
        if (next < wanted.size() && line.text == wanted[next]) ++next;
    }
    return next == wanted.size();
}

std::string TraceCapture::dump() const {
    std::string all;
    for (const std::string& text : texts()) all += text + "\n";
    return all;
}

TraceOff::TraceOff() {
    OpxOpc::LibT::setTraceActive(false);
}

TraceOff::~TraceOff() {
    OpxOpc::LibT::setTraceActive(true);
}

}  // namespace Korvex::Testing
