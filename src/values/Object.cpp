#include <korvex/opc_da_client/Object.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

#include "values/NumberText.h"

namespace Korvex::OPC::OpcDaClient {
namespace detail {
namespace {

// The shortest text that reads back as the same number.
template <typename T>
OpxString shortestText(T value) {
    if (std::isnan(value)) return OLESTR("nan");
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value);
    return OpxString(buffer, end.ptr);
}

}  // namespace

ObjectValue::~ObjectValue() = default;

std::uint32_t hashText(OpxStringView text) noexcept {
    std::uint32_t hash = 2166136261u;
    for (const OLECHAR c : text) hash = (hash ^ static_cast<std::uint32_t>(c)) * 16777619u;
    return hash;
}

std::uint32_t hashReal(double value) noexcept {
    if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();
    if (value == 0) value = 0;  // both zeros are equal
    return hash64(std::bit_cast<std::uint64_t>(value));
}

OpxString wholeNumberText(std::int64_t value) {
    return OpxOpc::integerText(value);
}
OpxString wholeNumberText(std::uint64_t value) {
    return OpxOpc::unsignedText(value);
}
OpxString realNumberText(float value) {
    return shortestText(value);
}
OpxString realNumberText(double value) {
    return shortestText(value);
}

}  // namespace detail

bool Object::operator==(const Object& other) const {
    if (value_ == other.value_) return true;
    if (!value_ || !other.value_) return false;
    return value_->typeInfo() == other.value_->typeInfo() && value_->equals(*other.value_);
}

}  // namespace Korvex::OPC::OpcDaClient
