// The OPC server list over the registry of this system.
#pragma once

#include "com/com.h"

namespace Korvex::Com {

// A new server list, through its interface `riid`.
HRESULT createServerList(REFIID riid, void** ppv);

}  // namespace Korvex::Com
