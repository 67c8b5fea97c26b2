// Any value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <typeinfo>
#include <utility>

#include <korvex/export.h>
#include <korvex/opc_da_client/NullableText.h>
#include <korvex/opc_da_client/Type.h>
#include <korvex/opc_da_client/detail/ObjectValue.h>
#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

/// The value of an item, and what an application gives to items to know them by. It is null or holds
///   - a bool, an integer of 8 to 64 bits, a float, a double, a character (char16_t);
///   - text, Decimal, DateTime;
///   - a std::vector of one of these or of Object;
///   - a Type;
///   - any value of the application's own that can be copied, compared with == and hashed with
///     std::hash. Such a value serves as a handle; a server cannot be sent it.
/// Integers are kept by width and sign: a `long long` and a 64-bit `long` are the same. Text is kept as
/// OpxString, whatever it was made from: UTF-8 in chars or UTF-16 in OLECHARs. Text and characters of other
/// types, and `long double`, do not compile.
///
/// Immutable, and cheap to copy; threads may share it, where the application's own type lets them.
class KORVEX_OPC_API Object {
public:
    /// Null.
    Object() noexcept = default;
    /// Null.
    Object(std::nullptr_t) noexcept {}

    /// Holds `value`.
    template <detail::Storable T>
    Object(T value) : value_(store(detail::toStored(std::move(value)))) {}

    /// Null for a null pointer and a null text.
    template <detail::TextLike T>
    Object(const T& text) {
        const NullableText copy(text);
        if (!copy.isNull()) value_ = store(copy.value());
    }

    /// Whether there is no value.
    bool isNull() const noexcept { return !value_; }

    /// The type of what this holds; the null type for null.
    OpcDaClient::Type type() const noexcept { return value_ ? value_->type() : OpcDaClient::Type(); }

    /// The value if it is a T, else null. There is no conversion: an std::int32_t is not an std::int64_t.
    template <typename T>
    const detail::Stored<T>* tryGet() const noexcept {
        using Value = detail::Stored<T>;
        if (!value_ || value_->typeInfo() != typeid(Value)) return nullptr;
        return &static_cast<const detail::TypedObjectValue<Value>&>(*value_).value();
    }

    /// The value; throws std::bad_cast if it is not a T.
    template <typename T>
    const detail::Stored<T>& get() const {
        const auto* value = tryGet<T>();
        if (!value) throw std::bad_cast();
        return *value;
    }

    /// The same for equal values, as long as the process runs; 0 for null. Integers that fit 32 bits are
    /// their own hash codes.
    std::uint32_t hashCode() const { return value_ ? value_->hashCode() : 0; }

    /// For display: numbers with as many digits as they need, arrays as "{1|2|3}", null as "".
    OpxString toText() const { return value_ ? value_->toText() : OpxString(); }

    /// Equal are values of the same type with the same content.
    bool operator==(const Object& other) const;

private:
    template <typename T>
    static std::shared_ptr<const detail::ObjectValue> store(T value) {
        return std::make_shared<detail::TypedObjectValue<T>>(std::move(value));
    }

    std::shared_ptr<const detail::ObjectValue> value_;
};

}  // namespace Korvex::OPC::OpcDaClient
