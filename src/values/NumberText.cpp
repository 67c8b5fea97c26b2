#include "values/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace OpxOpc {
namespace {

constexpr bool isSpace(OLECHAR c) noexcept {
    return c == OLECHAR(' ') || (c >= OLECHAR('\t') && c <= OLECHAR('\r'));
}

constexpr bool isSign(OLECHAR c) noexcept {
    return c == OLECHAR('+') || c == OLECHAR('-');
}

// Walks over the parts of a number.
class NumberScanner {
public:
    explicit NumberScanner(OpxStringView text) noexcept : text_(text) {}

    std::size_t position() const noexcept { return position_; }

    void skipSpace() noexcept {
        while (position_ < text_.size() && isSpace(text_[position_])) ++position_;
    }

    // Takes an optional sign; true for a minus.
    bool takeSign() noexcept {
        if (position_ == text_.size() || !isSign(text_[position_])) return false;
        return text_[position_++] == OLECHAR('-');
    }

    bool take(OLECHAR wanted) noexcept {
        if (position_ == text_.size() || text_[position_] != wanted) return false;
        ++position_;
        return true;
    }

    OpxStringView takeDigits() noexcept {
        const std::size_t start = position_;
        while (position_ < text_.size() && isDecimalDigit(text_[position_])) ++position_;
        return text_.substr(start, position_ - start);
    }

    // "e" with digits; an "e" without them does not belong to the number.
    void takeExponent() noexcept {
        const std::size_t start = position_;
        if (!take(OLECHAR('e')) && !take(OLECHAR('E'))) return;
        takeSign();
        if (takeDigits().empty()) position_ = start;
    }

private:
    OpxStringView text_;
    std::size_t position_ = 0;
};

struct Magnitude {
    std::uint64_t value;
    bool exceedsLimit;
};

Magnitude magnitudeOf(OpxStringView digits, std::uint64_t limit) noexcept {
    std::uint64_t value = 0;
    for (const OLECHAR c : digits) {
        const auto digit = static_cast<std::uint64_t>(c - OLECHAR('0'));
        if (value > (limit - digit) / 10) return {0, true};
        value = value * 10 + digit;
    }
    return {value, false};
}

template <typename T>
ParsedNumber<T> parseInteger(OpxStringView text) noexcept {
    NumberScanner scanner(text);
    scanner.skipSpace();
    const bool negative = scanner.takeSign();
    const OpxStringView digits = scanner.takeDigits();
    if (digits.empty()) return {};

    // A signed type reaches one further below 0 than above.
    const std::uint64_t reach = std::is_signed_v<T> && negative ? 1 : 0;
    const Magnitude magnitude = magnitudeOf(digits, std::uint64_t{std::numeric_limits<T>::max()} + reach);
    const std::uint64_t wrapped = negative ? std::uint64_t{0} - magnitude.value : magnitude.value;
    return {static_cast<T>(wrapped), scanner.position(), magnitude.exceedsLimit};
}

bool hasNonZeroDigit(std::string_view mantissa) noexcept {
    return std::any_of(mantissa.begin(), mantissa.end(), [](char c) { return c >= '1' && c <= '9'; });
}

OpxString widen(const char* first, const char* last) {
    return OpxString(first, last);
}

template <typename T>
OpxString wholeNumberText(T value) {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value);
    return widen(buffer, end.ptr);
}

}  // namespace

ParsedNumber<std::int32_t> parseInt32(OpxStringView text) noexcept {
    return parseInteger<std::int32_t>(text);
}
ParsedNumber<std::int64_t> parseInt64(OpxStringView text) noexcept {
    return parseInteger<std::int64_t>(text);
}
ParsedNumber<std::uint32_t> parseUInt32(OpxStringView text) noexcept {
    return parseInteger<std::uint32_t>(text);
}

ParsedNumber<double> parseDouble(OpxStringView text) {
    NumberScanner scanner(text);
    scanner.skipSpace();
    const bool negative = scanner.takeSign();
    const std::size_t start = scanner.position();
    const bool whole = !scanner.takeDigits().empty();
    const bool fraction = scanner.take(OLECHAR('.')) && !scanner.takeDigits().empty();
    if (!whole && !fraction) return {};
    const std::size_t mantissaLength = scanner.position() - start;
    scanner.takeExponent();

    // Only ASCII characters were taken, so that narrowing keeps them.
    std::string number;
    for (const OLECHAR c : text.substr(start, scanner.position() - start)) number.push_back(static_cast<char>(c));
    double value = 0;
    const auto parsed = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool underflow = value == 0 && hasNonZeroDigit(std::string_view(number).substr(0, mantissaLength));
    if (parsed.ec != std::errc() || std::isinf(value) || underflow) return {0, scanner.position(), true};
    return {negative ? -value : value, scanner.position(), false};
}

OpxString integerText(std::int64_t value) {
    return wholeNumberText(value);
}
OpxString unsignedText(std::uint64_t value) {
    return wholeNumberText(value);
}

OpxString paddedText(std::int64_t value, std::size_t width) {
    OpxString digits = integerText(value);
    if (digits.size() < width) digits.insert(0, width - digits.size(), OLECHAR('0'));
    return digits;
}

OpxString realText(double value, int digits) {
    if (std::isnan(value)) return OLESTR("nan");
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits);
    return widen(buffer, end.ptr);
}

}  // namespace OpxOpc
