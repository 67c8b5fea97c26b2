// VARIANTs as short texts such as "R8 2.5", so that tables of conversions can be read.
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

#include <gmock/gmock.h>

#include "com/owners.h"

namespace Korvex::Testing {

struct NamedType {
    std::string_view name;
    VARTYPE type;
};
inline constexpr NamedType kNamedTypes[] = {
    {"EMPTY", VT_EMPTY}, {"NULL", VT_NULL}, {"ERROR", VT_ERROR}, {"UNKNOWN", VT_UNKNOWN}, {"I1", VT_I1},
    {"UI1", VT_UI1},     {"I2", VT_I2},     {"UI2", VT_UI2},     {"I4", VT_I4},           {"UI4", VT_UI4},
    {"INT", VT_INT},     {"UINT", VT_UINT}, {"I8", VT_I8},       {"UI8", VT_UI8},         {"R4", VT_R4},
    {"R8", VT_R8},       {"CY", VT_CY},     {"DATE", VT_DATE},   {"DEC", VT_DECIMAL},     {"BOOL", VT_BOOL},
    {"BSTR", VT_BSTR},
};

inline VARTYPE typeNamed(std::string_view name) {
    for (const NamedType& named : kNamedTypes) {
        if (named.name == name) return named.type;
    }
    throw std::invalid_argument(std::string(name));
}

template <typename T>
T parse(std::string_view text) {
    T value = {};
    const auto end = text.data() + text.size();
    if (std::from_chars(text.data(), end, value).ptr != end) throw std::invalid_argument(std::string(text));
    return value;
}

template <typename T>
std::string shortest(T value) {
    char text[64];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

// Whether a conversion gave what is expected. 32-bit Windows computes in wider registers, so that its numbers
// may be the next ones.
inline bool agrees(std::string_view found, std::string_view expected) {
    constexpr bool kComputesWider = sizeof(void*) == 4 && !std::is_same_v<OLECHAR, char16_t>;
    if (found == expected || !kComputesWider) return found == expected;
    double numbers[2];
    for (int i = 0; i < 2; ++i) {
        const std::string_view text = i == 0 ? found : expected;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), numbers[i]);
        if (error != std::errc() || end != text.data() + text.size()) return false;
    }
    return std::nextafter(numbers[0], numbers[1]) == numbers[1];
}
MATCHER_P(Agrees, expected, ::testing::PrintToString(expected)) {
    return agrees(arg, expected);
}

// Takes what stands before `separator` off the front of `text`.
inline std::string_view takeUpTo(std::string_view& text, char separator) {
    const std::string_view taken = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(taken.size() + 1, text.size()));
    return taken;
}

// "-hi:mid:lo/scale"
inline DECIMAL parseDecimal(std::string_view text) {
    DECIMAL value = {};
    if (text.front() == '-') {
        value.sign = DECIMAL_NEG;
        text.remove_prefix(1);
    }
    value.Hi32 = parse<std::uint32_t>(takeUpTo(text, ':'));
    value.Mid32 = parse<std::uint32_t>(takeUpTo(text, ':'));
    value.Lo32 = parse<std::uint32_t>(takeUpTo(text, '/'));
    value.scale = parse<BYTE>(text);
    return value;
}

inline std::string decimalText(const DECIMAL& value) {
    std::string text(value.sign ? "-" : "");
    text += std::to_string(value.Hi32) + ":" + std::to_string(value.Mid32) + ":" + std::to_string(value.Lo32);
    return text + "/" + std::to_string(value.scale);
}

// "TYPE value"; a CY is counted in its ten-thousandths.
inline Com::UniqueVariant makeVariant(std::string_view text) {
    const VARTYPE type = typeNamed(takeUpTo(text, ' '));
    Com::UniqueVariant result;
    switch (type) {
        case VT_EMPTY:
        case VT_NULL:
        case VT_UNKNOWN:
            break;
        case VT_R4:
            result.fltVal = parse<float>(text);
            break;
        case VT_R8:
        case VT_DATE:
            result.dblVal = parse<double>(text);
            break;
        case VT_UI8:
            result.ullVal = parse<std::uint64_t>(text);
            break;
        case VT_DECIMAL:
            result.decVal = parseDecimal(text);
            break;
        case VT_BSTR:
            result.bstrVal = Com::makeBstr(fromUtf8(text)).release();
            break;
        default:
            result.llVal = parse<std::int64_t>(text);
    }
    result.vt = type;
    return result;
}

// The value without its type.
inline std::string valueText(const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
        case VT_NULL:
        case VT_UNKNOWN:
            return "-";
        case VT_I1:
            return std::to_string(static_cast<signed char>(value.cVal));
        case VT_UI1:
            return std::to_string(value.bVal);
        case VT_I2:
            return std::to_string(value.iVal);
        case VT_BOOL:
            return std::to_string(value.boolVal);
        case VT_UI2:
            return std::to_string(value.uiVal);
        case VT_I4:
        case VT_INT:
        case VT_ERROR:
            return std::to_string(value.lVal);
        case VT_UI4:
        case VT_UINT:
            return std::to_string(value.ulVal);
        case VT_I8:
            return std::to_string(value.llVal);
        case VT_UI8:
            return std::to_string(value.ullVal);
        case VT_R4:
            return shortest(value.fltVal);
        case VT_R8:
        case VT_DATE:
            return shortest(value.dblVal);
        case VT_CY:
            return std::to_string(value.cyVal.int64);
        case VT_DECIMAL:
            return decimalText(value.decVal);
        case VT_BSTR:
            return toUtf8(Com::bstrView(value.bstrVal));
        default:
            return "type " + std::to_string(value.vt);
    }
}

inline std::string resultText(HRESULT hr) {
    if (hr == DISP_E_OVERFLOW) return "overflow";
    if (hr == DISP_E_TYPEMISMATCH) return "mismatch";
    if (hr == DISP_E_BADVARTYPE) return "badtype";
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(hr));
    return text;
}

// What `source` becomes as a value of `target`: the value, or the name of the result code.
inline std::string converted(std::string_view source, VARTYPE target, LCID lcid, USHORT flags = 0) {
    Com::UniqueVariant from = makeVariant(source);
    Com::UniqueVariant to;
    const HRESULT hr = VariantChangeTypeEx(&to, &from, lcid, flags, target);
    if (failed(hr)) return resultText(hr);
    return to.vt == target ? valueText(to) : "type " + std::to_string(to.vt);
}

}  // namespace Korvex::Testing
