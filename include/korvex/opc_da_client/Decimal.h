// A decimal number.
#pragma once

#include <compare>
#include <cstdint>

#include <korvex/export.h>
#include <korvex/opc_da_client/NullableText.h>
#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

/// A sign, a 96-bit integer and a scale: the integer divided by the `scale`-th power of ten. Compares by
/// value, so that 1.5 equals 1.50. Immutable; threads may share it.
class KORVEX_OPC_API Decimal {
public:
    /// The largest scale.
    static constexpr std::uint8_t kMaxScale = 28;

    /// 0.
    constexpr Decimal() noexcept = default;
    /// An integer.
    Decimal(std::int32_t value) noexcept : Decimal(std::int64_t{value}) {}
    /// An integer.
    Decimal(std::int64_t value) noexcept;
    /// An integer.
    Decimal(std::uint64_t value) noexcept : low_(value) {}

    /// From the parts; `low` holds the integer's lower 64 bits. Throws std::out_of_range for a scale
    /// above kMaxScale.
    static Decimal fromParts(bool negative, std::uint32_t high, std::uint64_t low, std::uint8_t scale);

    /// Rounded to 15 significant digits. Throws std::out_of_range for a number that is too large,
    /// infinite or not a number.
    static Decimal fromDouble(double value);

    /// From "-12.50" or "1.5e-7", the digits that do not fit rounded half to even. Throws
    /// std::invalid_argument for text that is not a number, std::out_of_range for one too large.
    static Decimal fromText(const NullableText& text);

    /// The sign.
    bool isNegative() const noexcept { return negative_; }
    /// The upper 32 bits of the integer.
    std::uint32_t high() const noexcept { return high_; }
    /// The lower 64 bits of the integer.
    std::uint64_t low() const noexcept { return low_; }
    /// How many digits stand behind the point.
    std::uint8_t scale() const noexcept { return scale_; }

    /// The same number with the smallest scale.
    Decimal normalised() const noexcept;

    /// The nearest double.
    double toDouble() const;

    /// All digits that the scale calls for: "-12.50".
    OpxString toText() const;

    /// Compares the numbers, whatever their scales.
    friend KORVEX_OPC_API std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) noexcept;
    /// Compares the numbers, whatever their scales.
    friend bool operator==(const Decimal& a, const Decimal& b) noexcept { return (a <=> b) == 0; }

private:
    std::uint64_t low_ = 0;
    std::uint32_t high_ = 0;
    std::uint8_t scale_ = 0;
    bool negative_ = false;
};

}  // namespace Korvex::OPC::OpcDaClient
