// The numeric value of a VARIANT, whatever its type, on its way to another numeric type.
#pragma once

#include <variant>

#include "com/ExactNumber.h"

namespace Korvex::Com {

// A number as a floating-point type holds it.
struct RealPrecision {
    int printedDigits;
    std::uint64_t largestMantissa;
};
inline constexpr RealPrecision kSingle = {7, std::uint64_t{1} << 24};
inline constexpr RealPrecision kDouble = {15, std::uint64_t{1} << 53};

struct Real {
    double value;
    RealPrecision precision;
};

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
