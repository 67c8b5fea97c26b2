#include "com/visible_text.h"

#include <cstddef>

namespace Korvex::Com {
namespace {

unsigned byteAt(std::string_view text, std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
}

bool isInvisible(unsigned character) {
    const auto between = [character](unsigned first, unsigned last) { return character >= first && character <= last; };
    return character < 0x20 || between(0x7F, 0x9F) || character == 0x061C || between(0x200E, 0x200F) ||
           between(0x2028, 0x202E) || between(0x2066, 0x2069);
}

// The character that `text` begins with and its length, as far as it may be one to escape: all of those have one to
// three bytes. Any other byte stands for itself.
struct Start {
    unsigned character;
    std::size_t length;
};

Start startOf(std::string_view text) {
    constexpr unsigned kNone = 0xFFFD;
    const unsigned first = byteAt(text, 0);
    const unsigned second = byteAt(text, 1);
    const unsigned third = byteAt(text, 2);
    const auto continues = [](unsigned byte) { return (byte & 0xC0) == 0x80; };
    if (first < 0x80) return {first, 1};
    if ((first & 0xE0) == 0xC0 && continues(second)) return {(first & 0x1F) << 6 | (second & 0x3F), 2};
    if ((first & 0xF0) == 0xE0 && continues(second) && continues(third)) {
        return {(first & 0x0F) << 12 | (second & 0x3F) << 6 | (third & 0x3F), 3};
    }
    return {kNone, 1};
}

void appendEscaped(std::string& out, unsigned character) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) out.push_back(kDigits[character >> shift & 0xF]);
}

}  // namespace

std::string visibleText(std::string_view utf8) {
    std::string out;
    out.reserve(utf8.size());
    while (!utf8.empty()) {
        const Start start = startOf(utf8);
        if (isInvisible(start.character))
            appendEscaped(out, start.character);
        else
            out += utf8.substr(0, start.length);
        utf8.remove_prefix(start.length);
    }
    return out;
}

}  // namespace Korvex::Com
