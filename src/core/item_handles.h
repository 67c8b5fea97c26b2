// Finding a request's items in the group "Main".
#pragma once

#include <vector>

#include <korvex/native/OpxItemIdentifier.h>

#include "core/ServerLink.h"

namespace OpxOpc {

// Finds out where the items stand on the server, adding to "Main" those it does not hold yet. The
// result is S_FALSE when an item failed, or the failure of the group.
HRESULT checkHandles(const ServerLink& link, std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved);

}  // namespace OpxOpc
