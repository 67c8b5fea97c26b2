#include <korvex/native/OpxDecimal.h>

#include <korvex/native/OpxTypeConversionException.h>

#include "values/NumberText.h"

namespace OpxOpc {
namespace {

constexpr std::int64_t kUnits = 10000;
constexpr std::size_t kPlaces = 4;
constexpr std::int64_t kLimit = 92233720368547;

[[noreturn]] void throwOverflow() {
    throw OpxTypeConversionException(OpxTypeConversionException::kOverflow);
}

}  // namespace

OpxDecimal OpxDecimal::fromScaled(std::int64_t scaled) noexcept {
    OpxDecimal result;
    result.scaled_ = scaled;
    return result;
}

OpxDecimal OpxDecimal::fromDouble(double value) {
    const bool accepted = value >= -static_cast<double>(kLimit) && value <= static_cast<double>(kLimit);
    if (!accepted) throwOverflow();  // not-a-number too
    return fromScaled(static_cast<std::int64_t>(value * static_cast<double>(kUnits) + 0.5));
}

OpxDecimal OpxDecimal::fromInt64(std::int64_t value) {
    if (value < -kLimit || value > kLimit) throwOverflow();
    return fromScaled(value * kUnits);
}

OpxString OpxDecimal::toText() const {
    OpxString text = integerText(scaled_);
    if (text.size() > kPlaces) {
        text.insert(text.size() - kPlaces, 1, OLECHAR('.'));
    } else {
        text = OLESTR("0.") + OpxString(kPlaces - text.size(), OLECHAR('0')) + text;
    }
    while (text.back() == OLECHAR('0')) text.pop_back();
    if (text.back() == OLECHAR('.')) text.pop_back();
    return text;
}

}  // namespace OpxOpc
