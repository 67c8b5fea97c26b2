#include "trace/LibT.h"

#include <atomic>

#include "trace/TraceFiles.h"
#include "trace/TraceText.h"

namespace OpxOpc {
namespace {

std::atomic<bool> traceActive{false};

// Never destroyed: objects that live as long as the process trace their end.
TraceFiles& traceFiles() {
    static TraceFiles& files = *new TraceFiles;
    return files;
}

// `action` opens a file. Whatever goes wrong is a file that is not there.
template <typename Action>
std::int32_t opened(Action action) noexcept {
    try {
        return action() ? 0 : -1;
    } catch (...) {
        return -1;
    }
}

}  // namespace

void LibT::setTraceActive(bool active) noexcept {
    traceActive = active;
}

bool LibT::isTraceActive() noexcept {
    return traceActive.load(std::memory_order_relaxed);
}

std::int32_t LibT::level() noexcept {
    return traceFiles().level();
}

bool LibT::wanted(Level level) noexcept {
    return level < kInterfaceCall || level <= traceFiles().level();
}

std::int32_t LibT::initTrace(std::uint32_t level, std::uint32_t lineLimit, std::uint32_t backups, const OpxString& file,
                             const OpxString& programName) noexcept {
    return opened([&] { return traceFiles().openTrace(level, lineLimit, backups, file, programName); });
}

std::int32_t LibT::initErrorTrace(const OpxString& file, const OpxString& programName) noexcept {
    return opened([&] { return traceFiles().openErrors(file, programName); });
}

void LibT::write(Level level, const char* format, const TraceArgument* args, std::size_t count) noexcept {
    try {
        traceFiles().write(level, traceText(format, args, count));
    } catch (...) {
        // Out of memory, say: the line is lost, and its caller goes on.
    }
}

}  // namespace OpxOpc
