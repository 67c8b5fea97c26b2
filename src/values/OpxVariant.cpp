#include <korvex/native/OpxVariant.h>

#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

#include "com/ascii_case.h"
#include "values/NumberText.h"

namespace OpxOpc {
namespace {

using Opx::VType;

template <typename... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

[[noreturn]] void throwReason(OpxTypeConversionException::Reason reason) {
    throw OpxTypeConversionException(reason);
}
[[noreturn]] void throwOverflow() {
    throwReason(OpxTypeConversionException::kOverflow);
}
[[noreturn]] void throwNoConversion() {
    throwReason(OpxTypeConversionException::kInvalidConversion);
}

// ---- Truth ---------------------------------------------------------------------------------------

bool lowByte(std::int64_t bits) noexcept {
    return (bits & 0xFF) != 0;
}

// ---- Integers ------------------------------------------------------------------------------------

template <typename Target, typename Source>
Target inRange(Source value) {
    if (!std::in_range<Target>(value)) throwOverflow();
    return static_cast<Target>(value);
}

// The bounds are tested before rounding and in the source's precision.
template <typename Target, typename Source>
Target rounded(Source value) {
    using Limits = std::numeric_limits<Target>;
    if (value < static_cast<Source>(Limits::min()) || value > static_cast<Source>(Limits::max())) throwOverflow();

    const double shifted = static_cast<double>(value) + 0.5;
    if (shifted < std::ldexp(1.0, Limits::digits)) return static_cast<Target>(shifted);
    // Not-a-number, or just above the largest value: the result that x86 processors give to a signed
    // conversion of 32 or 64 bits.
    if (std::is_signed_v<Target> && sizeof(Target) >= sizeof(std::int32_t)) return Limits::min();
    throwOverflow();
}

template <typename T>
T wholeText(const ParsedNumber<T>& parsed, OpxStringView text) {
    if (parsed.consumed != text.size()) throwReason(OpxTypeConversionException::kInvalidType);
    if (parsed.outOfRange) throwOverflow();
    return parsed.value;
}

template <typename Target>
Target integerFromText(OpxStringView text) {
    if constexpr (sizeof(Target) == sizeof(std::int64_t)) {
        const auto parsed = parseInt64(text);
        if (parsed.outOfRange) throwOverflow();
        return static_cast<Target>(parsed.value);
    } else if constexpr (std::is_signed_v<Target>) {
        return inRange<Target>(wholeText(parseInt32(text), text));
    } else {
        return inRange<Target>(wholeText(parseUInt32(text), text));
    }
}

template <typename Target>
struct IntegerFrom {
    template <typename Source>
    Target operator()(const Source& value) const {
        if constexpr (std::is_same_v<Source, bool>) {
            return value ? 1 : 0;
        } else if constexpr (std::is_integral_v<Source>) {
            return inRange<Target>(value);
        } else if constexpr (std::is_floating_point_v<Source>) {
            return rounded<Target>(value);
        } else if constexpr (std::is_same_v<Source, OpxString>) {
            return integerFromText<Target>(value);
        } else if constexpr (std::is_same_v<Source, OpxDecimal>) {
            return inRange<Target>(value.scaled() / 10000);
        } else {
            throwNoConversion();
        }
    }
};

// ---- Reals ---------------------------------------------------------------------------------------

struct DoubleFrom {
    template <typename Source>
    double operator()(const Source& value) const {
        if constexpr (std::is_same_v<Source, std::uint64_t>) {
            throw OpxTypeConversionException(OpxTypeConversionException::kNotSupported,
                                             "error C2520: conversion from unsigned __int64 to double not "
                                             "implemented, use signed __int64");
        } else if constexpr (std::is_arithmetic_v<Source>) {
            return static_cast<double>(value);
        } else if constexpr (std::is_same_v<Source, OpxString>) {
            return wholeText(parseDouble(value), value);
        } else if constexpr (std::is_same_v<Source, OpxDecimal>) {
            return value.toDouble();
        } else {
            throwNoConversion();
        }
    }
};

// ---- Text ----------------------------------------------------------------------------------------

constexpr OLECHAR kOpeningBrace = OLECHAR('{');
constexpr OLECHAR kClosingBrace = OLECHAR('}');
constexpr OLECHAR kSeparator = OLECHAR('|');

OpxString dateText(const OpxDate& date) {
    try {
        return date.toDateTimeText(OpxDate::kUtc);
    } catch (const OpxTypeConversionException&) {
        return OLESTR("<Invalid Data>");
    }
}

OpxString arrayText(const std::vector<OpxVariant>& elements) {
    OpxString text(1, kOpeningBrace);
    for (const OpxVariant& element : elements) {
        if (&element != &elements.front()) text += kSeparator;
        text += element.toString();
    }
    return text += kClosingBrace;
}

// The elements of "{1|2|3}" as text values.
std::vector<OpxVariant> splitArrayText(OpxStringView text) {
    if (text.size() < 2 || text.front() != kOpeningBrace || text.back() != kClosingBrace) throwNoConversion();
    OpxStringView rest = text.substr(1, text.size() - 2);
    std::vector<OpxVariant> elements;
    if (rest.empty()) return elements;
    while (true) {
        const std::size_t end = rest.find(kSeparator);
        elements.push_back(OpxVariant::of(rest.substr(0, end)));
        if (end == OpxStringView::npos) return elements;
        rest.remove_prefix(end + 1);
    }
}

// ---- Tags ----------------------------------------------------------------------------------------

// The tags of the payload's alternatives, in their order; the last one, an array, has a tag for each
// element type.
constexpr VType kScalarTags[] = {VType::Empty,   VType::Bool,   VType::Int8,   VType::Int16,  VType::Int32,
                                 VType::Int64,   VType::UInt8,  VType::UInt16, VType::UInt32, VType::UInt64,
                                 VType::Float,   VType::Double, VType::String, VType::Date,   VType::Decimal,
                                 VType::Unknown, VType::Error};

constexpr bool isElementTag(VType tag) noexcept {
    if (tag == VType::Variant) return true;
    for (const VType scalar : kScalarTags) {
        if (tag == scalar) return tag != VType::Empty && tag != VType::Unknown && tag != VType::Error;
    }
    return false;
}

}  // namespace

OpxVariant OpxVariant::arrayOf(VType element, std::vector<OpxVariant> elements) {
    if (!isElementTag(element)) throwNoConversion();
    for (const OpxVariant& each : elements) {
        if (element != VType::Variant && each.type() != element) throwNoConversion();
    }
    OpxVariant result;
    result.payload_ = Array{element, std::move(elements)};
    return result;
}

OpxVariant OpxVariant::unknown() {
    OpxVariant result;
    result.payload_ = Unknown{};
    return result;
}

OpxVariant OpxVariant::error(std::int32_t reason) {
    OpxVariant result;
    result.payload_ = Error{reason};
    return result;
}

OpxVariant& OpxVariant::operator=(bool value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(std::int8_t value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(std::int16_t value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(std::int32_t value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(std::int64_t value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(std::uint8_t value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(std::uint16_t value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(std::uint32_t value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(std::uint64_t value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(float value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(double value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(OpxStringView value) {
    return payload_ = OpxString(value), *this;
}
OpxVariant& OpxVariant::operator=(const OpxDate& value) {
    return payload_ = value, *this;
}
OpxVariant& OpxVariant::operator=(const OpxDecimal& value) {
    return payload_ = value, *this;
}

OpxVariant& OpxVariant::operator=(const OLECHAR* value) {
    return *this = value ? OpxStringView(value) : OpxStringView();
}

void OpxVariant::clear() noexcept {
    payload_ = std::monostate();
}

VType OpxVariant::type() const noexcept {
    static_assert(std::size(kScalarTags) + 1 == std::variant_size_v<Payload>);
    if (const auto* array = std::get_if<Array>(&payload_)) return Opx::arrayOf(array->element);
    return kScalarTags[payload_.index()];
}

const std::vector<OpxVariant>& OpxVariant::elements() const noexcept {
    static const std::vector<OpxVariant> kNone;
    const auto* array = std::get_if<Array>(&payload_);
    return array ? array->elements : kNone;
}

bool OpxVariant::toBool() const noexcept {
    return std::visit(Overloaded{
                          [](std::monostate) { return false; },
                          [](const Unknown&) { return false; },
                          [](const Error& error) { return lowByte(error.reason); },
                          [](const Array&) { return true; },
                          [](const OpxString& text) {
                              return text != OLESTR("0") && !Korvex::Com::beginsWithIgnoringCase(text, OLESTR("false"));
                          },
                          [](const OpxDate& date) { return lowByte(date.time()); },
                          [](const OpxDecimal& decimal) { return lowByte(decimal.scaled()); },
                          [](float real) { return lowByte(std::bit_cast<std::int32_t>(real)); },
                          [](double real) { return lowByte(std::bit_cast<std::int64_t>(real)); },
                          [](auto integer) { return lowByte(static_cast<std::int64_t>(integer)); },
                      },
                      payload_);
}

std::int8_t OpxVariant::toInt8() const {
    return std::visit(IntegerFrom<std::int8_t>(), payload_);
}
std::int16_t OpxVariant::toInt16() const {
    return std::visit(IntegerFrom<std::int16_t>(), payload_);
}
std::int32_t OpxVariant::toInt32() const {
    return std::visit(IntegerFrom<std::int32_t>(), payload_);
}
std::int64_t OpxVariant::toInt64() const {
    return std::visit(IntegerFrom<std::int64_t>(), payload_);
}
std::uint8_t OpxVariant::toUInt8() const {
    return std::visit(IntegerFrom<std::uint8_t>(), payload_);
}
std::uint16_t OpxVariant::toUInt16() const {
    return std::visit(IntegerFrom<std::uint16_t>(), payload_);
}
std::uint32_t OpxVariant::toUInt32() const {
    return std::visit(IntegerFrom<std::uint32_t>(), payload_);
}
std::uint64_t OpxVariant::toUInt64() const {
    return std::visit(IntegerFrom<std::uint64_t>(), payload_);
}

double OpxVariant::toDouble() const {
    return std::visit(DoubleFrom(), payload_);
}

float OpxVariant::toFloat() const {
    const double value = toDouble();
    const double magnitude = std::fabs(value);
    if (magnitude > double{std::numeric_limits<float>::max()}) throwOverflow();
    if (magnitude != 0 && magnitude < double{std::numeric_limits<float>::min()}) throwOverflow();
    return static_cast<float>(value);
}

OpxString OpxVariant::toString() const {
    return std::visit(Overloaded{
                          [](std::monostate) { return OpxString(); },
                          [](const Unknown&) { return OpxString(OLESTR("UNKNOWN")); },
                          [](const Error& e) { return OpxString(OpxTypeConversionException::reasonName(e.reason)); },
                          [](const Array& array) { return arrayText(array.elements); },
                          [](const OpxString& text) { return text; },
                          [](const OpxDate& date) { return dateText(date); },
                          [](const OpxDecimal& decimal) { return decimal.toText(); },
                          [](bool truth) { return OpxString(truth ? OLESTR("true") : OLESTR("false")); },
                          [](float real) { return realText(real, 6); },
                          [](double real) { return realText(real, 12); },
                          [](std::uint64_t integer) { return unsignedText(integer); },
                          [](auto integer) { return integerText(integer); },
                      },
                      payload_);
}

OpxDate OpxVariant::toDate() const {
    if (const auto* date = std::get_if<OpxDate>(&payload_)) return *date;
    if (const auto* text = std::get_if<OpxString>(&payload_)) return OpxDate::fromIsoText(*text);
    throwNoConversion();
}

OpxDecimal OpxVariant::toDecimal() const {
    return std::visit(
        [this](const auto& value) -> OpxDecimal {
            using Source = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Source, OpxDecimal>) {
                return value;
            } else if constexpr (std::is_integral_v<Source>) {
                return OpxDecimal::fromInt64(toInt64());
            } else {
                return OpxDecimal::fromDouble(toDouble());
            }
        },
        payload_);
}

OpxVariant OpxVariant::toScalar(VType target) const {
    switch (target) {
        case VType::Bool:
            return of(toBool());
        case VType::Int8:
            return of(toInt8());
        case VType::Int16:
            return of(toInt16());
        case VType::Int32:
            return of(toInt32());
        case VType::Int64:
            return of(toInt64());
        case VType::UInt8:
            return of(toUInt8());
        case VType::UInt16:
            return of(toUInt16());
        case VType::UInt32:
            return of(toUInt32());
        case VType::UInt64:
            return of(toUInt64());
        case VType::Float:
            return of(toFloat());
        case VType::Double:
            return of(toDouble());
        case VType::String:
            return of(toString());
        case VType::Date:
            return of(toDate());
        case VType::Decimal:
            return of(toDecimal());
        default:
            throwNoConversion();
    }
}

OpxVariant OpxVariant::toArrayOf(VType element) const {
    const auto* text = std::get_if<OpxString>(&payload_);
    const auto* array = std::get_if<Array>(&payload_);
    if (!isElementTag(element) || (!text && !array)) throwNoConversion();

    std::vector<OpxVariant> converted = text ? splitArrayText(*text) : array->elements;
    if (element != VType::Variant) {
        for (OpxVariant& each : converted) each.changeType(element);
    }
    return arrayOf(element, std::move(converted));
}

void OpxVariant::changeType(VType target) {
    if (type() == target) return;
    *this = Opx::isArray(target) ? toArrayOf(Opx::elementOf(target)) : toScalar(target);
}

}  // namespace OpxOpc
