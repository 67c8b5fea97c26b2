#include "values/VariantForm.h"

#include <cstdint>
#include <cstring>
#include <iterator>

#include <korvex/native/OpxVariant.h>

#include "com/ExactNumber.h"
#include "com/owners.h"

namespace OpxOpc {
namespace {

using Opx::VType;

template <typename T>
T read(const void* memory) noexcept {
    T value;
    std::memcpy(&value, memory, sizeof value);
    return value;
}

template <typename T>
void write(T value, void* memory) noexcept {
    std::memcpy(memory, &value, sizeof value);
}

template <typename T>
void loadNumber(const void* memory, OpxVariant& value) {
    value = read<T>(memory);
}

template <typename T, T (OpxVariant::*convert)() const>
void storeNumber(const OpxVariant& value, void* memory) {
    write((value.*convert)(), memory);
}

// Not toFloat, which refuses what a server may well deliver: infinities and numbers close to 0.
void storeFloat(const OpxVariant& value, void* memory) {
    write(static_cast<float>(value.toDouble()), memory);
}

void loadBool(const void* memory, OpxVariant& value) {
    value = read<VARIANT_BOOL>(memory) != VARIANT_FALSE;
}

void storeBool(const OpxVariant& value, void* memory) {
    write<VARIANT_BOOL>(value.toBool() ? VARIANT_TRUE : VARIANT_FALSE, memory);
}

void loadText(const void* memory, OpxVariant& value) {
    value = Korvex::Com::bstrView(read<BSTR>(memory));
}

void storeText(const OpxVariant& value, void* memory) {
    write<BSTR>(Korvex::Com::makeBstr(value.toString()).release(), memory);
}

void loadDate(const void* memory, OpxVariant& value) {
    value = OpxDate::fromOleDate(read<DATE>(memory));
}
void storeDate(const OpxVariant& value, void* memory) {
    write<DATE>(value.toDate().toOleDate(), memory);
}

void loadCurrency(const void* memory, OpxVariant& value) {
    value = OpxDecimal::fromScaled(read<std::int64_t>(memory));
}
void storeCurrency(const OpxVariant& value, void* memory) {
    write(value.toDecimal().scaled(), memory);
}

void loadDecimal(const void* memory, OpxVariant& value) {
    // Not by VariantChangeType, which goes through a double on some systems.
    const auto exact = Korvex::Com::ExactNumber::fromDecimal(read<DECIMAL>(memory));
    const auto currency = exact ? exact->toCurrency() : std::nullopt;
    if (!currency) throw OpxTypeConversionException(OpxTypeConversionException::kOverflow);
    value = OpxDecimal::fromScaled(*currency);
}

void loadVariant(const void* memory, OpxVariant& value) {
    value = *static_cast<const VARIANT*>(memory);
}
void storeVariant(const OpxVariant& value, void* memory) {
    value.toVariant(*static_cast<VARIANT*>(memory));
}

template <typename T, T (OpxVariant::*convert)() const>
constexpr VariantForm numberForm(VARTYPE varType, VType tag) {
    return {varType, tag, sizeof(T), loadNumber<T>, storeNumber<T, convert>};
}

// A tag's first entry is the form that it is stored in: a decimal becomes a currency.
constexpr VariantForm kForms[] = {
    {VT_BOOL, VType::Bool, sizeof(VARIANT_BOOL), loadBool, storeBool},
    numberForm<std::int8_t, &OpxVariant::toInt8>(VT_I1, VType::Int8),
    numberForm<std::int16_t, &OpxVariant::toInt16>(VT_I2, VType::Int16),
    numberForm<std::int32_t, &OpxVariant::toInt32>(VT_I4, VType::Int32),
    numberForm<std::int64_t, &OpxVariant::toInt64>(VT_I8, VType::Int64),
    numberForm<std::uint8_t, &OpxVariant::toUInt8>(VT_UI1, VType::UInt8),
    numberForm<std::uint16_t, &OpxVariant::toUInt16>(VT_UI2, VType::UInt16),
    numberForm<std::uint32_t, &OpxVariant::toUInt32>(VT_UI4, VType::UInt32),
    numberForm<std::uint64_t, &OpxVariant::toUInt64>(VT_UI8, VType::UInt64),
    {VT_R4, VType::Float, sizeof(float), loadNumber<float>, storeFloat},
    numberForm<double, &OpxVariant::toDouble>(VT_R8, VType::Double),
    {VT_BSTR, VType::String, sizeof(BSTR), loadText, storeText},
    {VT_DATE, VType::Date, sizeof(DATE), loadDate, storeDate},
    {VT_CY, VType::Decimal, sizeof(CY), loadCurrency, storeCurrency},
    {VT_DECIMAL, VType::Decimal, sizeof(DECIMAL), loadDecimal, storeCurrency},
    {VT_VARIANT, VType::Variant, sizeof(VARIANT), loadVariant, storeVariant},
};

template <typename Predicate>
const VariantForm* findForm(Predicate matches) noexcept {
    for (const VariantForm& form : kForms) {
        if (matches(form)) return &form;
    }
    return nullptr;
}

const VariantForm* unlessVariant(const VariantForm* form) noexcept {
    return form && form->varType != VT_VARIANT ? form : nullptr;
}

}  // namespace

const VariantForm* elementForm(VARTYPE varType) noexcept {
    return findForm([=](const VariantForm& form) { return form.varType == varType; });
}

const VariantForm* elementForm(VType tag) noexcept {
    return findForm([=](const VariantForm& form) { return form.tag == tag; });
}

const VariantForm* scalarForm(VARTYPE varType) noexcept {
    return unlessVariant(elementForm(varType));
}
const VariantForm* scalarForm(VType tag) noexcept {
    return unlessVariant(elementForm(tag));
}

}  // namespace OpxOpc
