#include "com/ExactNumber.h"

#include <algorithm>
#include <charconv>

namespace Korvex::Com {

ExactNumber ExactNumber::fromSigned(std::int64_t value, int scale) noexcept {
    const auto bits = static_cast<std::uint64_t>(value);
    ExactNumber result = fromUnsigned(value < 0 ? 0 - bits : bits);
    result.negative_ = value < 0;
    result.scale_ = scale;
    return result;
}

ExactNumber ExactNumber::fromUnsigned(std::uint64_t value) noexcept {
    ExactNumber result;
    result.words_ = {static_cast<std::uint32_t>(value), static_cast<std::uint32_t>(value >> 32), 0};
    return result;
}

std::optional<ExactNumber> ExactNumber::fromDecimal(const DECIMAL& value) noexcept {
    if (value.scale > kMaxScale || (value.sign & ~DECIMAL_NEG) != 0) return std::nullopt;
    ExactNumber result;
    result.words_ = {value.Lo32, value.Mid32, value.Hi32};
    result.scale_ = value.scale;
    result.negative_ = value.sign == DECIMAL_NEG && !result.isZero();
    return result;
}

std::optional<ExactNumber> ExactNumber::fromDigits(bool negative, std::string_view digits, int exponent) noexcept {
    const std::size_t leadingZeros = std::min(digits.find_first_not_of('0'), digits.size());
    digits.remove_prefix(leadingZeros);
    while (exponent < 0 && !digits.empty() && digits.back() == '0') {
        digits.remove_suffix(1);
        ++exponent;
    }

    ExactNumber result;
    result.negative_ = negative;
    if (digits.empty()) return result;
    if (exponent < -kMaxScale) return std::nullopt;
    for (const char digit : digits) {
        if (!result.appendDigit(static_cast<unsigned>(digit - '0'))) return std::nullopt;
    }
    for (; exponent > 0; --exponent) {
        if (!result.appendDigit(0)) return std::nullopt;
    }
    result.scale_ = -exponent;
    return result;
}

bool ExactNumber::isZero() const noexcept {
    return words_ == std::array<std::uint32_t, 3>{};
}

std::optional<ExactNumber> ExactNumber::withScale(int scale) const noexcept {
    ExactNumber result = *this;
    for (; result.scale_ < scale; ++result.scale_) {
        if (!result.appendDigit(0)) return std::nullopt;
    }

    unsigned lastRemoved = 0;
    bool anyBelow = false;
    for (; result.scale_ > scale; --result.scale_) {
        anyBelow = anyBelow || lastRemoved != 0;
        lastRemoved = result.removeDigit();
    }
    const bool isOdd = (result.words_[0] & 1) != 0;
    const bool roundUp = lastRemoved > 5 || (lastRemoved == 5 && (anyBelow || isOdd));
    if (roundUp && !result.increment()) return std::nullopt;
    return result;
}

std::optional<std::uint64_t> ExactNumber::magnitude() const noexcept {
    if (words_[2] != 0) return std::nullopt;
    return static_cast<std::uint64_t>(words_[1]) << 32 | words_[0];
}

double ExactNumber::toDouble() const {
    constexpr std::uint64_t kLargestExact = std::uint64_t{1} << 53;
    const auto whole = magnitude();
    if (scale_ == 0 && whole && *whole <= kLargestExact) {
        const auto value = static_cast<double>(*whole);
        return negative_ ? -value : value;
    }
    // The text is the one form from which the nearest double is easily had.
    const std::string text = toText();
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

DECIMAL ExactNumber::toDecimal() const noexcept {
    DECIMAL result = {};
    result.Lo32 = words_[0];
    result.Mid32 = words_[1];
    result.Hi32 = words_[2];
    result.scale = static_cast<BYTE>(scale_);
    result.sign = negative_ && !isZero() ? DECIMAL_NEG : BYTE{0};
    return result;
}

std::optional<std::int64_t> ExactNumber::toCurrency() const noexcept {
    constexpr int kDecimals = 4;
    const auto scaled = withScale(kDecimals);
    const auto size = scaled ? scaled->magnitude() : std::nullopt;
    const std::uint64_t largest = (std::uint64_t{1} << 63) - (negative_ ? 0 : 1);
    if (!size || *size > largest) return std::nullopt;
    return static_cast<std::int64_t>(negative_ ? 0 - *size : *size);
}

std::string ExactNumber::toText() const {
    if (isZero()) return "0";
    std::string reversed;
    ExactNumber rest = *this;
    for (int position = 0; !rest.isZero() || position <= scale_; ++position) {
        if (position == scale_ && !reversed.empty()) reversed.push_back('.');
        const unsigned digit = rest.removeDigit();
        const bool isTrailingZero = digit == 0 && position < scale_ && reversed.empty();
        if (!isTrailingZero) reversed.push_back(static_cast<char>('0' + digit));
    }
    if (negative_) reversed.push_back('-');
    return std::string(reversed.rbegin(), reversed.rend());
}

bool ExactNumber::appendDigit(unsigned digit) noexcept {
    std::uint64_t carry = digit;
    auto words = words_;
    for (std::uint32_t& word : words) {
        carry += std::uint64_t{word} * 10;
        word = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
    if (carry != 0) return false;
    words_ = words;
    return true;
}

unsigned ExactNumber::removeDigit() noexcept {
    std::uint64_t remainder = 0;
    for (auto word = words_.rbegin(); word != words_.rend(); ++word) {
        const std::uint64_t dividend = remainder << 32 | *word;
        *word = static_cast<std::uint32_t>(dividend / 10);
        remainder = dividend % 10;
    }
    return static_cast<unsigned>(remainder);
}

bool ExactNumber::increment() noexcept {
    for (std::uint32_t& word : words_) {
        if (++word != 0) return true;
    }
    return false;
}

}  // namespace Korvex::Com
