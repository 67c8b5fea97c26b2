// Text of servers that people read in a terminal or a file of lines.
#pragma once

#include <string>
#include <string_view>

namespace Korvex::Com {

// UTF-8 text in which nothing moves a cursor, ends a line or turns the direction of reading: control characters,
// line separators and bidirectional controls appear as "\u001B". Everything else stays as it is.
std::string visibleText(std::string_view utf8);

}  // namespace Korvex::Com
