// Dates and times as text in the conventions of a locale.
#pragma once

#include <optional>

#include "com/portable/locales.h"

namespace Korvex::Com {

// Reads a date, a time, or both in either order: numbers in the locale's order or any other in which
// they make a date, names of months, twelve- and twenty-four-hour times. A date without a year is one
// of this year. Nothing if `text` is not a date.
std::optional<double> parseDate(OpxStringView text, const LocaleConventions& locale);

// The short date and the time, each only if it is not zero. Nothing if `date` is outside the years 100
// to 9999.
std::optional<OpxString> formatDate(double date, const LocaleConventions& locale);

}  // namespace Korvex::Com
