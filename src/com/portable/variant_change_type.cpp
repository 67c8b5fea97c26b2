#include <new>
#include <optional>

#include "com/portable/Number.h"
#include "com/portable/TextReader.h"
#include "com/portable/date_text.h"
#include "com/portable/locales.h"
#include "com/portable/number_text.h"
#include "com/portable/variant_types.h"

using Korvex::OpxStringView;
using namespace Korvex::Com;

namespace {

OpxStringView bstrOf(const VARIANT& value) {
    return value.bstrVal ? OpxStringView(value.bstrVal, SysStringLen(value.bstrVal)) : OpxStringView();
}

HRESULT allocateText(OpxStringView text, VARIANT& result) {
    result.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return result.bstrVal ? S_OK : E_OUTOFMEMORY;
}

bool isInteger(VARTYPE type) {
    return type == VT_I2 || type == VT_I4 || (type >= VT_I1 && type <= VT_UINT);
}

// An integer keeps its bits, not its value, in the integer of the same size with or without sign, and a
// truth value in every integer.
std::optional<BitPattern> bitsFor(const VARIANT& source, VARTYPE target) {
    if (!isInteger(target)) return std::nullopt;
    const std::size_t size = sizeOfType(target);
    if (source.vt == VT_BOOL) {
        const auto extended = static_cast<std::uint64_t>(std::int64_t{source.boolVal});
        return BitPattern{extended & (~std::uint64_t{0} >> (64 - 8 * size))};
    }
    if (!isInteger(source.vt) || sizeOfType(source.vt) != size) return std::nullopt;
    std::uint64_t bits = 0;
    std::memcpy(&bits, &source.llVal, size);
    return BitPattern{bits};
}

HRESULT readDecimal(const DECIMAL& value, Number& result) {
    const auto exact = ExactNumber::fromDecimal(value);
    if (!exact) return E_INVALIDARG;
    result = *exact;
    return S_OK;
}

HRESULT readNumber(const VARIANT& source, VARTYPE target, const LocaleConventions& locale, Number& result) {
    if (const auto bits = bitsFor(source, target)) {
        result = *bits;
        return S_OK;
    }
    switch (source.vt) {
        case VT_EMPTY:
            result = ExactNumber();
            return S_OK;
        case VT_I1:
            result = ExactNumber::fromSigned(static_cast<std::int8_t>(source.cVal));
            return S_OK;
        case VT_I2:
            result = ExactNumber::fromSigned(source.iVal);
            return S_OK;
        case VT_BOOL:
            result = ExactNumber::fromSigned(source.boolVal);
            return S_OK;
        case VT_I4:
        case VT_INT:
            result = ExactNumber::fromSigned(source.lVal);
            return S_OK;
        case VT_I8:
            result = ExactNumber::fromSigned(source.llVal);
            return S_OK;
        case VT_UI1:
            result = ExactNumber::fromUnsigned(source.bVal);
            return S_OK;
        case VT_UI2:
            result = ExactNumber::fromUnsigned(source.uiVal);
            return S_OK;
        case VT_UI4:
        case VT_UINT:
            result = ExactNumber::fromUnsigned(source.ulVal);
            return S_OK;
        case VT_UI8:
            result = ExactNumber::fromUnsigned(source.ullVal);
            return S_OK;
        case VT_CY:
            result = ExactNumber::fromSigned(source.cyVal.int64, 4);
            return S_OK;
        case VT_R4:
            result = Real{source.fltVal, kSingle};
            return S_OK;
        case VT_R8:
        case VT_DATE:
            result = Real{source.dblVal, kDouble};
            return S_OK;
        case VT_DECIMAL:
            return readDecimal(source.decVal, result);
        case VT_BSTR:
            return parseNumber(bstrOf(source), locale, result);
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

std::optional<bool> truthOf(OpxStringView text) {
    const auto isOneOf = [text](OpxStringView plain, OpxStringView marked) {
        return equalsIgnoringCase(text, plain) || equalsIgnoringCase(text, marked);
    };
    if (isOneOf(OLESTR("True"), OLESTR("#TRUE#"))) return true;
    if (isOneOf(OLESTR("False"), OLESTR("#FALSE#"))) return false;
    return std::nullopt;
}

HRESULT storeDate(const VARIANT& source, const LocaleConventions& locale, VARIANT& result) {
    if (source.vt == VT_BSTR) {
        const auto date = parseDate(bstrOf(source), locale);
        if (!date) return DISP_E_TYPEMISMATCH;
        result.date = *date;
        return S_OK;
    }
    Number number;
    const HRESULT hr = readNumber(source, VT_DATE, locale, number);
    return FAILED(hr) ? hr : toDate(number, result.date);
}

HRESULT storeTruth(const VARIANT& source, const LocaleConventions& locale, VARIANT& result) {
    if (source.vt == VT_BSTR) {
        if (const auto truth = truthOf(bstrOf(source))) {
            result.boolVal = *truth ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        }
    }
    Number number;
    const HRESULT hr = readNumber(source, VT_BOOL, locale, number);
    if (FAILED(hr)) return hr;
    result.boolVal = isZero(number) ? VARIANT_FALSE : VARIANT_TRUE;
    return S_OK;
}

HRESULT storeText(const VARIANT& source, const LocaleConventions& locale, USHORT flags, VARIANT& result) {
    if (source.vt == VT_EMPTY) return allocateText({}, result);
    if (source.vt == VT_BOOL && (flags & VARIANT_ALPHABOOL) != 0) {
        return allocateText(source.boolVal != VARIANT_FALSE ? OLESTR("True") : OLESTR("False"), result);
    }
    if (source.vt == VT_DATE) {
        const auto text = formatDate(source.date, locale);
        return text ? allocateText(*text, result) : E_INVALIDARG;
    }
    Number number;
    const HRESULT hr = readNumber(source, VT_BSTR, locale, number);
    return FAILED(hr) ? hr : allocateText(localized(toText(number), locale), result);
}

HRESULT storeNumber(const VARIANT& source, const LocaleConventions& locale, VARTYPE target, VARIANT& result) {
    Number number;
    const HRESULT hr = readNumber(source, target, locale, number);
    if (FAILED(hr)) return hr;
    switch (target) {
        case VT_I1: {
            std::int8_t value = 0;
            const HRESULT narrowed = toInteger(number, value);
            result.cVal = static_cast<CHAR>(value);
            return narrowed;
        }
        case VT_I2:
            return toInteger(number, result.iVal);
        case VT_I4:
        case VT_INT:
            return toInteger(number, result.lVal);
        case VT_I8:
            return toInteger(number, result.llVal);
        case VT_UI1:
            return toInteger(number, result.bVal);
        case VT_UI2:
            return toInteger(number, result.uiVal);
        case VT_UI4:
        case VT_UINT:
            return toInteger(number, result.ulVal);
        case VT_UI8:
            return toInteger(number, result.ullVal);
        case VT_R4:
            return toSingle(number, result.fltVal);
        case VT_R8:
            return toDouble(number, result.dblVal);
        case VT_CY:
            return toCurrency(number, result.cyVal);
        case VT_DECIMAL:
            return toDecimal(number, result.decVal);
        default:
            return DISP_E_TYPEMISMATCH;
    }
}

HRESULT convertScalar(const VARIANT& source, const LocaleConventions& locale, USHORT flags, VARTYPE target,
                      VARIANT& result) {
    switch (target) {
        case VT_EMPTY:
        case VT_NULL:
            return S_OK;
        case VT_DATE:
            return storeDate(source, locale, result);
        case VT_BOOL:
            return storeTruth(source, locale, result);
        case VT_BSTR:
            return storeText(source, locale, flags, result);
        default:
            return storeNumber(source, locale, target, result);
    }
}

// A text and an array of its bytes are one another.
constexpr VARTYPE kBytes = VT_ARRAY | VT_UI1;

HRESULT storeBytes(BSTR text, VARIANT& result) {
    const UINT count = SysStringByteLen(text);
    result.parray = SafeArrayCreateVector(VT_UI1, 0, count);
    if (!result.parray) return E_OUTOFMEMORY;
    if (count > 0) std::memcpy(result.parray->pvData, text, count);
    return S_OK;
}

HRESULT storeTextOf(SAFEARRAY* bytes, VARIANT& result) {
    if (SafeArrayGetDim(bytes) != 1 || SafeArrayGetElemsize(bytes) != 1) return E_INVALIDARG;
    result.bstrVal = SysAllocStringByteLen(static_cast<const CHAR*>(bytes->pvData), bytes->rgsabound[0].cElements);
    return result.bstrVal ? S_OK : E_OUTOFMEMORY;
}

HRESULT convertValue(const VARIANT& value, LCID lcid, USHORT flags, VARTYPE target, VARIANT& result) {
    if (value.vt == VT_BSTR && target == kBytes) return storeBytes(value.bstrVal, result);
    if (value.vt == kBytes && target == VT_BSTR) return storeTextOf(value.parray, result);
    const bool neverConverts = value.vt == VT_NULL || value.vt == VT_ERROR;
    if (neverConverts || ((value.vt | target) & (VT_ARRAY | VT_BYREF)) != 0) return DISP_E_TYPEMISMATCH;
    return convertScalar(value, conventionsOf(lcid), flags, target, result);
}

HRESULT convert(const VARIANT& source, LCID lcid, USHORT flags, VARTYPE target, VARIANT& result) {
    if (!isVariantType(source.vt) || !isVariantType(target)) return DISP_E_BADVARTYPE;
    VARIANT value;
    HRESULT hr = dereference(source, value);
    if (FAILED(hr)) return hr;
    if (!isVariantType(value.vt)) return DISP_E_BADVARTYPE;
    if (value.vt == target) return VariantCopy(&result, &value);

    hr = convertValue(value, lcid, flags, target, result);
    // A DECIMAL lies over the type, which is therefore set last.
    result.vt = target;
    return hr;
}

}  // namespace

HRESULT VariantChangeType(VARIANT* pvargDest, const VARIANT* pvarSrc, USHORT wFlags, VARTYPE vt) {
    return VariantChangeTypeEx(pvargDest, pvarSrc, LOCALE_USER_DEFAULT, wFlags, vt);
}

HRESULT VariantChangeTypeEx(VARIANT* pvargDest, const VARIANT* pvarSrc, LCID lcid, USHORT wFlags, VARTYPE vt) {
    if (!pvargDest || !pvarSrc) return E_INVALIDARG;
    VARIANT result;
    VariantInit(&result);
    HRESULT hr = S_OK;
    try {
        hr = convert(*pvarSrc, lcid, wFlags, vt, result);
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    }
    if (FAILED(hr)) return hr;
    hr = VariantClear(pvargDest);
    if (FAILED(hr)) {
        VariantClear(&result);
        return hr;
    }
    *pvargDest = result;
    return S_OK;
}
