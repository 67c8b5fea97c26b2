// How numbers, dates and currency are written in the locales that this library knows.
#pragma once

#include "com/portable/com_portable.h"

namespace Korvex::Com {

struct LocaleConventions {
    LCID id;

    OLECHAR decimalSign;
    OLECHAR thousandsSign;
    OLECHAR currencySign;

    bool dayFirst;             // the order of a date whose parts could stand in either
    OLECHAR dateSeparator;     // as written; "/" and "-" are read everywhere
    bool dotSeparatesTime;     // "12.30" is a time rather than a date
    bool twoDigitDayAndMonth;  // "01/03/2008" rather than "1/3/2008"
    bool twelveHourClock;
    bool twoDigitHour;

    // Names with a blank between them: the full ones and then the short ones, January and Monday first.
    OpxStringView monthNames;
    OpxStringView dayNames;
};

// The conventions of `id`, or of its language where the country is not known: en-US for English. A
// language that is not known, and what stands for the system's or the user's choice, write as en-US does.
const LocaleConventions& conventionsOf(LCID id) noexcept;

}  // namespace Korvex::Com
