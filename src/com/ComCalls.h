// The library's few calls of COM itself, in a table that a test can replace where it must see or
// fail one of them.
#pragma once

#include "com/com.h"

namespace Korvex::Com {

struct ComCalls {
    HRESULT (*coInitializeEx)(DWORD apartment);
    void (*coUninitialize)();
    // With no descriptor, automatic services, impersonation, no capabilities.
    HRESULT (*coInitializeSecurity)(DWORD authenticationLevel);
    HRESULT (*coCreateInstanceEx)(REFCLSID clsid, DWORD context, COSERVERINFO* server, DWORD count, MULTI_QI* results);
    HRESULT (*coCreateInstance)(REFCLSID clsid, DWORD context, REFIID riid, void** object);
    HRESULT (*coDisconnectObject)(IUnknown* object);
};

// The table in use. A test may change its entries while no other thread is in the library.
ComCalls& comCalls() noexcept;

// The calls as the platform makes them.
const ComCalls& platformComCalls() noexcept;

}  // namespace Korvex::Com
