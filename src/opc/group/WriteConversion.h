// The way of a value to the VARIANT that a server is given to write.
#pragma once

#include <korvex/native/OpxVariant.h>

#include "com/com.h"

namespace OpxOpc {

enum class WriteConversion {
    Done,
    NotConverted,  // the value, or an element, is not one of the item's type
    NotCopied,     // the value cannot take that type, or has no VARIANT form
};

// Converts `value` to the type of its item; no type means the value's own. Scalars are converted by the
// rules of `locale`, and so are the elements of arrays of reals, dates and decimals, by way of their
// texts. `out` must be initialised; it is empty unless the conversion is done.
WriteConversion convertForWrite(const OpxVariant& value, Opx::VType itemType, LCID locale, VARIANT& out);

}  // namespace OpxOpc
