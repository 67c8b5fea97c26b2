#include "opc/server/LocaleIds.h"

#include "com/ascii_case.h"

namespace OpxOpc {
namespace {

struct KnownLocale {
    OpxStringView name;
    LCID id;
};

constexpr KnownLocale kKnownLocales[] = {
    {OLESTR("en"), 0x409},    {OLESTR("en-us"), 0x409}, {OLESTR("de"), 0x407},    {OLESTR("de-de"), 0x407},
    {OLESTR("en-gb"), 0x809}, {OLESTR("fr"), 0x40C},    {OLESTR("fr-fr"), 0x40C}, {OLESTR("it"), 0x410},
    {OLESTR("it-it"), 0x410}, {OLESTR("es"), 0xC0A},    {OLESTR("es-es"), 0xC0A},
};

}  // namespace

std::optional<LCID> localeIdFor(OpxStringView locale) noexcept {
    for (const KnownLocale& known : kKnownLocales) {
        if (Korvex::Com::equalsIgnoringCase(known.name, locale)) return known.id;
    }
    return std::nullopt;
}

}  // namespace OpxOpc
