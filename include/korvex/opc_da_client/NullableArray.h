// An array that may be null.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

namespace Korvex::OPC::OpcDaClient {

// What methods take and answer as lists. A std::vector and an initialiser list convert to it, and it
// converts to a std::vector; an application that never passes null need not care.
template <typename T>
class NullableArray {
public:
    // Null; an empty list is not null.
    NullableArray() noexcept = default;
    NullableArray(std::nullptr_t) noexcept {}
    NullableArray(std::vector<T> elements) noexcept : elements_(std::move(elements)) {}
    NullableArray(std::initializer_list<T> elements) : elements_(std::vector<T>(elements)) {}

    bool isNull() const noexcept { return !elements_.has_value(); }

    // The elements; throws std::bad_optional_access if this is null. So do the conversions.
    const std::vector<T>& value() const { return elements_.value(); }
    std::vector<T>& value() { return elements_.value(); }
    operator const std::vector<T>&() const { return value(); }
    operator std::vector<T>&() { return value(); }

    // 0 if this is null.
    std::size_t size() const noexcept { return elements_ ? elements_->size() : 0; }

    // An element of an array that is not null and has it.
    const T& operator[](std::size_t i) const noexcept { return (*elements_)[i]; }
    T& operator[](std::size_t i) noexcept { return (*elements_)[i]; }

private:
    std::optional<std::vector<T>> elements_;
};

}  // namespace Korvex::OPC::OpcDaClient
