// The native value: a type tag with one scalar, or a one-dimensional array.
#pragma once

#include <cstdint>
#include <type_traits>
#include <variant>
#include <vector>

#include <korvex/export.h>
#include <korvex/native/OpxDate.h>
#include <korvex/native/OpxDecimal.h>
#include <korvex/native/OpxTypeConversionException.h>
#include <korvex/native/OpxVType.h>
#include <korvex/text.h>

struct tagVARIANT;

namespace OpxOpc {

/// Item values and property values in the native layers. Copies are deep. Conversions are strict: what
/// does not fit throws OpxTypeConversionException and leaves the value as it was. Unless a method says
/// otherwise, the reason is 0 (OVERFLOW) for a value outside the target's range, 1 (INVALIDTYPE) for
/// text that is not entirely a number, and 2 (INVALIDCONVERSION) where the two tags do not convert.
///
/// A value belongs to one thread at a time.
class KORVEX_OPC_API OpxVariant {
public:
    /// A value of any type that can be assigned. A default-constructed value is Empty.
    template <typename T>
    static OpxVariant of(T&& value) {
        OpxVariant result;
        result = static_cast<T&&>(value);
        return result;
    }

    /// An array with tag 128 + `element`; with VType::Variant each element keeps its own tag, with any
    /// other type every element must carry the tag `element` (else reason 2).
    static OpxVariant arrayOf(Opx::VType element, std::vector<OpxVariant> elements);

    /// Tag Unknown: something was delivered that no tag describes.
    static OpxVariant unknown();

    /// Tag Error with the reason of a failed conversion.
    static OpxVariant error(std::int32_t reason);

    /// Makes it a truth value.
    OpxVariant& operator=(bool value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(std::int8_t value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(std::int16_t value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(std::int32_t value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(std::int64_t value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(std::uint8_t value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(std::uint16_t value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(std::uint32_t value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(std::uint64_t value);
    /// `long` and `long long`, of which one is no std::int64_t.
    template <typename T>
    requires std::is_same_v<T, long> || std::is_same_v<T, long long> OpxVariant& operator=(T value) {
        return *this = static_cast<std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>>(value);
    }
    /// `unsigned long` and `unsigned long long`, of which one is no std::uint64_t.
    template <typename T>
    requires std::is_same_v<T, unsigned long> || std::is_same_v<T, unsigned long long> OpxVariant& operator=(T value) {
        return *this = static_cast<std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>(value);
    }
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(float value);
    /// Makes it a number, with the tag of its type.
    OpxVariant& operator=(double value);
    /// Makes it a text.
    OpxVariant& operator=(OpxStringView value);
    /// Makes it a text.
    OpxVariant& operator=(const OpxString& value) { return *this = OpxStringView(value); }
    OpxVariant& operator=(const OLECHAR* value);  ///< null is ""
    OpxVariant& operator=(const void* value) = delete;
    /// Makes it a date.
    OpxVariant& operator=(const OpxDate& value);
    /// Makes it a decimal.
    OpxVariant& operator=(const OpxDecimal& value);
    /// Reason 1 for what has no tag: a type outside the table of typeFromVarType, a reference, an array
    /// that is missing or has several dimensions. Reason 0 for a decimal that no currency can hold,
    /// reason 3 for a date that cannot be represented. The value is then Empty.
    OpxVariant& operator=(const tagVARIANT& value);

    /// Makes it Empty.
    void clear() noexcept;

    /// The tag.
    Opx::VType type() const noexcept;
    /// Whether there is no value.
    bool isEmpty() const noexcept { return type() == Opx::VType::Empty; }

    /// Array elements; an empty list for a scalar.
    const std::vector<OpxVariant>& elements() const noexcept;

    /// The lowest byte of the payload as a truth value, whatever the tag, so that an Int32 of 256 and a
    /// Double of 1.0 are false; of a date it is the lowest byte of its seconds. An array is true, Empty
    /// is false. Text is false when it is "0" or begins with "false" in any case; "" is true.
    bool toBool() const noexcept;

    /// Reals must lie within the target's range and are then rounded by adding 0.5 and truncating, so
    /// that 2.5 gives 3, -2.5 gives -2 and -128.0 gives -127. Not-a-number gives the lowest value of
    /// the 32- and 64-bit signed targets and reason 0 elsewhere. Decimals are truncated.
    ///
    /// Text must be a decimal number to its end, leading white space and a sign allowed; "" is 0. A
    /// minus sign before an unsigned number wraps around at 32 bits before the range is tested.
    std::int8_t toInt8() const;
    /// As toInt8.
    std::int16_t toInt16() const;
    /// As toInt8.
    std::int32_t toInt32() const;
    /// As toInt8.
    std::uint8_t toUInt8() const;
    /// As toInt8.
    std::uint16_t toUInt16() const;
    /// As toInt8.
    std::uint32_t toUInt32() const;
    /// The same, but that text is read as a signed 64-bit number, that what follows the number in it is
    /// ignored, and that toUInt64 takes the sign's bit over: "-1" gives 18446744073709551615.
    std::int64_t toInt64() const;
    /// As toInt64.
    std::uint64_t toUInt64() const;

    /// Reason 4 for UInt64. A result other than 0 that is too small for a normal float is reason 0, as
    /// one too large is.
    float toFloat() const;
    /// As toFloat, without its range.
    double toDouble() const;

    /// Numbers in decimal, a Float with up to 6 and a Double with up to 12 significant digits; "true" and
    /// "false"; dates as ISO 8601 text in UTC; arrays as "{1|2|3}", with "|" inside an element not marked
    /// in any way. A date that cannot be represented is "<Invalid Data>".
    OpxString toString() const;

    /// Reason 3 for text that is not an ISO 8601 date.
    OpxDate toDate() const;

    /// Integers beyond plus and minus 92233720368547 and reals beyond that are reason 0.
    OpxDecimal toDecimal() const;

    /// Converts in place; does nothing when the value has the tag already. The text "{1|2|3}" converts to
    /// an array, an array element by element; an array of VType::Variant keeps its elements' tags. Reason
    /// 2 for tags that are no conversion's target: Empty, Variant, Unknown, Error and Array alone.
    void changeType(Opx::VType target);

    /// Stores this value into `out`, which must be initialised; what it held is cleared, and what it
    /// then holds is the caller's. A Decimal becomes a currency. Reason 2 for a tag that has no VARIANT type,
    /// reason 3 for a date that cannot be represented; `out` then keeps its content.
    void toVariant(tagVARIANT& out) const;

    /// The tag for a VARIANT type, `Unknown` for one that has none.
    static Opx::VType typeFromVarType(std::uint16_t varType) noexcept;
    /// The VARIANT type for a tag, VT_UNKNOWN (13) for one that has none.
    static std::uint16_t varTypeFromType(Opx::VType type) noexcept;

private:
    struct Unknown {};
    struct Error {
        std::int32_t reason;
    };
    struct Array {
        Opx::VType element;
        std::vector<OpxVariant> elements;
    };
    using Payload = std::variant<std::monostate, bool, std::int8_t, std::int16_t, std::int32_t, std::int64_t,
                                 std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t, float, double, OpxString,
                                 OpxDate, OpxDecimal, Unknown, Error, Array>;

    OpxVariant toScalar(Opx::VType target) const;
    OpxVariant toArrayOf(Opx::VType element) const;

    Payload payload_;
};

}  // namespace OpxOpc
