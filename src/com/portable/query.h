// Asking an object for an interface.
#pragma once

#include "com/portable/com_portable.h"

namespace Korvex::Com {

// As QueryInterface, but that success with no interface is E_NOINTERFACE.
inline HRESULT queryFor(IUnknown& object, REFIID riid, void** ppv) {
    *ppv = nullptr;
    const HRESULT hr = object.QueryInterface(riid, ppv);
    if (FAILED(hr)) *ppv = nullptr;
    return SUCCEEDED(hr) && !*ppv ? E_NOINTERFACE : hr;
}

}  // namespace Korvex::Com
