// A fixed-point number with four decimal places: the range and precision of a COM currency.
#pragma once

#include <cstdint>

#include <korvex/export.h>
#include <korvex/text.h>

namespace OpxOpc {

/// Conversions that fall outside the accepted range throw OpxTypeConversionException, reason 0. The
/// accepted range, plus and minus 92233720368547, is one tenth of what the store could hold.
class KORVEX_OPC_API OpxDecimal {
public:
    OpxDecimal() noexcept = default;

    /// From the value times 10,000.
    static OpxDecimal fromScaled(std::int64_t scaled) noexcept;
    /// The nearest decimal. Throws OpxTypeConversionException with reason 0 outside the range.
    static OpxDecimal fromDouble(double value);
    /// Throws OpxTypeConversionException with reason 0 outside the range.
    static OpxDecimal fromInt64(std::int64_t value);

    /// The value times 10,000.
    std::int64_t scaled() const noexcept { return scaled_; }
    /// The nearest double.
    double toDouble() const noexcept { return static_cast<double>(scaled_) / 10000.0; }

    /// "1.5" for 15000. The rule works on characters: -1234 gives "-.1234" and -5 gives "0.00-5".
    OpxString toText() const;

    /// Whether both are the same number.
    friend bool operator==(const OpxDecimal&, const OpxDecimal&) = default;

private:
    std::int64_t scaled_ = 0;
};

}  // namespace OpxOpc
