// The parts of a server's URL.
#pragma once

#include <optional>

#include "com/com.h"

namespace OpxOpc {

// scheme "//" host "/" ProgID "/" class identifier, split at "/" alone.
struct ServerUrl {
    OpxString host;  // empty for this machine
    OpxString progId;
    OpxString clsidText;  // empty when the URL names none

    // False when the URL ends with the ProgID.
    bool hasClsidPart = false;

    // True when the class identifier is too short to be one and has to be looked up.
    bool needsLookup() const noexcept;

    // Nothing when a third "/" is missing or stands within the last four characters.
    static std::optional<ServerUrl> parse(OpxStringView url);
};

}  // namespace OpxOpc
