#include "trace/TraceText.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "com/visible_text.h"

namespace OpxOpc {
namespace {

using detail::TraceConversion;

// Room for the longest real number in fixed notation.
constexpr std::size_t kLongestNumber = 400;

bool isInsideCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// A text that is no UTF-8 at all is cut near the limit as well.
void cutUtf8(std::string& text, std::size_t limit) {
    if (text.size() <= limit) return;
    constexpr std::size_t longestCharacter = 4;
    std::size_t end = limit;
    while (end + longestCharacter > limit && isInsideCharacter(text[end])) --end;
    text.resize(end);
}

std::string_view untilZero(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

std::string wideText(OpxStringView text) {
    std::string out;
    while (!text.empty() && text.front() != 0 && out.size() < kLongestTraceText) {
        Korvex::detail::appendUtf8(out, Korvex::detail::takeUtf16(text));
    }
    return out;
}

std::string integerText(std::int64_t value, char letter) {
    char digits[16];
    const auto bits = static_cast<std::uint32_t>(value);
    const bool isHexadecimal = letter == 'x' || letter == 'X';
    const auto end = letter == 'd' ? std::to_chars(digits, std::end(digits), static_cast<std::int32_t>(bits))
                                   : std::to_chars(digits, std::end(digits), bits, isHexadecimal ? 16 : 10);
    std::string text(digits, end.ptr);
    if (letter == 'X') {
        for (char& c : text) {
            if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return text;
}

std::string realText(double value, char letter) {
    if (std::isnan(value)) return "nan";
    char digits[kLongestNumber];
    const auto format = letter == 'f' ? std::chars_format::fixed : std::chars_format::general;
    return std::string(digits, std::to_chars(digits, std::end(digits), value, format, 6).ptr);
}

std::string filled(std::string text, const TraceConversion& conversion) {
    if (text.size() >= conversion.width) return text;
    const bool zeros = conversion.zeros && conversion.letter != 's';
    const bool isNegative = zeros && text.front() == '-';
    text.insert(isNegative ? 1 : 0, conversion.width - text.size(), zeros ? '0' : ' ');
    return text;
}

std::string converted(const TraceConversion& conversion, const TraceArgument& arg) {
    switch (arg.kind()) {
        case TraceArgument::Kind::kWide:
            return Korvex::Com::visibleText(wideText(arg.wide()));
        case TraceArgument::Kind::kNarrow:
            return Korvex::Com::visibleText(untilZero(arg.narrow().substr(0, kLongestTraceText)));
        case TraceArgument::Kind::kInteger:
            return integerText(arg.integer(), conversion.letter);
        case TraceArgument::Kind::kReal:
            return realText(arg.real(), conversion.letter);
        case TraceArgument::Kind::kNone:
            break;
    }
    return std::string();
}

}  // namespace

std::string traceText(const char* format, const TraceArgument* args, std::size_t count) {
    std::string out;
    const TraceArgument* const end = args + count;
    while (const char* percent = std::strchr(format, '%')) {
        out.append(format, percent);
        format = percent + 1;
        if (*format == '%') {
            out.push_back(*format++);
            continue;
        }
        const TraceConversion conversion = detail::takeConversion(format);
        if (args != end) out += filled(converted(conversion, *args++), conversion);
    }
    out += format;
    cutUtf8(out, kLongestTraceText);
    return out;
}

}  // namespace OpxOpc
