#include "json.h"

#include <charconv>
#include <cmath>
#include <utility>
#include <vector>

#include <korvex/opc_da_client/DateTime.h>
#include <korvex/opc_da_client/Decimal.h>

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

constexpr std::int64_t kLargestExact = std::int64_t{1} << 53;

std::string text(const Object& value) {
    return toUtf8(value.toText());
}

// The double that is written with the digits that tell `value` apart: 0.1, not 0.10000000149.
template <typename Real>
double asWritten(Real value) {
    char digits[64];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    double result = 0;
    std::from_chars(digits, end, result);
    return result;
}

template <typename T>
Json scalar(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value;
    } else if constexpr (std::is_floating_point_v<T>) {
        if (!std::isfinite(value)) return text(Object(value));
        return asWritten(value);
    } else if constexpr (std::is_integral_v<T> && !std::is_same_v<T, char16_t>) {
        const bool isExact = std::cmp_less_equal(value, kLargestExact) && std::cmp_greater_equal(value, -kLargestExact);
        return isExact ? Json(value) : Json(text(Object(value)));
    } else {
        return text(Object(value));
    }
}

// `value` as JSON if it is a T or an array of T.
template <typename T>
bool convert(const Object& value, Json& result) {
    if (const T* single = value.tryGet<T>()) {
        result = scalar(*single);
        return true;
    }
    const auto* list = value.tryGet<std::vector<T>>();
    if (!list) return false;
    result = Json::array();
    for (auto&& element : *list) result.push_back(scalar<T>(element));
    return true;
}

template <typename... Types>
Json firstOf(const Object& value) {
    Json result;
    if ((convert<Types>(value, result) || ...)) return result;
    return text(value);
}

}  // namespace

Json toJson(const Object& value) {
    if (value.isNull()) return nullptr;
    if (const auto* list = value.tryGet<std::vector<Object>>()) {
        Json result = Json::array();
        for (const Object& element : *list) result.push_back(toJson(element));
        return result;
    }
    return firstOf<bool, std::int8_t, std::int16_t, std::int32_t, std::int64_t, std::uint8_t, std::uint16_t,
                   std::uint32_t, std::uint64_t, float, double, char16_t, OpxString, DateTime, Decimal>(value);
}

std::string dump(const Json& value, bool terminal, int indent) {
    return value.dump(indent, ' ', terminal, Json::error_handler_t::replace);
}

}  // namespace Korvex::Tool
