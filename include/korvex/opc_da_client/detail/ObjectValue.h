// How Object keeps, compares, hashes and prints a value of a particular type.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include <korvex/export.h>
#include <korvex/opc_da_client/Type.h>

namespace Korvex::OPC::OpcDaClient::detail {

/// An application's own type.
template <typename T>
concept ApplicationValue = std::copy_constructible<T> && std::equality_comparable<T> && requires(const T& value) {
    { std::hash<T>()(value) } -> std::convertible_to<std::size_t>;
};

template <typename T>
inline constexpr bool kIsVector = false;
template <typename T>
inline constexpr bool kIsVector<std::vector<T>> = true;

template <typename T>
concept ForeignCharacter = std::same_as<T, char> || std::same_as<T, char8_t> || std::same_as<T, char32_t> ||
    (std::same_as<T, wchar_t> && !std::same_as<T, OLECHAR>);

template <typename T>
struct CharacterOf : std::type_identity<void> {};
template <typename C>
struct CharacterOf<C*> : std::type_identity<std::remove_cv_t<C>> {};
template <typename C, typename... Others>
struct CharacterOf<std::basic_string<C, Others...>> : std::type_identity<C> {};
template <typename C, typename... Others>
struct CharacterOf<std::basic_string_view<C, Others...>> : std::type_identity<C> {};

/// Text that is not UTF-8 in chars and not UTF-16 in OLECHARs. It would be an application's own type on the
/// one system and text on the other.
template <typename T>
concept ForeignText = !TextLike<T> && (ForeignCharacter<typename CharacterOf<T>::type> ||
                                       std::same_as<typename CharacterOf<T>::type, char16_t>);

/// The types that an Object can hold besides null, text and Objects.
template <typename T>
concept Storable = !std::same_as<T, Object> && !std::same_as<T, std::nullptr_t> && !std::same_as<T, long double> &&
                   !TextLike<T> && !ForeignCharacter<T> && !ForeignText<T> &&
                   ((kIsVector<T> && Type::of<T>().kind() != Type::Kind::Application) ||
                    (!kIsVector<T> && (Type::of<T>().kind() != Type::Kind::Application || ApplicationValue<T>)));

// ---- As it is stored -----------------------------------------------------------------------------

template <typename T>
Stored<T> toStored(T value) {
    if constexpr (std::same_as<T, Stored<T>>) {
        return value;
    } else if constexpr (kIsVector<T>) {
        Stored<T> result;
        result.reserve(value.size());
        for (const auto& element : value) result.push_back(toStored(element));
        return result;
    } else if constexpr (TextLike<T>) {
        return NullableText(value).valueOrEmpty();
    } else {
        return static_cast<Stored<T>>(value);
    }
}

// ---- Equality ------------------------------------------------------------------------------------

/// Not-a-number equals itself, so that every value does.
template <typename T>
bool equalValues(const T& a, const T& b) {
    if constexpr (std::floating_point<T>) {
        return a == b || (a != a && b != b);
    } else if constexpr (kIsVector<T>) {
        if (a.size() != b.size()) return false;
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (!equalValues<typename T::value_type>(a[i], b[i])) return false;
        }
        return true;
    } else {
        return a == b;
    }
}

// ---- Hash codes ----------------------------------------------------------------------------------

/// A number that fits 32 bits is its own hash code, so that small numbers never share one.
constexpr std::uint32_t hash64(std::uint64_t bits) noexcept {
    const auto low = static_cast<std::uint32_t>(bits);
    const auto high = static_cast<std::uint32_t>(bits >> 32);
    const std::uint32_t signOfLow = low >> 31 ? 0xFFFFFFFFu : 0u;
    return (high ^ signOfLow) == 0 ? low : low ^ (high * 0x9E3779B1u);
}

KORVEX_OPC_API std::uint32_t hashText(OpxStringView text) noexcept;
KORVEX_OPC_API std::uint32_t hashReal(double value) noexcept;

template <typename T>
std::uint32_t hashValue(const T& value) {
    if constexpr (std::is_enum_v<T> || std::integral<T>) {
        return hash64(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
    } else if constexpr (std::same_as<T, float> || std::same_as<T, double>) {
        return hashReal(value);
    } else if constexpr (std::same_as<T, OpxString>) {
        return hashText(value);
    } else if constexpr (std::same_as<T, DateTime>) {
        return hash64(static_cast<std::uint64_t>(value.ticks()));
    } else if constexpr (std::same_as<T, Decimal>) {
        const Decimal unique = value.normalised();
        return hash64(unique.low()) ^ unique.high() ^ (std::uint32_t{unique.scale()} << 16) ^
               (unique.isNegative() ? 0x80000000u : 0u);
    } else if constexpr (std::same_as<T, Type>) {
        return static_cast<std::uint32_t>(value.kind()) | (value.isArray() ? 0x100u : 0u);
    } else if constexpr (std::same_as<T, Object>) {
        return value.hashCode();
    } else if constexpr (kIsVector<T>) {
        std::uint32_t hash = static_cast<std::uint32_t>(value.size());
        for (const auto& element : value) hash = hash * 31 + hashValue<typename T::value_type>(element);
        return hash;
    } else {
        return hash64(std::hash<T>()(value));
    }
}

// ---- Text for display ----------------------------------------------------------------------------

KORVEX_OPC_API OpxString wholeNumberText(std::int64_t value);
KORVEX_OPC_API OpxString wholeNumberText(std::uint64_t value);
KORVEX_OPC_API OpxString realNumberText(float value);
KORVEX_OPC_API OpxString realNumberText(double value);

template <typename T>
OpxString displayText(const T& value) {
    if constexpr (std::same_as<T, bool>) {
        return value ? OLESTR("true") : OLESTR("false");
    } else if constexpr (std::same_as<T, char16_t>) {
        return OpxString(1, static_cast<OLECHAR>(value));
    } else if constexpr (std::integral<T>) {
        return wholeNumberText(
            static_cast<std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>>(value));
    } else if constexpr (std::same_as<T, float> || std::same_as<T, double>) {
        return realNumberText(value);
    } else if constexpr (std::same_as<T, OpxString>) {
        return value;
    } else if constexpr (std::same_as<T, Type>) {
        return value.name();
    } else if constexpr (kIsVector<T>) {
        OpxString text = OLESTR("{");
        for (std::size_t i = 0; i < value.size(); ++i) {
            if (i > 0) text += OLESTR("|");
            text += displayText<typename T::value_type>(value[i]);
        }
        return text + OLESTR("}");
    } else if constexpr (kKindOf<T> != Type::Kind::Application) {
        return value.toText();
    } else {
        return OLESTR("(application value)");
    }
}

// ---- The value -----------------------------------------------------------------------------------

class KORVEX_OPC_API ObjectValue {
public:
    virtual ~ObjectValue();

    virtual const std::type_info& typeInfo() const noexcept = 0;
    virtual Type type() const noexcept = 0;
    /// `other` is of the same type.
    virtual bool equals(const ObjectValue& other) const = 0;
    virtual std::uint32_t hashCode() const = 0;
    virtual OpxString toText() const = 0;
};

template <typename T>
class TypedObjectValue final : public ObjectValue {
public:
    explicit TypedObjectValue(T value) : value_(std::move(value)) {}

    const T& value() const noexcept { return value_; }

    const std::type_info& typeInfo() const noexcept override { return typeid(T); }
    Type type() const noexcept override { return Type::of<T>(); }
    bool equals(const ObjectValue& other) const override {
        return equalValues(value_, static_cast<const TypedObjectValue&>(other).value_);
    }
    std::uint32_t hashCode() const override { return hashValue(value_); }
    OpxString toText() const override { return displayText(value_); }

private:
    T value_;
};

}  // namespace Korvex::OPC::OpcDaClient::detail
