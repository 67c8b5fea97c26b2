// Reads a text from its front, as the parsers of numbers and dates need it.
#pragma once

#include <korvex/text.h>

#include "com/ascii_case.h"

namespace Korvex::Com {

constexpr bool isBlank(OLECHAR c) noexcept {
    return c == u' ' || (c >= u'\t' && c <= u'\r') || c == u'\u00A0' || (c >= u'\u2000' && c <= u'\u200A') ||
           c == u'\u3000';
}
constexpr bool isDigit(OLECHAR c) noexcept {
    return c >= u'0' && c <= u'9';
}

class TextReader {
public:
    explicit constexpr TextReader(OpxStringView text) noexcept : rest_(text) {}

    constexpr bool atEnd() const noexcept { return rest_.empty(); }
    // The next character, 0 at the end.
    constexpr OLECHAR peek() const noexcept { return rest_.empty() ? OLECHAR() : rest_.front(); }
    constexpr OpxStringView rest() const noexcept { return rest_; }

    constexpr OLECHAR take() noexcept {
        const OLECHAR c = rest_.front();
        rest_.remove_prefix(1);
        return c;
    }
    constexpr bool take(OLECHAR c) noexcept {
        if (rest_.empty() || rest_.front() != c) return false;
        rest_.remove_prefix(1);
        return true;
    }
    // Takes `word` whatever the case of its letters.
    constexpr bool takeWord(OpxStringView word) noexcept {
        if (!equalsIgnoringCase(rest_.substr(0, word.size()), word)) return false;
        rest_.remove_prefix(word.size());
        return true;
    }
    constexpr void skipBlanks() noexcept {
        while (!rest_.empty() && isBlank(rest_.front())) rest_.remove_prefix(1);
    }

private:
    OpxStringView rest_;
};

}  // namespace Korvex::Com
