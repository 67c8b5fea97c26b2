// Texts of result codes.
#pragma once

#include "com/com.h"

namespace Korvex::Simulation {

// Hands out the text of `error`; E_INVALIDARG for a code or a locale that the server does not know.
HRESULT giveErrorText(HRESULT error, LCID locale, LPWSTR* text);

// Whether clients may use the locale.
bool isLocale(LCID locale);

}  // namespace Korvex::Simulation
