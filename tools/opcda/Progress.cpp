#include "Progress.h"

#include <ostream>
#include <utility>

namespace Korvex::Tool {

Progress::Progress(std::ostream& terminal, bool shown, std::string what)
    : terminal_(terminal), shown_(shown), what_(std::move(what)) {}

void Progress::count(std::size_t done) {
    if (!shown_ || Clock::now() < next_) return;
    next_ = Clock::now() + kInterval;
    const std::string line = std::to_string(done) + " " + what_;
    terminal_ << '\r' << line << std::flush;
    written_ = line.size();
}

void Progress::erase() {
    if (written_ == 0) return;
    terminal_ << '\r' << std::string(std::exchange(written_, 0), ' ') << '\r' << std::flush;
}

}  // namespace Korvex::Tool
