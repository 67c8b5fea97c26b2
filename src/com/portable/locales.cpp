#include "com/portable/locales.h"

namespace Korvex::Com {
namespace {

constexpr LocaleConventions kEnglish = {
    .id = 1033,
    .decimalSign = u'.',
    .thousandsSign = u',',
    .currencySign = u'$',
    .dayFirst = false,
    .dateSeparator = u'/',
    .dotSeparatesTime = true,
    .twoDigitDayAndMonth = false,
    .twelveHourClock = true,
    .twoDigitHour = false,
    .monthNames =
        u"January February March April May June July August September October November December "
        u"Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec",
    .dayNames =
        u"Monday Tuesday Wednesday Thursday Friday Saturday Sunday "
        u"Mon Tue Wed Thu Fri Sat Sun",
};

constexpr LocaleConventions kBritish = {
    .id = 2057,
    .decimalSign = u'.',
    .thousandsSign = u',',
    .currencySign = u'£',
    .dayFirst = true,
    .dateSeparator = u'/',
    .dotSeparatesTime = true,
    .twoDigitDayAndMonth = true,
    .twelveHourClock = false,
    .twoDigitHour = true,
    .monthNames =
        u"January February March April May June July August September October November December "
        u"Jan Feb Mar Apr May Jun Jul Aug Sept Oct Nov Dec",
    .dayNames =
        u"Monday Tuesday Wednesday Thursday Friday Saturday Sunday "
        u"Mon Tue Wed Thu Fri Sat Sun",
};

constexpr LocaleConventions kGerman = {
    .id = 1031,
    .decimalSign = u',',
    .thousandsSign = u'.',
    .currencySign = u'€',
    .dayFirst = true,
    .dateSeparator = u'.',
    .dotSeparatesTime = false,
    .twoDigitDayAndMonth = false,
    .twelveHourClock = false,
    .twoDigitHour = true,
    .monthNames =
        u"Januar Februar März April Mai Juni Juli August September Oktober November Dezember "
        u"Jan Feb Mär Apr Mai Jun Jul Aug Sep Okt Nov Dez",
    .dayNames =
        u"Montag Dienstag Mittwoch Donnerstag Freitag Samstag Sonntag "
        u"Mo. Di. Mi. Do. Fr. Sa. So.",
};

constexpr LocaleConventions kFrench = {
    .id = 1036,
    .decimalSign = u',',
    .thousandsSign = u'\u00A0',
    .currencySign = u'€',
    .dayFirst = true,
    .dateSeparator = u'/',
    .dotSeparatesTime = true,
    .twoDigitDayAndMonth = true,
    .twelveHourClock = false,
    .twoDigitHour = true,
    .monthNames =
        u"janvier février mars avril mai juin juillet août septembre octobre novembre décembre "
        u"janv. févr. mars avr. mai juin juil. août sept. oct. nov. déc.",
    .dayNames =
        u"lundi mardi mercredi jeudi vendredi samedi dimanche "
        u"lun. mar. mer. jeu. ven. sam. dim.",
};

constexpr LocaleConventions kItalian = {
    .id = 1040,
    .decimalSign = u',',
    .thousandsSign = u'.',
    .currencySign = u'€',
    .dayFirst = true,
    .dateSeparator = u'/',
    .dotSeparatesTime = true,
    .twoDigitDayAndMonth = false,
    .twelveHourClock = false,
    .twoDigitHour = true,
    .monthNames =
        u"gennaio febbraio marzo aprile maggio giugno luglio agosto settembre ottobre novembre dicembre "
        u"gen feb mar apr mag giu lug ago set ott nov dic",
    .dayNames =
        u"lunedì martedì mercoledì giovedì venerdì sabato domenica "
        u"lun mar mer gio ven sab dom",
};

constexpr LocaleConventions kSpanish = {
    .id = 3082,
    .decimalSign = u',',
    .thousandsSign = u'.',
    .currencySign = u'€',
    .dayFirst = true,
    .dateSeparator = u'/',
    .dotSeparatesTime = true,
    .twoDigitDayAndMonth = false,
    .twelveHourClock = false,
    .twoDigitHour = false,
    .monthNames =
        u"enero febrero marzo abril mayo junio julio agosto septiembre octubre noviembre diciembre "
        u"ene feb mar abr may jun jul ago sept oct nov dic",
    .dayNames =
        u"lunes martes miércoles jueves viernes sábado domingo "
        u"lun mar mié jue vie sáb dom",
};

constexpr const LocaleConventions* kLocales[] = {&kEnglish, &kBritish, &kGerman, &kFrench, &kItalian, &kSpanish};

}  // namespace

const LocaleConventions& conventionsOf(LCID id) noexcept {
    constexpr LCID kLanguageWithoutSortOrder = 0xFFFF;
    for (const LocaleConventions* locale : kLocales) {
        if (locale->id == (id & kLanguageWithoutSortOrder)) return *locale;
    }
    constexpr LCID kPrimaryLanguage = 0x3FF;
    for (const LocaleConventions* locale : kLocales) {
        if ((locale->id & kPrimaryLanguage) == (id & kPrimaryLanguage)) return *locale;
    }
    return kEnglish;
}

}  // namespace Korvex::Com
