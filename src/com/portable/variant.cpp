#include "com/portable/variant_types.h"

using namespace Korvex::Com;

namespace {

bool isScalarType(VARTYPE type) {
    return type <= VT_DECIMAL || (type >= VT_I1 && type <= VT_UINT);
}

HRESULT copyText(BSTR text, BSTR& copy) {
    copy = SysAllocStringByteLen(reinterpret_cast<const CHAR*>(text), SysStringByteLen(text));
    return copy ? S_OK : E_OUTOFMEMORY;
}

// Turns the shallow copy of a VARIANT into one that owns what it refers to.
HRESULT deepen(VARIANT& copy) {
    if (copy.vt & VT_BYREF) return S_OK;
    if (copy.vt & VT_ARRAY) return SafeArrayCopy(copy.parray, &copy.parray);
    if (copy.vt == VT_BSTR) return copyText(copy.bstrVal, copy.bstrVal);
    if (isObjectType(copy.vt) && copy.punkVal) copy.punkVal->AddRef();
    return S_OK;
}

}  // namespace

namespace Korvex::Com {

bool isVariantType(VARTYPE type) noexcept {
    constexpr VARTYPE kKnownFlags = VT_ARRAY | VT_BYREF;
    const auto base = static_cast<VARTYPE>(type & VT_TYPEMASK);
    const auto flags = static_cast<VARTYPE>(type & ~VT_TYPEMASK);
    if ((flags & ~kKnownFlags) != 0 || !isScalarType(base)) return false;
    return flags == 0 || base > VT_NULL;
}

std::size_t sizeOfType(VARTYPE type) noexcept {
    switch (type) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_ERROR:
            return 4;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
            return 8;
        case VT_BSTR:
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return sizeof(void*);
        case VT_DECIMAL:
            return sizeof(DECIMAL);
        case VT_VARIANT:
            return sizeof(VARIANT);
        default:
            return 0;
    }
}

HRESULT dereference(const VARIANT& source, VARIANT& value) {
    value = source;
    if ((source.vt & VT_BYREF) == 0) return S_OK;
    if (!source.byref) return E_INVALIDARG;
    const auto type = static_cast<VARTYPE>(source.vt & ~VT_BYREF);
    if (type == VT_VARIANT) {
        const VARIANT inner = *source.pvarVal;
        return inner.vt == (VT_BYREF | VT_VARIANT) ? E_INVALIDARG : dereference(inner, value);
    }
    if (type == VT_DECIMAL) {
        value.decVal = *static_cast<const DECIMAL*>(source.byref);
    } else {
        value.llVal = 0;
        std::memcpy(&value.llVal, source.byref, (type & VT_ARRAY) != 0 ? sizeof(SAFEARRAY*) : sizeOfType(type));
    }
    value.vt = type;
    return S_OK;
}

}  // namespace Korvex::Com

void VariantInit(VARIANT* pvarg) {
    std::memset(pvarg, 0, sizeof(VARIANT));
}

HRESULT VariantClear(VARIANT* pvarg) {
    if (!pvarg) return E_INVALIDARG;
    if (!isVariantType(pvarg->vt)) return DISP_E_BADVARTYPE;
    if ((pvarg->vt & VT_BYREF) == 0) {
        if (pvarg->vt & VT_ARRAY) {
            const HRESULT hr = SafeArrayDestroy(pvarg->parray);
            if (FAILED(hr)) return hr;
        } else if (pvarg->vt == VT_BSTR) {
            SysFreeString(pvarg->bstrVal);
        } else if (isObjectType(pvarg->vt) && pvarg->punkVal) {
            pvarg->punkVal->Release();
        }
    }
    pvarg->vt = VT_EMPTY;
    return S_OK;
}

HRESULT VariantCopy(VARIANT* pvargDest, const VARIANT* pvargSrc) {
    if (!pvargDest || !pvargSrc) return E_INVALIDARG;
    if (!isVariantType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
    if (pvargDest == pvargSrc) return S_OK;

    // The target may own the source, as an array owns its elements: it is cleared last.
    VARIANT copy = *pvargSrc;
    HRESULT hr = deepen(copy);
    if (FAILED(hr)) return hr;
    hr = VariantClear(pvargDest);
    if (FAILED(hr)) {
        VariantClear(&copy);
        return hr;
    }
    *pvargDest = copy;
    return S_OK;
}

HRESULT VariantCopyInd(VARIANT* pvarDest, const VARIANT* pvargSrc) {
    if (!pvarDest || !pvargSrc) return E_INVALIDARG;
    if (!isVariantType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
    VARIANT value;
    const HRESULT hr = dereference(*pvargSrc, value);
    return FAILED(hr) ? hr : VariantCopy(pvarDest, &value);
}
