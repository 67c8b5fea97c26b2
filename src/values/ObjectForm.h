// The VARIANT types that values of the object API take.
#pragma once

#include <korvex/opc_da_client/Object.h>

#include "com/com.h"

namespace Korvex::OPC::OpcDaClient {

// Stores `value` into `out`, which must be empty. False, with `out` still empty, for a value of a type
// that has no VARIANT form. Throws ObjectConversionException for an array with such an element and
// std::out_of_range for a date that has none.
bool storeObject(const Object& value, VARIANT& out);

// The value in `variant`, which must be one that OpxVariant made. Throws ObjectConversionException for
// a type that is not loaded from a VARIANT: dates, and arrays of VARIANTs.
Object loadObject(const VARIANT& variant);

}  // namespace Korvex::OPC::OpcDaClient
