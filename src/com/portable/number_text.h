// Numbers as text in the conventions of a locale.
#pragma once

#include <string_view>

#include "com/portable/Number.h"
#include "com/portable/locales.h"

namespace Korvex::Com {

// Reads a decimal number with an optional sign or parentheses, currency sign, thousands signs and
// exponent, or "&H" and "&O" with hexadecimal or octal digits. DISP_E_TYPEMISMATCH if `text` is none
// of these, DISP_E_OVERFLOW if no number is that large.
HRESULT parseNumber(OpxStringView text, const LocaleConventions& locale, Number& result);

// `text`, which has "." as its decimal sign, with the locale's.
OpxString localized(std::string_view text, const LocaleConventions& locale);

}  // namespace Korvex::Com
