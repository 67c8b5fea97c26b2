// The properties of the types that a VARIANT can carry.
#pragma once

#include "com/portable/com_portable.h"

namespace Korvex::Com {

// True for the types that VariantClear and VariantCopy accept.
bool isVariantType(VARTYPE type) noexcept;

// The bytes of a value of a scalar type, or of VT_VARIANT, outside a VARIANT; 0 if it has none.
std::size_t sizeOfType(VARTYPE type) noexcept;

// A shallow copy of what `source` holds or refers to.
HRESULT dereference(const VARIANT& source, VARIANT& value);

// True for the types whose value is a counted reference.
constexpr bool isObjectType(VARTYPE type) noexcept {
    return type == VT_UNKNOWN || type == VT_DISPATCH;
}

}  // namespace Korvex::Com
