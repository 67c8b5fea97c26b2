#include "values/ObjectForm.h"

#include <cstring>
#include <new>
#include <vector>

#include "com/owners.h"
#include "values/TypeConverter.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

// A type of the object API and its VARIANT type: Memory is what an element of a SAFEARRAY or the payload
// of a VARIANT holds. `store` makes it, `load` reads it.
template <typename T, VARTYPE type, typename Memory = T>
struct PlainForm {
    using Value = T;
    using MemoryType = Memory;
    static constexpr VARTYPE kVarType = type;
    static Memory store(const T& value) { return static_cast<Memory>(value); }
    static T load(const Memory& memory) { return static_cast<T>(memory); }
};

struct BooleanForm : PlainForm<bool, VT_BOOL, VARIANT_BOOL> {
    static VARIANT_BOOL store(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }
    static bool load(VARIANT_BOOL memory) { return memory != VARIANT_FALSE; }
};

struct StringForm : PlainForm<OpxString, VT_BSTR, BSTR> {
    static BSTR store(const OpxString& value) { return Com::makeBstr(value).release(); }
    static OpxString load(BSTR memory) { return OpxString(Com::bstrView(memory)); }
};

struct DateTimeForm : PlainForm<DateTime, VT_DATE, DATE> {
    static DATE store(const DateTime& value) { return value.toOleDate(); }
};

struct DecimalForm : PlainForm<Decimal, VT_DECIMAL, DECIMAL> {
    static DECIMAL store(const Decimal& value) {
        DECIMAL decimal = {};
        decimal.scale = value.scale();
        decimal.sign = value.isNegative() ? DECIMAL_NEG : BYTE(0);
        decimal.Hi32 = value.high();
        decimal.Lo64 = value.low();
        return decimal;
    }
    static Decimal load(const DECIMAL& decimal) {
        return Decimal::fromParts((decimal.sign & DECIMAL_NEG) != 0, decimal.Hi32, decimal.Lo64, decimal.scale);
    }
};

struct CurrencyForm : PlainForm<Decimal, VT_CY, std::int64_t> {
    static Decimal load(std::int64_t memory) {
        const Decimal scaled(memory);
        return Decimal::fromParts(scaled.isNegative(), scaled.high(), scaled.low(), 4).normalised();
    }
};

struct ObjectElementForm : PlainForm<Object, VT_VARIANT, VARIANT> {
    static VARIANT store(const Object& value) {
        Com::UniqueVariant variant;
        if (!storeObject(value, variant)) throw ObjectConversionException();
        return variant.detach();
    }
};

template <typename... Forms>
struct FormList {
    // Calls `visitor` with each form until it answers true; false if none does.
    template <typename Visitor>
    static bool visit(Visitor visitor) {
        return (visitor(Forms()) || ...);
    }
};

// The forms of both directions, with those that one of them has besides: a character is stored as the
// number that it is loaded as, dates and Objects are only ever stored, a currency is only ever loaded.
template <typename... More>
using ScalarForms =
    FormList<BooleanForm, PlainForm<std::int8_t, VT_I1>, PlainForm<std::int16_t, VT_I2>, PlainForm<std::int32_t, VT_I4>,
             PlainForm<std::int64_t, VT_I8>, PlainForm<std::uint8_t, VT_UI1>, PlainForm<std::uint16_t, VT_UI2>,
             PlainForm<std::uint32_t, VT_UI4>, PlainForm<std::uint64_t, VT_UI8>, PlainForm<float, VT_R4>,
             PlainForm<double, VT_R8>, StringForm, DecimalForm, More...>;
using CharacterForm = PlainForm<char16_t, VT_UI2>;

// A decimal lies over its VARIANT's first word, everything else behind the header.
template <typename Form>
void* payloadOf(VARIANT& variant) noexcept {
    return Form::kVarType == VT_DECIMAL ? static_cast<void*>(&variant.decVal) : &variant.llVal;
}

template <typename Form>
const void* payloadOf(const VARIANT& variant) noexcept {
    return Form::kVarType == VT_DECIMAL ? static_cast<const void*>(&variant.decVal) : &variant.llVal;
}

template <typename Form>
void storeScalar(const typename Form::Value& value, VARIANT& out) {
    const typename Form::MemoryType memory = Form::store(value);
    std::memcpy(payloadOf<Form>(out), &memory, sizeof memory);
    out.vt = Form::kVarType;
}

template <typename Form>
void storeArray(const std::vector<typename Form::Value>& values, VARIANT& out) {
    Com::UniqueSafeArray array(SafeArrayCreateVector(Form::kVarType, 0, static_cast<ULONG>(values.size())));
    {
        const Com::SafeArrayAccess<typename Form::MemoryType> memory(array.get());
        if (failed(memory.result())) throw std::bad_alloc();
        for (std::size_t i = 0; i < values.size(); ++i) memory[i] = Form::store(values[i]);
    }
    out.parray = array.release();
    out.vt = static_cast<VARTYPE>(VT_ARRAY | Form::kVarType);
}

template <typename Form>
typename Form::Value loadScalar(const VARIANT& variant) {
    typename Form::MemoryType memory;
    std::memcpy(&memory, payloadOf<Form>(variant), sizeof memory);
    return Form::load(memory);
}

template <typename Form>
std::vector<typename Form::Value> loadArray(const VARIANT& variant) {
    const Com::SafeArrayAccess<const typename Form::MemoryType> memory(variant.parray);
    if (failed(memory.result())) throw ObjectConversionException();
    std::vector<typename Form::Value> values;
    const std::size_t count = variant.parray->rgsabound[0].cElements;
    values.reserve(count);
    for (std::size_t i = 0; i < count; ++i) values.push_back(Form::load(memory[i]));
    return values;
}

}  // namespace

bool storeObject(const Object& value, VARIANT& out) {
    if (value.isNull()) return true;
    if (value.type().isArray()) {
        return ScalarForms<CharacterForm, DateTimeForm, ObjectElementForm>::visit([&]<typename Form>(Form) {
            const auto* values = value.tryGet<std::vector<typename Form::Value>>();
            if (values) storeArray<Form>(*values, out);
            return values != nullptr;
        });
    }
    return ScalarForms<CharacterForm, DateTimeForm>::visit([&]<typename Form>(Form) {
        const auto* scalar = value.tryGet<typename Form::Value>();
        if (scalar) storeScalar<Form>(*scalar, out);
        return scalar != nullptr;
    });
}

Object loadObject(const VARIANT& variant) {
    Object result;
    const auto takeArray = [&]<typename Form>(Form) {
        const bool matches = variant.vt == (VT_ARRAY | Form::kVarType);
        if (matches) result = loadArray<Form>(variant);
        return matches;
    };
    const auto takeScalar = [&]<typename Form>(Form) {
        const bool matches = variant.vt == Form::kVarType;
        if (matches) result = loadScalar<Form>(variant);
        return matches;
    };
    const bool taken = variant.vt == VT_EMPTY || ScalarForms<CurrencyForm>::visit(takeScalar) ||
                       ScalarForms<CurrencyForm>::visit(takeArray);
    if (!taken) throw ObjectConversionException();
    return result;
}

}  // namespace Korvex::OPC::OpcDaClient
