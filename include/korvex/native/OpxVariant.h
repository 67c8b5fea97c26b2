// The native value: a type tag with one scalar, or a one-dimensional array.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/export.h>
#include <korvex/native/OpxDate.h>
#include <korvex/native/OpxDecimal.h>
#include <korvex/native/OpxString.h>
#include <korvex/native/OpxTypeConversionException.h>
#include <korvex/native/OpxVType.h>

struct tagVARIANT;

namespace OpxOpc {

// Item values and property values in the native layers. Conversions are strict: what does not fit
// throws OpxTypeConversionException and leaves the value as it was.
//
// A value belongs to one thread at a time.
class KORVEX_OPC_API OpxVariant {
public:
    // Tag Empty.
    OpxVariant() noexcept;
    OpxVariant(const OpxVariant& other);
    OpxVariant(OpxVariant&& other) noexcept;
    ~OpxVariant();
    OpxVariant& operator=(const OpxVariant& other);
    OpxVariant& operator=(OpxVariant&& other) noexcept;

    // A value of any type that can be assigned.
    template <typename T>
    static OpxVariant of(T&& value) {
        OpxVariant result;
        result = static_cast<T&&>(value);
        return result;
    }

    // An array with tag 128 + `element`; with VType::Variant each element keeps its own tag, with any
    // other type every element must carry the tag `element` (else reason 2).
    static OpxVariant arrayOf(Opx::VType element, std::vector<OpxVariant> elements);

    OpxVariant& operator=(bool value);
    OpxVariant& operator=(std::int8_t value);
    OpxVariant& operator=(std::int16_t value);
    OpxVariant& operator=(std::int32_t value);
    OpxVariant& operator=(std::int64_t value);
    OpxVariant& operator=(std::uint8_t value);
    OpxVariant& operator=(std::uint16_t value);
    OpxVariant& operator=(std::uint32_t value);
    OpxVariant& operator=(std::uint64_t value);
    OpxVariant& operator=(float value);
    OpxVariant& operator=(double value);
    OpxVariant& operator=(OpxStringView value);
    OpxVariant& operator=(const OpxString& value) { return *this = OpxStringView(value); }
    OpxVariant& operator=(const OLECHAR* value);  // null is ""
    OpxVariant& operator=(const OpxDate& value);
    OpxVariant& operator=(const OpxDecimal& value);
    // Reason 1 for a type that has no tag; the value is then Empty.
    OpxVariant& operator=(const tagVARIANT& value);

    void clear() noexcept;

    Opx::VType type() const noexcept;
    bool isEmpty() const noexcept { return type() == Opx::VType::Empty; }

    // Array elements; an empty list for a scalar.
    const std::vector<OpxVariant>& elements() const noexcept;

    // The first byte of the payload as a truth value, whatever the tag, but for text: "false" at its
    // start in any case and "0" are false.
    bool toBool() const noexcept;
    // Reals are rounded by adding 0.5 and truncating; bounds are tested before that.
    std::int8_t toInt8() const;
    std::int16_t toInt16() const;
    std::int32_t toInt32() const;
    std::int64_t toInt64() const;
    std::uint8_t toUInt8() const;
    std::uint16_t toUInt16() const;
    std::uint32_t toUInt32() const;
    std::uint64_t toUInt64() const;
    float toFloat() const;
    double toDouble() const;
    OpxString toString() const;
    OpxDate toDate() const;
    OpxDecimal toDecimal() const;

    // Converts in place. "{1|2|3}" converts to an array, an array element by element.
    void changeType(Opx::VType target);

    // Stores this value into `out`, which must be initialised and is cleared first; the caller owns
    // what it then holds. Reason 2 for a tag that has no VARIANT type.
    void toVariant(tagVARIANT& out) const;

    // The tag for a VARIANT type, `Unknown` for one that has none.
    static Opx::VType typeFromVarType(std::uint16_t varType) noexcept;
    // The VARIANT type for a tag, VT_UNKNOWN (13) for one that has none.
    static std::uint16_t varTypeFromType(Opx::VType type) noexcept;

private:
    Opx::VType type_ = Opx::VType::Empty;
    alignas(8) unsigned char payload_[16] = {};
};

}  // namespace OpxOpc
