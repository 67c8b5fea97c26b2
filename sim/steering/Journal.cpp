#include "sim/steering/Journal.h"

#include <string_view>
#include <utility>

namespace Korvex::Simulation {
namespace {

// A server that runs for days keeps what a test or a person may still look at.
constexpr std::size_t kMaximumEntries = 100'000;

constexpr std::string_view kRunning = " -> running";

}  // namespace

std::string hexText(std::uint32_t code) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) text += kDigits[(code >> shift) & 0xF];
    return text;
}

std::uint64_t Journal::begin(std::string call) {
    return append(std::move(call.append(kRunning)));
}

void Journal::finish(std::uint64_t entry, HRESULT result) {
    const ScopedLock lock(mutex_);
    if (entries_.empty() || entry < entries_.front().number) return;
    std::string& line = entries_[static_cast<std::size_t>(entry - entries_.front().number)].line;
    line.replace(line.size() - kRunning.size(), kRunning.size(), std::string(" -> ").append(hexText(result)));
}

void Journal::note(std::string event) {
    append(std::move(event));
}

std::string Journal::text() const {
    const ScopedLock lock(mutex_);
    std::string text;
    for (const Entry& entry : entries_) text.append(entry.line).append("\n");
    return text;
}

void Journal::clear() {
    const ScopedLock lock(mutex_);
    entries_.clear();
}

std::uint64_t Journal::append(std::string line) {
    const ScopedLock lock(mutex_);
    entries_.push_back({next_, std::move(line)});
    if (entries_.size() > kMaximumEntries) entries_.pop_front();
    return next_++;
}

}  // namespace Korvex::Simulation
