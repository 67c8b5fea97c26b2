// The numeric value of a VARIANT, whatever its type, on its way to another numeric type.
#pragma once

#include <variant>

#include "com/portable/ExactNumber.h"

namespace Korvex::Com {

// A floating-point number and how many decimal digits of it are meant.
struct Real {
    double value;
    int digits;
};
inline constexpr int kSingleDigits = 7;
inline constexpr int kDoubleDigits = 15;

// A whole number that was written as bits, which a signed type of the same size takes as they are.
struct BitPattern {
    std::uint64_t bits;
};

using Number = std::variant<ExactNumber, Real, BitPattern>;

bool isZero(const Number& number) noexcept;

// Each stores `number` in `result` and returns S_OK, or DISP_E_OVERFLOW if it does not fit. Whatever
// lies between two values is rounded, half to even.
template <typename Integer>
HRESULT toInteger(const Number& number, Integer& result);
HRESULT toSingle(const Number& number, float& result);
HRESULT toDouble(const Number& number, double& result);
HRESULT toCurrency(const Number& number, CY& result);
// DISP_E_BADVARTYPE for what is not a number.
HRESULT toDecimal(const Number& number, DECIMAL& result);
// DISP_E_OVERFLOW for what is no date of the years 100 to 9999.
HRESULT toDate(const Number& number, double& result);

// With "." as the decimal sign.
std::string toText(const Number& number);

}  // namespace Korvex::Com
