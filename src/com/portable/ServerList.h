// The OPC server list over the registry of this system.
#pragma once

#include "com/com.h"

namespace Korvex::Com {

// The class object of the server list.
HRESULT getServerListClassObject(REFIID riid, void** ppv);

}  // namespace Korvex::Com
