#include "columns.h"

#include <algorithm>

namespace Korvex::Tool {

std::size_t width(const std::string& utf8) {
    return static_cast<std::size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string padded(const std::string& cell, std::size_t columns) {
    return cell + std::string(columns - std::min(columns, width(cell)), ' ');
}

}  // namespace Korvex::Tool
