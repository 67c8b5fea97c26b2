// A VARIANT that can be copied and compared.
#pragma once

#include <cstring>
#include <type_traits>
#include <vector>

#include "com/owners.h"

namespace Korvex::Simulation {

class Value {
public:
    Value() noexcept { VariantInit(&variant_); }
    // A deep copy; what cannot be copied because its type is none is taken bit by bit.
    explicit Value(const VARIANT& variant) noexcept;
    Value(const Value& other) noexcept : Value(other.variant_) {}
    Value(Value&& other) noexcept : variant_(other.detach()) {}
    Value& operator=(Value other) noexcept {
        std::swap(variant_, other.variant_);
        return *this;
    }
    ~Value() { VariantClear(&variant_); }

    const VARIANT& get() const noexcept { return variant_; }
    VARIANT* address() noexcept { return &variant_; }
    VARTYPE type() const noexcept { return variant_.vt; }
    bool isArray() const noexcept { return (variant_.vt & VT_ARRAY) != 0; }

    // Hands the content over; what is left is empty.
    [[nodiscard]] VARIANT detach() noexcept {
        const VARIANT content = variant_;
        VariantInit(&variant_);
        return content;
    }

    // Same type and same content; a real that is not a number equals itself.
    friend bool operator==(const Value& a, const Value& b) noexcept;

private:
    VARIANT variant_;
};

// A scalar of `type`, whose payload in a VARIANT is a T.
template <typename T>
Value makeScalar(VARTYPE type, T payload) noexcept {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(LONGLONG));
    Value value;
    value.address()->vt = type;
    value.address()->llVal = 0;
    std::memcpy(&value.address()->llVal, &payload, sizeof payload);
    return value;
}

Value makeBool(bool truth);
Value makeInt32(std::int32_t number);
Value makeDouble(double number);
Value makeDate(DATE date);
Value makeText(OpxStringView text);
// `units` ten-thousandths.
Value makeCurrency(std::int64_t units);
// `digits` divided by the scale-th power of ten.
Value makeDecimal(bool negative, std::uint64_t digits, BYTE scale);

constexpr VARTYPE arrayOf(VARTYPE elementType) noexcept {
    return static_cast<VARTYPE>(elementType | VT_ARRAY);
}
constexpr VARTYPE elementOf(VARTYPE arrayType) noexcept {
    return static_cast<VARTYPE>(arrayType & ~VT_ARRAY);
}

// A one-dimensional array; the elements are of `elementType`, or of any type if that is VT_VARIANT.
Value makeArray(VARTYPE elementType, const std::vector<Value>& elements);
Value makeTextArray(const std::vector<OpxString>& texts);

// The elements of a one-dimensional array, each with its own type if they are variants.
std::vector<Value> elementsOf(const Value& array);

// `value` as a double, for analog items; false for what is no number.
bool toDouble(const Value& value, double& number) noexcept;

// Converts as OPC items are converted, arrays element by element. Type 0 is the value's own. A
// value that does not fit is OPC_E_RANGE, one of another kind OPC_E_BADTYPE.
HRESULT convert(const Value& value, VARTYPE type, LCID lcid, Value& converted);

// Whether values of type `from` can be asked for as `to` at all.
bool isConvertible(VARTYPE from, VARTYPE to) noexcept;

}  // namespace Korvex::Simulation
