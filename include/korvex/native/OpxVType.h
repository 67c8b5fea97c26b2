// The type tags of native values.
#pragma once

#include <cstdint>

namespace Opx {

/// Tags 6 and 11 are not assigned. An array's tag is 128 plus the tag of its elements; `Array` alone
/// is an array whose element type is not specified.
enum class VType : std::int32_t {
    Empty = 0,
    Bool = 1,
    Int8 = 2,
    Int16 = 3,
    Int32 = 4,
    Int64 = 5,
    UInt8 = 7,
    UInt16 = 8,
    UInt32 = 9,
    UInt64 = 10,
    Float = 12,
    Double = 13,
    String = 14,
    Date = 15,
    Decimal = 16,
    Variant = 17,  ///< only as an array's element type: every element carries its own tag
    Unknown = 18,  ///< a VARIANT type that has no tag
    Error = 19,    ///< a conversion error's reason
    Array = 128,
};

constexpr std::int32_t toInt(VType type) noexcept {
    return static_cast<std::int32_t>(type);
}
constexpr bool isArray(VType type) noexcept {
    return toInt(type) >= toInt(VType::Array);
}
constexpr VType arrayOf(VType element) noexcept {
    return VType(toInt(VType::Array) + toInt(element));
}
constexpr VType elementOf(VType array) noexcept {
    return VType(toInt(array) - toInt(VType::Array));
}

}  // namespace Opx
