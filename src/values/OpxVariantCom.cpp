// OpxVariant from and to the VARIANT of OLE automation.
#include <new>

#include <korvex/native/OpxVariant.h>

#include "com/owners.h"
#include "values/VariantForm.h"

namespace OpxOpc {
namespace {

using Korvex::Com::SafeArrayAccess;
using Korvex::Com::UniqueSafeArray;
using Korvex::Com::UniqueVariant;
using Opx::VType;

[[noreturn]] void throwInvalidType() {
    throw OpxTypeConversionException(OpxTypeConversionException::kInvalidType);
}

// A decimal lies over its VARIANT's first word, everything else behind the header.
const void* payloadOf(const VARIANT& variant) noexcept {
    return variant.vt == VT_DECIMAL ? static_cast<const void*>(&variant.decVal) : &variant.llVal;
}

// Elements own memory through pointers, so that the array itself must say that it holds
// such elements, by its type or, where it has none, by its features; a number may be read as any other of
// its size.
bool holdsElementsOf(const VariantForm& form, SAFEARRAY* array) noexcept {
    if (SafeArrayGetDim(array) != 1 || SafeArrayGetElemsize(array) != form.size) return false;
    if (form.varType != VT_BSTR && form.varType != VT_VARIANT) return true;
    VARTYPE actual = VT_EMPTY;
    if (succeeded(SafeArrayGetVartype(array, &actual))) return actual == form.varType;
    return (array->fFeatures & (form.varType == VT_BSTR ? FADF_BSTR : FADF_VARIANT)) != 0;
}

// Arrays of VARIANTs may hold such arrays again, and one that a server made holds perhaps itself, or
// another one several times, which in turn does so.
class Nesting {
public:
    explicit Nesting(std::size_t elements) {
        if (depth_ == 0) {
            nestedElements_ = 0;
        } else if (depth_ == kDeepest || elements > kMostNestedElements - nestedElements_) {
            throwInvalidType();
        } else {
            nestedElements_ += elements;
        }
        ++depth_;
    }
    ~Nesting() { --depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    static constexpr int kDeepest = 64;
    static constexpr std::size_t kMostNestedElements = 4'194'304;
    static thread_local int depth_;
    static thread_local std::size_t nestedElements_;
};
thread_local int Nesting::depth_ = 0;
thread_local std::size_t Nesting::nestedElements_ = 0;

OpxVariant loadArray(const VariantForm* form, SAFEARRAY* array) {
    if (!form || !array || !holdsElementsOf(*form, array)) throwInvalidType();
    const std::size_t count = array->rgsabound[0].cElements;
    const Nesting nesting(count);
    const SafeArrayAccess<const unsigned char> memory(array);
    if (count > 0 && !memory.data()) throwInvalidType();

    std::vector<OpxVariant> elements(count);
    for (std::size_t i = 0; i < count; ++i) form->load(memory.data() + i * form->size, elements[i]);
    return OpxVariant::arrayOf(form->tag, std::move(elements));
}

UniqueSafeArray storeArray(const VariantForm& form, const std::vector<OpxVariant>& elements) {
    UniqueSafeArray array(SafeArrayCreateVector(form.varType, 0, static_cast<ULONG>(elements.size())));
    const SafeArrayAccess<unsigned char> memory(array.get());
    if (!array || failed(memory.result())) throw std::bad_alloc();
    for (std::size_t i = 0; i < elements.size(); ++i) form.store(elements[i], memory.data() + i * form.size);
    return array;
}

}  // namespace

OpxVariant& OpxVariant::operator=(const VARIANT& value) {
    clear();
    if (value.vt == VT_EMPTY) return *this;
    if (value.vt & VT_ARRAY) {
        return *this = loadArray(elementForm(static_cast<VARTYPE>(value.vt & ~VT_ARRAY)), value.parray);
    }
    const VariantForm* form = scalarForm(value.vt);
    if (!form) throwInvalidType();
    form->load(payloadOf(value), *this);
    return *this;
}

void OpxVariant::toVariant(VARIANT& out) const {
    const std::uint16_t varType = varTypeFromType(type());
    if (varType == VT_UNKNOWN) throw OpxTypeConversionException(OpxTypeConversionException::kInvalidConversion);

    UniqueVariant result;
    if (varType & VT_ARRAY) {
        result.parray = storeArray(*elementForm(Opx::elementOf(type())), elements()).release();
    } else if (varType != VT_EMPTY) {
        scalarForm(type())->store(*this, &result.llVal);
    }
    result.vt = varType;
    VariantClear(&out);
    out = result.detach();
}

VType OpxVariant::typeFromVarType(std::uint16_t varType) noexcept {
    if (varType == VT_EMPTY) return VType::Empty;
    if (varType & VT_ARRAY) {
        const VariantForm* form = elementForm(static_cast<VARTYPE>(varType & ~VT_ARRAY));
        return form ? Opx::arrayOf(form->tag) : VType::Unknown;
    }
    const VariantForm* form = scalarForm(varType);
    return form ? form->tag : VType::Unknown;
}

std::uint16_t OpxVariant::varTypeFromType(VType type) noexcept {
    if (type == VType::Empty) return VT_EMPTY;
    if (Opx::isArray(type)) {
        const VariantForm* form = elementForm(Opx::elementOf(type));
        return static_cast<std::uint16_t>(form ? VT_ARRAY | form->varType : VT_UNKNOWN);
    }
    const VariantForm* form = scalarForm(type);
    return form ? form->varType : static_cast<std::uint16_t>(VT_UNKNOWN);
}

}  // namespace OpxOpc
