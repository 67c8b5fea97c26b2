// Text in columns of a terminal.
#pragma once

#include <cstddef>
#include <string>

namespace Korvex::Tool {

inline constexpr const char* kColumnGap = "  ";

// Code points, which for what this tool prints is as good as columns.
std::size_t width(const std::string& utf8);

// `cell` with blanks behind it, where it is shorter than that.
std::string padded(const std::string& cell, std::size_t columns);

}  // namespace Korvex::Tool
