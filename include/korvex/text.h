// UTF-16 text, the form in which every name, identifier and message crosses this library.
#pragma once

#include <cstdint>
#include <cwchar>
#include <string>
#include <string_view>
#include <type_traits>

/// One UTF-16 code unit: wchar_t where that is 16 bits wide, as COM has it, else char16_t.
using OLECHAR = std::conditional_t<sizeof(wchar_t) == sizeof(char16_t), wchar_t, char16_t>;

/// A UTF-16 literal: OLESTR("text").
#ifndef OLESTR
#if WCHAR_MAX > 0xFFFF
#define OLESTR(text) u##text
#else
#define OLESTR(text) L##text
#endif
#endif

namespace Korvex {

/// Owned UTF-16 text.
using OpxString = std::basic_string<OLECHAR>;

/// Borrowed UTF-16 text.
using OpxStringView = std::basic_string_view<OLECHAR>;

/// Returns `text` as UTF-8. A surrogate without its partner becomes U+FFFD.
std::string toUtf8(OpxStringView text);

/// Returns the UTF-8 `text` as UTF-16. A malformed sequence becomes U+FFFD.
OpxString fromUtf8(std::string_view text);

namespace detail {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

inline void appendUtf8(std::string& out, char32_t c) {
    const auto push = [&out](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (c < 0x80) {
        push(c);
    } else if (c < 0x800) {
        push(0xC0 | (c >> 6));
        push(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        push(0xE0 | (c >> 12));
        push(0x80 | ((c >> 6) & 0x3F));
        push(0x80 | (c & 0x3F));
    } else {
        push(0xF0 | (c >> 18));
        push(0x80 | ((c >> 12) & 0x3F));
        push(0x80 | ((c >> 6) & 0x3F));
        push(0x80 | (c & 0x3F));
    }
}

inline void appendUtf16(OpxString& out, char32_t c) {
    if (c < 0x10000) {
        out.push_back(static_cast<OLECHAR>(c));
        return;
    }
    c -= 0x10000;
    out.push_back(static_cast<OLECHAR>(0xD800 + (c >> 10)));
    out.push_back(static_cast<OLECHAR>(0xDC00 + (c & 0x3FF)));
}

/// Takes one code point off the front of `text`.
inline char32_t takeUtf16(OpxStringView& text) {
    const auto first = static_cast<char16_t>(text.front());
    text.remove_prefix(1);
    if (first < 0xD800 || first > 0xDFFF) return first;
    if (first > 0xDBFF || text.empty()) return kReplacementCharacter;
    const auto second = static_cast<char16_t>(text.front());
    if (second < 0xDC00 || second > 0xDFFF) return kReplacementCharacter;
    text.remove_prefix(1);
    return 0x10000 + ((static_cast<char32_t>(first) - 0xD800) << 10) + (second - 0xDC00);
}

/// Takes one code point off the front of `text`; an ill-formed byte costs that byte alone.
inline char32_t takeUtf8(std::string_view& text) {
    const auto lead = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    if (lead < 0x80) return lead;
    const std::size_t trailing = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < trailing) return kReplacementCharacter;
    char32_t c = lead & (0x3F >> trailing);
    for (std::size_t i = 0; i < trailing; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80) return kReplacementCharacter;
        c = (c << 6) | (next & 0x3F);
    }
    const bool overlong = (trailing == 2 && c < 0x800) || (trailing == 3 && c < 0x10000);
    if (overlong || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return kReplacementCharacter;
    text.remove_prefix(trailing);
    return c;
}

}  // namespace detail

inline std::string toUtf8(OpxStringView text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) detail::appendUtf8(out, detail::takeUtf16(text));
    return out;
}

inline OpxString fromUtf8(std::string_view text) {
    OpxString out;
    out.reserve(text.size());
    while (!text.empty()) detail::appendUtf16(out, detail::takeUtf8(text));
    return out;
}

}  // namespace Korvex

/// The native classes use them under their own namespace.
namespace OpxOpc {

using Korvex::fromUtf8;
using Korvex::OpxString;
using Korvex::OpxStringView;
using Korvex::toUtf8;

}  // namespace OpxOpc
