#include <korvex/opc_da_client/Decimal.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "values/NumberText.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

// A magnitude that holds a 96-bit integer times the largest power of ten that a scale stands for.
class WideInteger {
public:
    WideInteger(std::uint32_t high, std::uint64_t low) noexcept
        : words_{static_cast<std::uint32_t>(low), static_cast<std::uint32_t>(low >> 32), high} {}

    explicit WideInteger(const Decimal& decimal) noexcept : WideInteger(decimal.high(), decimal.low()) {}

    std::uint32_t high() const noexcept { return words_[2]; }
    std::uint64_t low() const noexcept { return (std::uint64_t{words_[1]} << 32) | words_[0]; }
    bool fits96Bits() const noexcept { return (words_[3] | words_[4] | words_[5]) == 0; }
    bool isZero() const noexcept { return fits96Bits() && high() == 0 && low() == 0; }

    void multiplyAdd(std::uint32_t factor, std::uint32_t addend) noexcept {
        std::uint64_t carry = addend;
        for (std::uint32_t& word : words_) {
            carry += std::uint64_t{word} * factor;
            word = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
    }

    // Divides by ten and returns the remainder.
    std::uint32_t takeDigit() noexcept {
        std::uint64_t remainder = 0;
        for (std::size_t i = words_.size(); i-- > 0;) {
            const std::uint64_t part = (remainder << 32) | words_[i];
            words_[i] = static_cast<std::uint32_t>(part / 10);
            remainder = part % 10;
        }
        return static_cast<std::uint32_t>(remainder);
    }

    friend std::strong_ordering operator<=>(const WideInteger& a, const WideInteger& b) noexcept {
        for (std::size_t i = a.words_.size(); i-- > 0;) {
            if (a.words_[i] != b.words_[i]) return a.words_[i] <=> b.words_[i];
        }
        return std::strong_ordering::equal;
    }

private:
    std::array<std::uint32_t, 6> words_;  // lowest first
};

[[noreturn]] void throwTooLarge() {
    throw std::out_of_range("number too large for a decimal");
}

// Digits with the place of their point: 1234 with 2 places is 12.34; places may be negative.
struct DecimalDigits {
    std::string digits;
    std::int64_t places = 0;
};

// The integer of the first `count` digits, rounded by those that follow; nothing if it is too large.
std::optional<WideInteger> roundedInteger(std::string_view digits, std::size_t count) {
    WideInteger integer(0, 0);
    for (const char digit : digits.substr(0, count)) {
        integer.multiplyAdd(10, static_cast<std::uint32_t>(digit - '0'));
        if (!integer.fits96Bits()) return std::nullopt;
    }
    const std::string_view rest = digits.substr(count);
    if (!rest.empty()) {
        const bool exactHalf = rest.find_first_not_of('0', 1) == std::string_view::npos && rest[0] == '5';
        const bool odd = (integer.low() & 1) != 0;
        if (exactHalf ? odd : rest[0] >= '5') integer.multiplyAdd(1, 1);
    }
    if (!integer.fits96Bits()) return std::nullopt;
    return integer;
}

Decimal fromDigits(bool negative, DecimalDigits number) {
    // More zeros than any decimal has digits say "too large" without being written out.
    constexpr std::int64_t kMostDigits = 29;
    if (number.digits.empty()) return {};
    if (number.places < -kMostDigits) throwTooLarge();
    if (number.places < 0) {
        number.digits.append(static_cast<std::size_t>(-number.places), '0');
        number.places = 0;
    }

    const auto length = static_cast<std::int64_t>(number.digits.size());
    std::int64_t dropped = std::max<std::int64_t>(0, number.places - Decimal::kMaxScale);
    for (; dropped <= number.places && dropped <= length; ++dropped) {
        const auto integer = roundedInteger(number.digits, static_cast<std::size_t>(length - dropped));
        if (!integer) continue;
        return Decimal::fromParts(negative && !integer->isZero(), integer->high(), integer->low(),
                                  static_cast<std::uint8_t>(number.places - dropped));
    }
    if (dropped > length) return {};  // too small to differ from 0
    throwTooLarge();
}

// Splits "12.50e3", without a sign, at its point and exponent.
DecimalDigits splitNumber(std::string_view text) {
    DecimalDigits number;
    std::size_t i = 0;
    bool behindPoint = false;
    bool any = false;
    for (; i < text.size() && text[i] != 'e' && text[i] != 'E'; ++i) {
        if (text[i] == '.' && !behindPoint) {
            behindPoint = true;
            continue;
        }
        if (text[i] < '0' || text[i] > '9') throw std::invalid_argument("not a number");
        any = true;
        if (behindPoint) ++number.places;
        if (text[i] != '0' || !number.digits.empty()) number.digits.push_back(text[i]);
    }
    if (!any) throw std::invalid_argument("not a number");
    if (i == text.size()) return number;

    std::string_view exponentText = text.substr(i + 1);
    if (exponentText.starts_with('+') && !exponentText.starts_with("+-")) exponentText.remove_prefix(1);
    std::int32_t exponent = 0;
    const auto end = exponentText.data() + exponentText.size();
    const auto parsed = std::from_chars(exponentText.data(), end, exponent);
    if (parsed.ec != std::errc() || parsed.ptr != end) throw std::invalid_argument("not a number");
    number.places -= exponent;
    return number;
}

}  // namespace

Decimal::Decimal(std::int64_t value) noexcept
    : low_(value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value)),
      negative_(value < 0) {}

Decimal Decimal::fromParts(bool negative, std::uint32_t high, std::uint64_t low, std::uint8_t scale) {
    if (scale > kMaxScale) throw std::out_of_range("scale of a decimal");
    Decimal result;
    result.low_ = low;
    result.high_ = high;
    result.scale_ = scale;
    result.negative_ = negative;
    return result;
}

Decimal Decimal::fromDouble(double value) {
    if (!std::isfinite(value)) throwTooLarge();
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value), std::chars_format::scientific, 14);
    const DecimalDigits number = splitNumber(std::string_view(buffer, static_cast<std::size_t>(end.ptr - buffer)));
    return fromDigits(value < 0, number).normalised();
}

Decimal Decimal::fromText(const NullableText& text) {
    const std::string narrow = toUtf8(text.valueOrEmpty());
    std::string_view number = narrow;
    const bool negative = number.starts_with('-');
    if (negative || number.starts_with('+')) number.remove_prefix(1);
    return fromDigits(negative, splitNumber(number));
}

Decimal Decimal::normalised() const noexcept {
    WideInteger integer(*this);
    if (integer.isZero()) return {};
    Decimal result = *this;
    while (result.scale_ > 0 && integer.takeDigit() == 0) {
        result.high_ = integer.high();
        result.low_ = integer.low();
        --result.scale_;
    }
    return result;
}

double Decimal::toDouble() const {
    return OpxOpc::parseDouble(toText()).value;
}

OpxString Decimal::toText() const {
    OpxString text;
    for (WideInteger integer(*this); !integer.isZero() || text.size() <= scale_;) {
        text.insert(text.begin(), static_cast<OLECHAR>('0' + integer.takeDigit()));
    }
    if (scale_ > 0) text.insert(text.size() - scale_, 1, OLECHAR('.'));
    const bool isZero = low_ == 0 && high_ == 0;
    return negative_ && !isZero ? OLESTR("-") + text : text;
}

std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) noexcept {
    WideInteger left(a);
    WideInteger right(b);
    for (int scale = a.scale(); scale < b.scale(); ++scale) left.multiplyAdd(10, 0);
    for (int scale = b.scale(); scale < a.scale(); ++scale) right.multiplyAdd(10, 0);

    const bool leftNegative = a.isNegative() && !left.isZero();
    const bool rightNegative = b.isNegative() && !right.isZero();
    if (leftNegative != rightNegative) return leftNegative ? std::strong_ordering::less : std::strong_ordering::greater;
    return leftNegative ? right <=> left : left <=> right;
}

}  // namespace Korvex::OPC::OpcDaClient
