// The parameters of a browse call.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/native/OpxBrowseElement.h>

#include "com/com.h"

namespace OpxOpc {

// The properties wanted of each item: all of them, or those of the list; none when that is empty.
struct PropertyRequest {
    const std::vector<std::uint32_t>& ids;
    bool all = false;
    bool values = false;

    bool wantsAny() const noexcept { return all || !ids.empty(); }
};

class DaGroupMgt;

struct BrowseRequest {
    const OpxString& itemName;      // the branch; empty for the root
    std::uint32_t maxElements = 0;  // 0 for as many as there are
    BrowseFilter filter = BrowseFilter::All;
    PropertyRequest properties;
    DaGroupMgt* group = nullptr;  // to ask which branches are items too, where browsing does not tell
};

}  // namespace OpxOpc
