// Item values as servers deliver them, and their way into the library's own records.
#pragma once

#include <cstddef>
#include <cstdint>

#include <korvex/native/OpxItemValue.h>

#include "com/com.h"
#include "com/opc_interfaces.h"
#include "com/result_codes.h"

namespace OpxOpc {

// One item of an answer or a callback. The pointers are the server's.
struct DeliveredItem {
    const VARIANT* value = nullptr;
    WORD quality = 0;
    const FILETIME* time = nullptr;
    HRESULT code = S_OK;  // E_FAIL when the server promised a value and left it out
};

// The parallel arrays that data access 3.0 reads and the callbacks deliver; any may be missing.
struct DeliveredArrays {
    const VARIANT* values;
    const WORD* qualities;
    const FILETIME* times;
    const HRESULT* codes;

    DeliveredItem operator[](std::size_t i) const noexcept;
};

// The array of records that data access 2.0 reads deliver.
struct DeliveredStates {
    const OPCITEMSTATE* states;
    const HRESULT* codes;

    DeliveredItem operator[](std::size_t i) const noexcept;
};

bool isGood(WORD quality) noexcept;

// No value although the quality is good: a server that could not make the requested type.
bool isEmptyButGood(const DeliveredItem& item) noexcept;

// The VARIANT type to ask for; VT_EMPTY, the server's own choice, for a tag that has none.
VARTYPE requestedVarType(Opx::VType type) noexcept;

// Takes the value of an item that did not fail. S_OK, or OPC_E_BADTYPE for a type that the library has
// no tag for; `out` is then empty.
HRESULT takeValue(const DeliveredItem& item, OpxVariant& out);

// The same, converted by the rules of `locale` unless the value has the requested type already or
// VT_EMPTY is requested. Answers the conversion's code, or the item's where nothing was converted. A decimal
// that is too large for the currency requested is DISP_E_OVERFLOW.
HRESULT takeValueAs(VARTYPE requested, LCID locale, const DeliveredItem& item, OpxVariant& out);

// The item's time; the all-zero date where it is missing or not a date from 1970 on.
OpxDate timeOf(const DeliveredItem& item);

}  // namespace OpxOpc
