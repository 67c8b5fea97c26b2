// A number as OLE automation's DECIMAL holds it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "com/com.h"

namespace Korvex::Com {

// A sign, a whole number of 96 bits and the number of its decimals, at most 28. Every integer, CY and
// DECIMAL is one, without loss.
class ExactNumber {
public:
    static constexpr int kMaxScale = 28;

    ExactNumber() = default;
    static ExactNumber fromSigned(std::int64_t value, int scale = 0) noexcept;
    static ExactNumber fromUnsigned(std::uint64_t value) noexcept;
    // Nothing if the sign or the scale is none that a DECIMAL can have.
    static std::optional<ExactNumber> fromDecimal(const DECIMAL& value) noexcept;
    // The number with these decimal digits times ten to the power of `exponent`. Nothing if it cannot
    // be held without loss.
    static std::optional<ExactNumber> fromDigits(bool negative, std::string_view digits, int exponent) noexcept;

    bool isZero() const noexcept;
    bool isNegative() const noexcept { return negative_; }
    // This number with `scale` decimals, half rounded to even. Nothing if it is too large for that.
    std::optional<ExactNumber> withScale(int scale) const noexcept;
    // The whole number without sign and scale; nothing if it has more than 64 bits.
    std::optional<std::uint64_t> magnitude() const noexcept;

    double toDouble() const;
    DECIMAL toDecimal() const noexcept;
    // The value times 10,000, half rounded to even; nothing if no currency is that large.
    std::optional<std::int64_t> toCurrency() const noexcept;
    // With "." before the decimals, which have no trailing zeros.
    std::string toText() const;

private:
    // Times 10 plus `digit`; false, and nothing changed, if that has more than 96 bits.
    bool appendDigit(unsigned digit) noexcept;
    // Divides by 10 and returns the remainder.
    unsigned removeDigit() noexcept;
    bool increment() noexcept;

    std::array<std::uint32_t, 3> words_ = {};  // least significant first
    int scale_ = 0;
    bool negative_ = false;
};

}  // namespace Korvex::Com
