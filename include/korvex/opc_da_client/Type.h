// The type of a value.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include <korvex/export.h>
#include <korvex/opc_da_client/DateTime.h>
#include <korvex/opc_da_client/Decimal.h>
#include <korvex/opc_da_client/NullableText.h>
#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

class Object;

/// Describes a scalar type or an array of one. The null type asks for no particular one. Immutable.
class KORVEX_OPC_API Type {
public:
    /// The kinds of scalars.
    enum class Kind : std::uint8_t {
        None,
        Object,  ///< any value
        Boolean,
        Character,  ///< one UTF-16 code unit
        Int8,
        Int16,
        Int32,
        Int64,
        UInt8,
        UInt16,
        UInt32,
        UInt64,
        Float,
        Double,
        String,
        DateTime,
        Decimal,
        Type,
        Application,  ///< a type of the application's own; all of them compare equal here
    };

    /// Null.
    constexpr Type() noexcept = default;
    /// Null.
    constexpr Type(std::nullptr_t) noexcept {}

    /// A scalar type.
    static constexpr Type scalar(Kind kind) noexcept { return Type(kind, false); }

    /// Of Kind::Object: an array whose elements may be of different types. Of Kind::None: an array of
    /// any element type.
    static constexpr Type arrayOf(Kind element) noexcept { return Type(element, true); }

    /// Of a C++ type: Type::of<std::int32_t>(), Type::of<OpxString>(), Type::of<std::vector<Object>>().
    template <typename T>
    static constexpr Type of() noexcept;

    /// Whether this asks for no particular type.
    constexpr bool isNull() const noexcept { return kind_ == Kind::None && !isArray_; }
    /// Whether this is an array type.
    constexpr bool isArray() const noexcept { return isArray_; }

    /// The scalar's kind, or that of the array's elements.
    constexpr Kind kind() const noexcept { return kind_; }

    /// "Int32", "Int32[]"; "Array" for an array of any element type; "" for null.
    OpxString name() const;

    /// Whether both describe the same type.
    friend constexpr bool operator==(const Type&, const Type&) = default;

private:
    constexpr Type(Kind kind, bool isArray) noexcept : kind_(kind), isArray_(isArray) {}

    Kind kind_ = Kind::None;
    bool isArray_ = false;
};

namespace detail {

template <typename T>
concept TextLike = std::is_convertible_v<const T&, NullableText> && !std::same_as<T, std::nullptr_t>;

template <typename T>
concept WholeNumber =
    std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
    !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

/// The integer type of the same width and sign that stands for all of them.
template <std::size_t size, bool isSigned>
struct IntegerOf;
template <>
struct IntegerOf<1, true> : std::type_identity<std::int8_t> {};
template <>
struct IntegerOf<2, true> : std::type_identity<std::int16_t> {};
template <>
struct IntegerOf<4, true> : std::type_identity<std::int32_t> {};
template <>
struct IntegerOf<8, true> : std::type_identity<std::int64_t> {};
template <>
struct IntegerOf<1, false> : std::type_identity<std::uint8_t> {};
template <>
struct IntegerOf<2, false> : std::type_identity<std::uint16_t> {};
template <>
struct IntegerOf<4, false> : std::type_identity<std::uint32_t> {};
template <>
struct IntegerOf<8, false> : std::type_identity<std::uint64_t> {};

/// The type in which a value of type T is kept: integers by width, text as OpxString, UTF-16 code units
/// as char16_t.
template <typename T>
struct StoredTypeOf : std::type_identity<T> {};
template <WholeNumber T>
struct StoredTypeOf<T> : IntegerOf<sizeof(T), std::is_signed_v<T>> {};
template <>
struct StoredTypeOf<OLECHAR> : std::type_identity<char16_t> {};
template <TextLike T>
struct StoredTypeOf<T> : std::type_identity<OpxString> {};
template <typename T>
struct StoredTypeOf<std::vector<T>> : std::type_identity<std::vector<typename StoredTypeOf<T>::type>> {};

template <typename T>
using Stored = typename StoredTypeOf<T>::type;

template <typename T>
inline constexpr Type::Kind kKindOf = Type::Kind::Application;
template <>
inline constexpr Type::Kind kKindOf<Object> = Type::Kind::Object;
template <>
inline constexpr Type::Kind kKindOf<bool> = Type::Kind::Boolean;
template <>
inline constexpr Type::Kind kKindOf<char16_t> = Type::Kind::Character;
template <>
inline constexpr Type::Kind kKindOf<std::int8_t> = Type::Kind::Int8;
template <>
inline constexpr Type::Kind kKindOf<std::int16_t> = Type::Kind::Int16;
template <>
inline constexpr Type::Kind kKindOf<std::int32_t> = Type::Kind::Int32;
template <>
inline constexpr Type::Kind kKindOf<std::int64_t> = Type::Kind::Int64;
template <>
inline constexpr Type::Kind kKindOf<std::uint8_t> = Type::Kind::UInt8;
template <>
inline constexpr Type::Kind kKindOf<std::uint16_t> = Type::Kind::UInt16;
template <>
inline constexpr Type::Kind kKindOf<std::uint32_t> = Type::Kind::UInt32;
template <>
inline constexpr Type::Kind kKindOf<std::uint64_t> = Type::Kind::UInt64;
template <>
inline constexpr Type::Kind kKindOf<float> = Type::Kind::Float;
template <>
inline constexpr Type::Kind kKindOf<double> = Type::Kind::Double;
template <>
inline constexpr Type::Kind kKindOf<OpxString> = Type::Kind::String;
template <>
inline constexpr Type::Kind kKindOf<DateTime> = Type::Kind::DateTime;
template <>
inline constexpr Type::Kind kKindOf<Decimal> = Type::Kind::Decimal;
template <>
inline constexpr Type::Kind kKindOf<Type> = Type::Kind::Type;

template <typename T>
struct TypeOf {
    static constexpr Type value = Type::scalar(kKindOf<T>);
};
template <typename T>
struct TypeOf<std::vector<T>> {
    static constexpr Type value = Type::arrayOf(kKindOf<T>);
};

}  // namespace detail

template <typename T>
constexpr Type Type::of() noexcept {
    return detail::TypeOf<detail::Stored<T>>::value;
}

}  // namespace Korvex::OPC::OpcDaClient
