// The VARIANT types that native values can take, and how each lies in memory.
#pragma once

#include <cstddef>

#include <korvex/native/OpxVType.h>

#include "com/com.h"

namespace OpxOpc {

class OpxVariant;

// One VARIANT type: its tag, and the way of a value from and to the memory that holds it, which is an
// element of a SAFEARRAY or the payload of a VARIANT.
struct VariantForm {
    VARTYPE varType;
    Opx::VType tag;
    std::size_t size;
    void (*load)(const void* memory, OpxVariant& value);
    void (*store)(const OpxVariant& value, void* memory);  // the memory must be zero
};

// The form of an element, or of a scalar value; null for a type or tag that has none. VT_VARIANT is a
// form of elements only.
const VariantForm* elementForm(VARTYPE varType) noexcept;
const VariantForm* elementForm(Opx::VType tag) noexcept;
const VariantForm* scalarForm(VARTYPE varType) noexcept;
const VariantForm* scalarForm(Opx::VType tag) noexcept;

}  // namespace OpxOpc
