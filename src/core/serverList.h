// The component of a machine that knows its OPC servers.
#pragma once

#include "com/ComPtr.h"
#include "com/com.h"
#include "com/opc_interfaces.h"

namespace OpxOpc {

// Reaches the list on `host`, empty for this machine.
HRESULT createServerList(const OpxString& host, Korvex::Com::ComPtr<IOPCServerList2>& list);

// A class identifier with braces.
HRESULT textOf(const CLSID& clsid, OpxString& text);

}  // namespace OpxOpc
