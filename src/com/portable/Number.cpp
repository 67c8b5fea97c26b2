#include "com/portable/Number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "com/portable/automation_time.h"

namespace Korvex::Com {
namespace {

struct WholeNumber {
    bool negative;
    std::uint64_t magnitude;
};

// Half to even, whatever rounding mode the thread is in.
double roundToEven(double value) {
    const double below = std::floor(value);
    const double fraction = value - below;
    const bool isOdd = std::fmod(below, 2.0) != 0;
    return fraction > 0.5 || (fraction == 0.5 && isOdd) ? below + 1 : below;
}

std::optional<WholeNumber> wholePart(const ExactNumber& number) {
    const auto scaled = number.withScale(0);
    const auto magnitude = scaled ? scaled->magnitude() : std::nullopt;
    if (!magnitude) return std::nullopt;
    return WholeNumber{number.isNegative(), *magnitude};
}

std::optional<WholeNumber> wholePart(const Real& number) {
    constexpr double kTwoTo64 = 18446744073709551616.0;
    const double rounded = roundToEven(number.value);
    if (!(std::fabs(rounded) < kTwoTo64)) return std::nullopt;
    return WholeNumber{rounded < 0, static_cast<std::uint64_t>(std::fabs(rounded))};
}

template <typename Integer>
HRESULT narrow(const std::optional<WholeNumber>& whole, Integer& result) {
    if (!whole) return DISP_E_OVERFLOW;
    using Limits = std::numeric_limits<Integer>;
    constexpr auto kMax = static_cast<std::uint64_t>(Limits::max());
    constexpr std::uint64_t kMaxNegative = Limits::is_signed ? kMax + 1 : 0;
    if (whole->magnitude > (whole->negative ? kMaxNegative : kMax)) return DISP_E_OVERFLOW;
    result = static_cast<Integer>(whole->negative ? 0 - whole->magnitude : whole->magnitude);
    return S_OK;
}

template <typename Integer>
HRESULT narrow(BitPattern pattern, Integer& result) {
    if (pattern.bits > std::numeric_limits<std::make_unsigned_t<Integer>>::max()) return DISP_E_OVERFLOW;
    result = static_cast<Integer>(pattern.bits);
    return S_OK;
}

double asDouble(const Number& number) {
    if (const auto* exact = std::get_if<ExactNumber>(&number)) return exact->toDouble();
    if (const auto* real = std::get_if<Real>(&number)) return real->value;
    return static_cast<double>(std::get<BitPattern>(number).bits);
}

// `value`, which is finite, to the nearest number of that many decimals.
std::optional<ExactNumber> withDecimals(double value, int decimals) {
    constexpr int kMostCharacters = std::numeric_limits<double>::max_exponent10 + ExactNumber::kMaxScale + 4;
    char text[kMostCharacters];
    const auto end = std::to_chars(text, text + sizeof text, std::fabs(value), std::chars_format::fixed, decimals).ptr;
    std::string digits(text, end);
    digits.erase(std::remove(digits.begin(), digits.end(), '.'), digits.end());
    return ExactNumber::fromDigits(value < 0, digits, -decimals);
}

// A finite number with all the decimals that its type can tell apart; a number without fraction is taken
// as it is.
std::optional<ExactNumber> exactOf(const Real& number) {
    const double size = std::fabs(number.value);
    int decimals = 0;
    if (size != std::trunc(size)) {
        const int integerDigits = static_cast<int>(std::floor(std::log10(size))) + 1;
        decimals = std::clamp(number.precision.printedDigits + 1 - integerDigits, 0, ExactNumber::kMaxScale);
        const bool isTooFine = size * std::pow(10.0, decimals) > static_cast<double>(number.precision.largestMantissa);
        if (decimals > 0 && isTooFine) --decimals;
    }
    return withDecimals(number.value, decimals);
}

std::optional<ExactNumber> asExact(const Number& number) {
    if (const auto* exact = std::get_if<ExactNumber>(&number)) return *exact;
    if (const auto* real = std::get_if<Real>(&number)) {
        return std::isfinite(real->value) ? exactOf(*real) : std::nullopt;
    }
    return ExactNumber::fromUnsigned(std::get<BitPattern>(number).bits);
}

std::string spelledReal(const Real& number) {
    if (number.value == 0) return "0";
    if (std::isnan(number.value)) return "NAN";
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number.value, std::chars_format::general,
                                   number.precision.printedDigits)
                         .ptr;
    std::string result(text, end);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return result;
}

}  // namespace

bool isZero(const Number& number) noexcept {
    if (const auto* exact = std::get_if<ExactNumber>(&number)) return exact->isZero();
    if (const auto* real = std::get_if<Real>(&number)) return real->value == 0;
    return std::get<BitPattern>(number).bits == 0;
}

template <typename Integer>
HRESULT toInteger(const Number& number, Integer& result) {
    if (const auto* exact = std::get_if<ExactNumber>(&number)) return narrow(wholePart(*exact), result);
    if (const auto* real = std::get_if<Real>(&number)) return narrow(wholePart(*real), result);
    return narrow(std::get<BitPattern>(number), result);
}
template HRESULT toInteger(const Number&, std::int8_t&);
template HRESULT toInteger(const Number&, std::int16_t&);
template HRESULT toInteger(const Number&, std::int32_t&);
template HRESULT toInteger(const Number&, std::int64_t&);
template HRESULT toInteger(const Number&, std::uint8_t&);
template HRESULT toInteger(const Number&, std::uint16_t&);
template HRESULT toInteger(const Number&, std::uint32_t&);
template HRESULT toInteger(const Number&, std::uint64_t&);

HRESULT toSingle(const Number& number, float& result) {
    // Up to here a double is still nearer to the largest float than to the next power of two.
    constexpr double kRoundsToInfinity = 340282356779733661637539395458142568448.0;
    const double value = asDouble(number);
    if (std::fabs(value) >= kRoundsToInfinity) return DISP_E_OVERFLOW;
    result = static_cast<float>(value);
    return S_OK;
}

HRESULT toDouble(const Number& number, double& result) {
    result = asDouble(number);
    return S_OK;
}

HRESULT toCurrency(const Number& number, CY& result) {
    constexpr int kDecimals = 4;
    const auto* real = std::get_if<Real>(&number);
    if (real && !std::isfinite(real->value)) return DISP_E_OVERFLOW;
    const auto exact = real ? withDecimals(real->value, kDecimals) : asExact(number);
    const auto currency = exact ? exact->toCurrency() : std::nullopt;
    if (!currency) return DISP_E_OVERFLOW;
    result.int64 = *currency;
    return S_OK;
}

HRESULT toDecimal(const Number& number, DECIMAL& result) {
    const auto* real = std::get_if<Real>(&number);
    if (real && std::isnan(real->value)) return DISP_E_BADVARTYPE;
    const auto exact = asExact(number);
    if (!exact) return DISP_E_OVERFLOW;
    result = exact->toDecimal();
    return S_OK;
}

HRESULT toDate(const Number& number, double& result) {
    const double value = asDouble(number);
    if (!isAutomationDate(value)) return DISP_E_OVERFLOW;
    result = value;
    return S_OK;
}

std::string toText(const Number& number) {
    if (const auto* real = std::get_if<Real>(&number)) return spelledReal(*real);
    return asExact(number)->toText();
}

}  // namespace Korvex::Com
