// Comparisons that take ASCII letters of either case for the same. Letters outside ASCII have one case here.
#pragma once

#include <algorithm>

#include <korvex/text.h>

namespace Korvex::Com {

constexpr OLECHAR toLower(OLECHAR c) noexcept {
    return c >= OLESTR('A') && c <= OLESTR('Z') ? static_cast<OLECHAR>(c - OLESTR('A') + OLESTR('a')) : c;
}

constexpr bool equalsIgnoringCase(OpxStringView a, OpxStringView b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](OLECHAR x, OLECHAR y) { return toLower(x) == toLower(y); });
}

constexpr bool beginsWithIgnoringCase(OpxStringView text, OpxStringView prefix) noexcept {
    return equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

}  // namespace Korvex::Com
