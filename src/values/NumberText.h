// Numbers as text and text as numbers, the same on every platform and in every locale.
#pragma once

#include <cstdint>

#include <korvex/text.h>

namespace OpxOpc {

// The number at the start of a text. Leading white space and one sign are accepted; a text
// without a digit is 0 with nothing consumed.
template <typename T>
struct ParsedNumber {
    T value = 0;
    std::size_t consumed = 0;  // characters that belong to the number, leading white space included
    bool outOfRange = false;   // the digits name a number that T cannot hold; `value` is then 0
};

ParsedNumber<std::int32_t> parseInt32(OpxStringView text) noexcept;
ParsedNumber<std::int64_t> parseInt64(OpxStringView text) noexcept;

// A minus sign wraps the value around: "-1" is 4294967295.
ParsedNumber<std::uint32_t> parseUInt32(OpxStringView text) noexcept;

// Decimal digits with "." and an exponent. No hexadecimal form, no names for infinity and not-a-number.
// A number too large for a double, or too close to 0 to differ from it, is out of range.
ParsedNumber<double> parseDouble(OpxStringView text);

OpxString integerText(std::int64_t value);
OpxString unsignedText(std::uint64_t value);

// With zeros in front up to `width` digits; `value` is not negative.
OpxString paddedText(std::int64_t value, std::size_t width);

// At most `digits` significant digits without trailing zeros, with an exponent of at least two digits
// where the number calls for one: 0.1, 1e+20, 1.5e-07. Not-a-number is "nan", infinities "inf", "-inf".
OpxString realText(double value, int digits);

constexpr bool isDecimalDigit(OLECHAR c) noexcept {
    return c >= OLECHAR('0') && c <= OLECHAR('9');
}

}  // namespace OpxOpc
