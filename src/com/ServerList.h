// The OPC server list over the registry of this system: the class CLSID_OpcServerList, with both of its
// interfaces. Where COM is the portable runtime it is built in; elsewhere a module serves it.
#pragma once

#include "com/com.h"

namespace Korvex::Com {

// A new server list, through its interface `riid`.
HRESULT createServerList(REFIID riid, void** ppv);

// The class object, as DllGetClassObject answers it.
KORVEX_COM_API HRESULT serverListClassObject(REFIID riid, void** ppv);

}  // namespace Korvex::Com
