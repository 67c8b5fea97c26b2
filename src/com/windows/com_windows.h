// Windows' half of the platform floor: the SDK's own COM.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef _WIN32_DCOM
#define _WIN32_DCOM
#endif
#include <windows.h>

#include <comcat.h>
#include <objbase.h>
#include <objidl.h>
#include <ocidl.h>
#include <oleauto.h>
#include <olectl.h>

#undef ERROR
#undef IN
#undef OUT

// Marks what the portable runtime exports; here the system's own is used.
#define KORVEX_COM_API

// Missing from the mingw-w64 headers.
inline constexpr CLSID kStdGlobalInterfaceTable = {
    0x00000323, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
#define CLSID_StdGlobalInterfaceTable kStdGlobalInterfaceTable
