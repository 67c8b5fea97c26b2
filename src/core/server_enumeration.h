// Listing the OPC servers of a machine.
#pragma once

#include <vector>

#include <korvex/native/OpxServerIdentifier.h>

#include "com/com.h"

namespace OpxOpc {

// Appends the servers of the categories, in their order; one that is registered in several comes once for
// each. A failure leaves `servers` with what was found before it.
HRESULT enumServers(const OpxString& host, const std::vector<ServerCategory>& categories,
                    std::vector<OpxServerIdentifier>& servers);

}  // namespace OpxOpc
