// An array that may be null.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

namespace Korvex::OPC::OpcDaClient {

/// The list type of methods, which may be null. A std::vector and an initialiser list convert to it, and it
/// converts to a std::vector; an application that never passes null need not care.
template <typename T>
class NullableArray {
public:
    /// Null; an empty list is not null.
    NullableArray() noexcept = default;
    /// Null.
    NullableArray(std::nullptr_t) noexcept {}
    /// The elements of a vector.
    NullableArray(std::vector<T> elements) noexcept : elements_(std::move(elements)) {}
    /// The elements of a list in braces.
    NullableArray(std::initializer_list<T> elements) : elements_(std::vector<T>(elements)) {}

    /// Whether this is null, which an empty list is not.
    bool isNull() const noexcept { return !elements_.has_value(); }

    /// The elements; throws std::bad_optional_access if this is null. So do the conversions.
    const std::vector<T>& value() const { return elements_.value(); }
    /// The elements, to be changed; throws std::bad_optional_access if this is null.
    std::vector<T>& value() { return elements_.value(); }
    /// The elements; throws std::bad_optional_access if this is null.
    operator const std::vector<T>&() const { return value(); }
    /// The elements, to be changed; throws std::bad_optional_access if this is null.
    operator std::vector<T>&() { return value(); }

    /// 0 if this is null.
    std::size_t size() const noexcept { return elements_ ? elements_->size() : 0; }

    /// An element of an array that is not null and has it.
    const T& operator[](std::size_t i) const noexcept { return (*elements_)[i]; }
    /// An element, to be changed, of an array that is not null and has it.
    T& operator[](std::size_t i) noexcept { return (*elements_)[i]; }

private:
    std::optional<std::vector<T>> elements_;
};

}  // namespace Korvex::OPC::OpcDaClient
