// How far a long job has come, on a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>

namespace Korvex::Tool {

// One line that is written over, and taken away again when this ends. A short job never shows it.
class Progress {
public:
    // Nothing is written unless `shown`.
    Progress(std::ostream& terminal, bool shown, std::string what);
    ~Progress() { erase(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // So many are done.
    void count(std::size_t done);

    // Before anything else is written to the terminal.
    void erase();

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds kInterval{200};

    std::ostream& terminal_;
    const bool shown_;
    const std::string what_;
    Clock::time_point next_ = Clock::now() + kInterval;
    std::size_t written_ = 0;
};

}  // namespace Korvex::Tool
