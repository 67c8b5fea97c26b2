#include "opc/server/LocaleIds.h"

#include <algorithm>

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

constexpr OLECHAR toLower(OLECHAR c) noexcept {
    return c >= OLECHAR('A') && c <= OLECHAR('Z') ? OLECHAR(c + ('a' - 'A')) : c;
}

bool equalInAnyCase(OpxStringView a, OpxStringView b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](OLECHAR x, OLECHAR y) { return toLower(x) == toLower(y); });
}

}  // namespace

std::optional<LCID> localeIdFor(OpxStringView locale) noexcept {
    for (const KnownLocale& known : kKnownLocales) {
        if (equalInAnyCase(known.name, locale)) return known.id;
    }
    return std::nullopt;
}

}  // namespace OpxOpc
