// COM and OLE automation as the portable runtime supplies them on systems that have none: the names,
// widths, layouts and results of the Windows SDK, as far as this project uses them. Texts are UTF-16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <korvex/text.h>

#define KORVEX_COM_API __attribute__((visibility("default")))
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define STDAPI extern "C" __attribute__((visibility("default"))) HRESULT

// ---- Scalars -------------------------------------------------------------------------------------

using BYTE = std::uint8_t;
using CHAR = char;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using SHORT = std::int16_t;
using BOOL = std::int32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using DWORD = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using FLOAT = float;
using DOUBLE = double;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = std::uint32_t;
using LANGID = std::uint16_t;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
using DATE = double;
using WCHAR = OLECHAR;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
using LPWSTR = OLECHAR*;
using LPCWSTR = const OLECHAR*;
using BSTR = OLECHAR*;
using LPVOID = void*;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;

// ---- Result codes --------------------------------------------------------------------------------

#define KORVEX_RESULT(name, code) inline constexpr HRESULT name = static_cast<HRESULT>(code)
KORVEX_RESULT(S_OK, 0);
KORVEX_RESULT(S_FALSE, 1);
KORVEX_RESULT(E_NOTIMPL, 0x80004001);
KORVEX_RESULT(E_NOINTERFACE, 0x80004002);
KORVEX_RESULT(E_POINTER, 0x80004003);
KORVEX_RESULT(E_ABORT, 0x80004004);
KORVEX_RESULT(E_FAIL, 0x80004005);
KORVEX_RESULT(E_UNEXPECTED, 0x8000FFFF);
KORVEX_RESULT(E_ACCESSDENIED, 0x80070005);
KORVEX_RESULT(E_OUTOFMEMORY, 0x8007000E);
KORVEX_RESULT(E_INVALIDARG, 0x80070057);
KORVEX_RESULT(RPC_E_CHANGED_MODE, 0x80010106);
KORVEX_RESULT(RPC_E_TOO_LATE, 0x80010119);
KORVEX_RESULT(RPC_E_WRONG_THREAD, 0x8001010E);
KORVEX_RESULT(CO_E_NOTINITIALIZED, 0x800401F0);
KORVEX_RESULT(CO_E_CLASSSTRING, 0x800401F3);
KORVEX_RESULT(CO_E_IIDSTRING, 0x800401F4);
KORVEX_RESULT(CO_E_OBJISREG, 0x800401FC);
KORVEX_RESULT(CO_E_DLLNOTFOUND, 0x800401F8);
KORVEX_RESULT(CO_E_ERRORINDLL, 0x800401F9);
KORVEX_RESULT(CO_E_SERVER_EXEC_FAILURE, 0x80080005);
KORVEX_RESULT(CO_S_NOTALLINTERFACES, 0x00080012);
KORVEX_RESULT(REGDB_E_CLASSNOTREG, 0x80040154);
KORVEX_RESULT(CLASS_E_NOAGGREGATION, 0x80040110);
KORVEX_RESULT(CLASS_E_CLASSNOTAVAILABLE, 0x80040111);
KORVEX_RESULT(CONNECT_E_NOCONNECTION, 0x80040200);
KORVEX_RESULT(CONNECT_E_ADVISELIMIT, 0x80040201);
KORVEX_RESULT(CONNECT_E_CANNOTCONNECT, 0x80040202);
KORVEX_RESULT(DISP_E_UNKNOWNINTERFACE, 0x80020001);
KORVEX_RESULT(DISP_E_TYPEMISMATCH, 0x80020005);
KORVEX_RESULT(DISP_E_BADVARTYPE, 0x80020008);
KORVEX_RESULT(DISP_E_OVERFLOW, 0x8002000A);
KORVEX_RESULT(DISP_E_BADINDEX, 0x8002000B);
KORVEX_RESULT(DISP_E_ARRAYISLOCKED, 0x8002000D);
#undef KORVEX_RESULT

#define SUCCEEDED(hr) ((hr) >= 0)
#define FAILED(hr) ((hr) < 0)

// ---- Identifiers ---------------------------------------------------------------------------------

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using CATID = GUID;
using LPCLSID = CLSID*;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline bool operator==(const GUID& a, const GUID& b) noexcept {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}
inline bool IsEqualGUID(REFGUID a, REFGUID b) noexcept {
    return a == b;
}
inline bool IsEqualIID(REFIID a, REFIID b) noexcept {
    return a == b;
}
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) noexcept {
    return a == b;
}

inline constexpr GUID GUID_NULL = {};
inline constexpr IID IID_NULL = {};

// ---- Time ----------------------------------------------------------------------------------------

struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
using FILETIME = _FILETIME;

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

// ---- Interfaces ----------------------------------------------------------------------------------

inline constexpr IID IID_IUnknown = {0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};
using LPUNKNOWN = IUnknown*;

inline constexpr IID IID_IClassFactory = {0x00000001, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IClassFactory : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) = 0;
};

inline constexpr IID IID_IMalloc = {0x00000002, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IMalloc : public IUnknown {
    virtual void* STDMETHODCALLTYPE Alloc(std::size_t cb) = 0;
    virtual void* STDMETHODCALLTYPE Realloc(void* pv, std::size_t cb) = 0;
    virtual void STDMETHODCALLTYPE Free(void* pv) = 0;
    virtual std::size_t STDMETHODCALLTYPE GetSize(void* pv) = 0;
    virtual int STDMETHODCALLTYPE DidAlloc(void* pv) = 0;
    virtual void STDMETHODCALLTYPE HeapMinimize() = 0;
};

inline constexpr IID IID_IEnumUnknown = {0x00000100, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IEnumUnknown : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, IUnknown** rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumUnknown** ppenum) = 0;
};

inline constexpr IID IID_IEnumString = {0x00000101, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IEnumString : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, LPOLESTR* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumString** ppenum) = 0;
};
using LPENUMSTRING = IEnumString*;

inline constexpr IID IID_IEnumGUID = {0x0002E000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IEnumGUID : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG celt, GUID* rgelt, ULONG* pceltFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG celt) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumGUID** ppenum) = 0;
};

inline constexpr IID IID_IGlobalInterfaceTable = {0x00000146, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IGlobalInterfaceTable : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE RegisterInterfaceInGlobal(IUnknown* pUnk, REFIID riid, DWORD* pdwCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE RevokeInterfaceFromGlobal(DWORD dwCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInterfaceFromGlobal(DWORD dwCookie, REFIID riid, void** ppv) = 0;
};
inline constexpr CLSID CLSID_StdGlobalInterfaceTable = {0x00000323, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IConnectionPoint;
struct IConnectionPointContainer;
struct IEnumConnectionPoints;
struct IEnumConnections;

struct CONNECTDATA {
    IUnknown* pUnk;
    DWORD dwCookie;
};

inline constexpr IID IID_IConnectionPointContainer = {
    0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IConnectionPointContainer : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** ppEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID riid, IConnectionPoint** ppCP) = 0;
};

inline constexpr IID IID_IConnectionPoint = {
    0xB196B286, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IConnectionPoint : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* pIID) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** ppCPC) = 0;
    virtual HRESULT STDMETHODCALLTYPE Advise(IUnknown* pUnkSink, DWORD* pdwCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE Unadvise(DWORD dwCookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** ppEnum) = 0;
};

inline constexpr IID IID_IEnumConnectionPoints = {
    0xB196B285, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IEnumConnectionPoints : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG cConnections, IConnectionPoint** ppCP, ULONG* pcFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cConnections) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumConnectionPoints** ppEnum) = 0;
};

inline constexpr IID IID_IEnumConnections = {
    0xB196B287, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
struct IEnumConnections : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG cConnections, CONNECTDATA* rgcd, ULONG* pcFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cConnections) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumConnections** ppEnum) = 0;
};

// The layouts of OLE automation have unnamed members.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"

// ---- Marshaling ----------------------------------------------------------------------------------

inline constexpr IID IID_IMarshal = {0x00000003, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

union LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    };
    LONGLONG QuadPart;
};

union ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    ULONGLONG QuadPart;
};

struct STATSTG {
    LPOLESTR pwcsName;
    DWORD type;
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
    DWORD grfLocksSupported;
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
};

inline constexpr IID IID_ISequentialStream = {
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
struct ISequentialStream : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
    virtual HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;
};

inline constexpr IID IID_IStream = {0x0000000C, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IStream : public ISequentialStream {
    virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER libNewSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                             ULARGE_INTEGER* pcbWritten) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IStream** ppstm) = 0;
};
using LPSTREAM = IStream*;

// ---- Variants ------------------------------------------------------------------------------------

enum VARENUM : std::uint16_t {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_RECORD = 36,
    VT_FILETIME = 64,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_TYPEMASK = 0x0FFF,
};

union CY {
    struct {
        ULONG Lo;
        LONG Hi;
    };
    LONGLONG int64;
};

// A sign, a scale and a 96-bit integer. The first word is the VARIANT's vt when it lies in one.
struct DECIMAL {
    USHORT wReserved;
    union {
        struct {
            BYTE scale;
            BYTE sign;
        };
        USHORT signscale;
    };
    ULONG Hi32;
    union {
        struct {
            ULONG Lo32;
            ULONG Mid32;
        };
        ULONGLONG Lo64;
    };
};
inline constexpr BYTE DECIMAL_NEG = 0x80;

struct SAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
};

// cDims bounds follow the header; as in COM the rightmost dimension stands first.
struct SAFEARRAY {
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    void* pvData;
    SAFEARRAYBOUND rgsabound[1];
};
inline constexpr USHORT FADF_AUTO = 0x0001;
inline constexpr USHORT FADF_STATIC = 0x0002;
inline constexpr USHORT FADF_EMBEDDED = 0x0004;
inline constexpr USHORT FADF_FIXEDSIZE = 0x0010;
inline constexpr USHORT FADF_HAVEIID = 0x0040;
inline constexpr USHORT FADF_HAVEVARTYPE = 0x0080;
inline constexpr USHORT FADF_BSTR = 0x0100;
inline constexpr USHORT FADF_UNKNOWN = 0x0200;
inline constexpr USHORT FADF_DISPATCH = 0x0400;
inline constexpr USHORT FADF_VARIANT = 0x0800;
inline constexpr USHORT FADF_CREATEVECTOR = 0x2000;

struct IDispatch;
struct tagVARIANT;
using VARIANT = tagVARIANT;
struct tagVARIANT {
    union {
        struct {
            VARTYPE vt;
            WORD wReserved1;
            WORD wReserved2;
            WORD wReserved3;
            union {
                LONGLONG llVal;
                LONG lVal;
                BYTE bVal;
                SHORT iVal;
                FLOAT fltVal;
                DOUBLE dblVal;
                VARIANT_BOOL boolVal;
                SCODE scode;
                CY cyVal;
                DATE date;
                BSTR bstrVal;
                IUnknown* punkVal;
                IDispatch* pdispVal;
                SAFEARRAY* parray;
                BYTE* pbVal;
                SHORT* piVal;
                LONG* plVal;
                VARIANT* pvarVal;
                void* byref;
                CHAR cVal;
                USHORT uiVal;
                ULONG ulVal;
                ULONGLONG ullVal;
                INT intVal;
                UINT uintVal;
                struct {
                    void* pvRecord;
                    void* pRecInfo;
                };
            };
        };
        DECIMAL decVal;
    };
};
using VARIANTARG = VARIANT;

static_assert(sizeof(VARIANT) == 16 + sizeof(void*), "VARIANT must have COM's layout");
static_assert(sizeof(DECIMAL) == 16, "DECIMAL must have COM's layout");

#define V_VT(v) ((v)->vt)

inline constexpr USHORT VARIANT_NOVALUEPROP = 0x01;
inline constexpr USHORT VARIANT_ALPHABOOL = 0x02;

struct DISPPARAMS {
    VARIANTARG* rgvarg;
    LONG* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

struct EXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    void* pvReserved;
    HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
    SCODE scode;
};

struct ITypeInfo;
using DISPID = LONG;

inline constexpr IID IID_IDispatch = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
struct IDispatch : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                                                    DISPID* rgDispId) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                             DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                             UINT* puArgErr) = 0;
};

#pragma GCC diagnostic pop

// ---- Activation ----------------------------------------------------------------------------------

struct COAUTHINFO;
struct COSERVERINFO {
    DWORD dwReserved1;
    LPWSTR pwszName;
    COAUTHINFO* pAuthInfo;
    DWORD dwReserved2;
};

struct MULTI_QI {
    const IID* pIID;
    IUnknown* pItf;
    HRESULT hr;
};

enum COINIT : DWORD { COINIT_MULTITHREADED = 0x0, COINIT_APARTMENTTHREADED = 0x2 };
enum CLSCTX : DWORD {
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_REMOTE_SERVER = 0x10,
};
inline constexpr DWORD CLSCTX_ALL =
    CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;
enum REGCLS : DWORD {
    REGCLS_SINGLEUSE = 0,
    REGCLS_MULTIPLEUSE = 1,
    REGCLS_MULTI_SEPARATE = 2,
    REGCLS_SUSPENDED = 4,
};

inline constexpr DWORD RPC_C_AUTHN_LEVEL_NONE = 1;
inline constexpr DWORD RPC_C_AUTHN_LEVEL_CONNECT = 2;
inline constexpr DWORD RPC_C_AUTHN_LEVEL_PKT_INTEGRITY = 5;
inline constexpr DWORD RPC_C_AUTHN_LEVEL_PKT_PRIVACY = 6;
inline constexpr DWORD RPC_C_IMP_LEVEL_IMPERSONATE = 3;
inline constexpr DWORD EOAC_NONE = 0;

inline constexpr LCID LOCALE_SYSTEM_DEFAULT = 0x0800;
inline constexpr LCID LOCALE_USER_DEFAULT = 0x0400;
inline constexpr LCID LOCALE_INVARIANT = 0x007F;

struct SOLE_AUTHENTICATION_SERVICE;

extern "C" {

KORVEX_COM_API HRESULT CoInitializeEx(void* pvReserved, DWORD dwCoInit);
KORVEX_COM_API HRESULT CoInitialize(void* pvReserved);
KORVEX_COM_API void CoUninitialize();
typedef void* CO_MTA_USAGE_COOKIE;
KORVEX_COM_API HRESULT CoIncrementMTAUsage(CO_MTA_USAGE_COOKIE* pCookie);
KORVEX_COM_API HRESULT CoDecrementMTAUsage(CO_MTA_USAGE_COOKIE Cookie);
KORVEX_COM_API HRESULT CoInitializeSecurity(void* pSecDesc, LONG cAuthSvc, SOLE_AUTHENTICATION_SERVICE* asAuthSvc,
                                            void* pReserved1, DWORD dwAuthnLevel, DWORD dwImpLevel, void* pAuthList,
                                            DWORD dwCapabilities, void* pReserved3);
KORVEX_COM_API HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown* pUnkOuter, DWORD dwClsContext, REFIID riid,
                                        void** ppv);
KORVEX_COM_API HRESULT CoCreateInstanceEx(REFCLSID clsid, IUnknown* punkOuter, DWORD dwClsCtx,
                                          COSERVERINFO* pServerInfo, DWORD dwCount, MULTI_QI* pResults);
KORVEX_COM_API HRESULT CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, void* pvReserved, REFIID riid, void** ppv);
KORVEX_COM_API HRESULT CoRegisterClassObject(REFCLSID rclsid, IUnknown* pUnk, DWORD dwClsContext, DWORD flags,
                                             DWORD* lpdwRegister);
KORVEX_COM_API HRESULT CoRevokeClassObject(DWORD dwRegister);
KORVEX_COM_API HRESULT CoSuspendClassObjects();
KORVEX_COM_API HRESULT CoResumeClassObjects();
KORVEX_COM_API HRESULT CoDisconnectObject(IUnknown* pUnk, DWORD dwReserved);
KORVEX_COM_API HRESULT CoLockObjectExternal(IUnknown* pUnk, BOOL fLock, BOOL fLastUnlockReleases);
KORVEX_COM_API HRESULT CoCreateFreeThreadedMarshaler(IUnknown* punkOuter, IUnknown** ppunkMarshal);
KORVEX_COM_API HRESULT CoMarshalInterThreadInterfaceInStream(REFIID riid, IUnknown* pUnk, IStream** ppStm);
KORVEX_COM_API HRESULT CoGetInterfaceAndReleaseStream(IStream* pStm, REFIID iid, void** ppv);
KORVEX_COM_API HRESULT CoCreateGuid(GUID* pguid);

KORVEX_COM_API void* CoTaskMemAlloc(std::size_t cb);
KORVEX_COM_API void* CoTaskMemRealloc(void* pv, std::size_t cb);
KORVEX_COM_API void CoTaskMemFree(void* pv);
KORVEX_COM_API HRESULT CoGetMalloc(DWORD dwMemContext, IMalloc** ppMalloc);

KORVEX_COM_API HRESULT StringFromCLSID(REFCLSID rclsid, LPOLESTR* lplpsz);
KORVEX_COM_API HRESULT CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid);
KORVEX_COM_API HRESULT StringFromIID(REFIID rclsid, LPOLESTR* lplpsz);
KORVEX_COM_API HRESULT IIDFromString(LPCOLESTR lpsz, IID* lpiid);
KORVEX_COM_API int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax);
KORVEX_COM_API HRESULT CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid);
KORVEX_COM_API HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID);

KORVEX_COM_API BSTR SysAllocString(const OLECHAR* psz);
KORVEX_COM_API BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui);
KORVEX_COM_API BSTR SysAllocStringByteLen(const CHAR* psz, UINT len);
KORVEX_COM_API INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz);
KORVEX_COM_API INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len);
KORVEX_COM_API void SysFreeString(BSTR bstrString);
KORVEX_COM_API UINT SysStringLen(BSTR bstr);
KORVEX_COM_API UINT SysStringByteLen(BSTR bstr);

KORVEX_COM_API void VariantInit(VARIANT* pvarg);
KORVEX_COM_API HRESULT VariantClear(VARIANT* pvarg);
KORVEX_COM_API HRESULT VariantCopy(VARIANT* pvargDest, const VARIANT* pvargSrc);
KORVEX_COM_API HRESULT VariantCopyInd(VARIANT* pvarDest, const VARIANT* pvargSrc);
KORVEX_COM_API HRESULT VariantChangeType(VARIANT* pvargDest, const VARIANT* pvarSrc, USHORT wFlags, VARTYPE vt);
KORVEX_COM_API HRESULT VariantChangeTypeEx(VARIANT* pvargDest, const VARIANT* pvarSrc, LCID lcid, USHORT wFlags,
                                           VARTYPE vt);

KORVEX_COM_API SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound);
KORVEX_COM_API SAFEARRAY* SafeArrayCreateEx(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound, void* pvExtra);
KORVEX_COM_API SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements);
KORVEX_COM_API HRESULT SafeArrayAllocDescriptor(UINT cDims, SAFEARRAY** ppsaOut);
KORVEX_COM_API HRESULT SafeArrayAllocData(SAFEARRAY* psa);
KORVEX_COM_API HRESULT SafeArrayDestroy(SAFEARRAY* psa);
KORVEX_COM_API HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut);
KORVEX_COM_API HRESULT SafeArrayRedim(SAFEARRAY* psa, SAFEARRAYBOUND* psaboundNew);
KORVEX_COM_API HRESULT SafeArrayLock(SAFEARRAY* psa);
KORVEX_COM_API HRESULT SafeArrayUnlock(SAFEARRAY* psa);
KORVEX_COM_API HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData);
KORVEX_COM_API HRESULT SafeArrayUnaccessData(SAFEARRAY* psa);
KORVEX_COM_API HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt);
KORVEX_COM_API HRESULT SafeArrayGetIID(SAFEARRAY* psa, GUID* pguid);
KORVEX_COM_API UINT SafeArrayGetDim(SAFEARRAY* psa);
KORVEX_COM_API UINT SafeArrayGetElemsize(SAFEARRAY* psa);
KORVEX_COM_API HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound);
KORVEX_COM_API HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound);
KORVEX_COM_API HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
KORVEX_COM_API HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
KORVEX_COM_API HRESULT SafeArrayPtrOfIndex(SAFEARRAY* psa, LONG* rgIndices, void** ppvData);

KORVEX_COM_API INT VariantTimeToSystemTime(DOUBLE vtime, SYSTEMTIME* lpSystemTime);
KORVEX_COM_API INT SystemTimeToVariantTime(SYSTEMTIME* lpSystemTime, DOUBLE* pvtime);
KORVEX_COM_API BOOL FileTimeToSystemTime(const FILETIME* lpFileTime, SYSTEMTIME* lpSystemTime);
KORVEX_COM_API BOOL SystemTimeToFileTime(const SYSTEMTIME* lpSystemTime, FILETIME* lpFileTime);
KORVEX_COM_API void GetSystemTimeAsFileTime(FILETIME* lpSystemTimeAsFileTime);

}  // extern "C"
