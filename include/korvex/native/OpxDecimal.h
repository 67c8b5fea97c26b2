// A fixed-point number with four decimal places: the range and precision of a COM currency.
#pragma once

#include <cstdint>

#include <korvex/export.h>
#include <korvex/text.h>

namespace OpxOpc {

// Conversions that fall outside the accepted range throw OpxTypeConversionException, reason 0. The
// accepted range, plus and minus 92233720368547, is one tenth of what the store could hold.
class KORVEX_OPC_API OpxDecimal {
public:
    OpxDecimal() noexcept = default;

    static OpxDecimal fromScaled(std::int64_t scaled) noexcept;
    static OpxDecimal fromDouble(double value);
    static OpxDecimal fromInt64(std::int64_t value);

    // The value times 10,000.
    std::int64_t scaled() const noexcept { return scaled_; }
    double toDouble() const noexcept { return static_cast<double>(scaled_) / 10000.0; }

    // "1.5" for 15000. The rule works on characters: -1234 gives "-.1234" and -5 gives "0.00-5".
    OpxString toText() const;

    friend bool operator==(const OpxDecimal&, const OpxDecimal&) = default;

private:
    std::int64_t scaled_ = 0;
};

}  // namespace OpxOpc
