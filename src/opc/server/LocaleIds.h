// The locales that a connection can ask a server for.
#pragma once

#include <optional>

#include "com/com.h"

namespace OpxOpc {

// The LCID for "en", "de-DE" and the like, in any case; nothing for a locale that the library does not know.
std::optional<LCID> localeIdFor(OpxStringView locale) noexcept;

}  // namespace OpxOpc
