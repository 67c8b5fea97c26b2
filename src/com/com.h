// The platform floor: COM and OLE automation under their own names. On Windows these are the SDK's
// headers; elsewhere the portable runtime declares the same names with the same widths and layouts.
// This is the one header that decides which, and everything above it is free of such decisions.
#pragma once

#include <korvex/text.h>

#ifdef _WIN32
#include "com/windows/com_windows.h"
#else
#include "com/portable/com_portable.h"
#endif

// The identifier of an interface, for ComPtr and QueryInterface; one specialisation an interface.
template <typename Interface>
const IID& iidOf() noexcept;

#define KORVEX_STANDARD_INTERFACE(name)        \
    template <>                                \
    inline const IID& iidOf<name>() noexcept { \
        return IID_##name;                     \
    }
KORVEX_STANDARD_INTERFACE(IUnknown)
KORVEX_STANDARD_INTERFACE(IClassFactory)
KORVEX_STANDARD_INTERFACE(IStream)
KORVEX_STANDARD_INTERFACE(IEnumString)
KORVEX_STANDARD_INTERFACE(IEnumUnknown)
KORVEX_STANDARD_INTERFACE(IEnumGUID)
KORVEX_STANDARD_INTERFACE(IGlobalInterfaceTable)
KORVEX_STANDARD_INTERFACE(IConnectionPointContainer)
KORVEX_STANDARD_INTERFACE(IConnectionPoint)
KORVEX_STANDARD_INTERFACE(IEnumConnectionPoints)
KORVEX_STANDARD_INTERFACE(IEnumConnections)
#undef KORVEX_STANDARD_INTERFACE

// True for the success codes; the SDK's SUCCEEDED macro in a form that is not a macro.
constexpr bool succeeded(HRESULT hr) noexcept {
    return hr >= 0;
}
constexpr bool failed(HRESULT hr) noexcept {
    return hr < 0;
}

// Result codes are typed constants: a bare 0x8... literal is unsigned and compares wrongly.
constexpr HRESULT hresult(std::uint32_t code) noexcept {
    return static_cast<HRESULT>(code);
}
