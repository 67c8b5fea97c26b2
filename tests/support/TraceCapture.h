// The lines that the library traces while a test runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Korvex::Testing {

struct TraceLine {
    std::int32_t level;
    std::string text;  // without date, level and thread
};

// Sees the lines of all levels written by all threads from its construction on. The process's trace is
// opened by the first capture and stays open. Not to be used by a test of the trace itself.
class TraceCapture {
public:
    TraceCapture();

    // Forgets the lines so far.
    void clear();

    std::vector<TraceLine> lines() const;
    std::vector<std::string> texts() const;

    // The texts, in their order, that hold `part`.
    std::vector<std::string> textsWith(const std::string& part) const;

    bool has(const std::string& text) const { return count(text) > 0; }
    std::size_t count(const std::string& text) const;

    // Whether `wanted` appear in this order, with any lines between them.
    bool hasInOrder(const std::vector<std::string>& wanted) const;

    // All lines in one text, for a failed test's message.
    std::string dump() const;

private:
    std::size_t start_ = 0;
};

// No trace while it lives: a test of a hundred thousand calls is not to keep their lines.
class TraceOff {
public:
    TraceOff();
    ~TraceOff();
    TraceOff(const TraceOff&) = delete;
    TraceOff& operator=(const TraceOff&) = delete;
};

}  // namespace Korvex::Testing
