// What the tests and their program say to each other.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "com/platform.h"
#include "com/portable/local/ClassDirectory.h"
#include "com/portable/local/LocalFailure.h"
#include "com/portable/local/LocalListener.h"
#include "tests/com/TestObject.h"

namespace Korvex::Testing {

namespace fs = std::filesystem;

// In the runtime folder: the number of each process that COM started, in lines.
inline constexpr const char* kStarts = "starts";

// A text and, before it, its size.
inline void send(Com::LocalSocket& to, std::string text) {
    std::uint64_t size = text.size();
    const std::array<iovec, 2> parts = {{{&size, sizeof size}, {text.data(), text.size()}}};
    to.write(parts, Com::Deadline::never());
}

// Empty where the connection ends.
inline std::string receive(Com::LocalSocket& from) {
    std::uint64_t size = 0;
    if (from.read(std::as_writable_bytes(std::span(&size, 1)), Com::Deadline::never()) !=
        Com::LocalSocket::Result::done)
        return {};
    std::string text(size, '\0');
    from.read(std::as_writable_bytes(std::span(text)), Com::Deadline::never());
    return text;
}

// The lines of a file that begin so.
inline std::string linesOf(const fs::path& path, const std::string& beginning) {
    std::ifstream file(path);
    std::string found;
    for (std::string line; std::getline(file, line);) {
        if (line.find(beginning) == 0) found += line + "\n";
    }
    return found;
}

}  // namespace Korvex::Testing
