#include "opc/callbacks/DeliveredItem.h"

#include "com/owners.h"

namespace OpxOpc {
namespace {

HRESULT codeOf(const HRESULT* codes, std::size_t i, bool delivered) noexcept {
    const HRESULT code = codes ? codes[i] : S_OK;
    return succeeded(code) && !delivered ? E_FAIL : code;
}

HRESULT assign(const VARIANT& value, OpxVariant& out, HRESULT onOverflow = OPC_E_BADTYPE) {
    try {
        out = value;
        return S_OK;
    } catch (const OpxTypeConversionException& e) {
        out.clear();
        return e.reason() == OpxTypeConversionException::kOverflow ? onOverflow : OPC_E_BADTYPE;
    }
}

// A decimal is taken as a currency exactly, which the platform's conversion need not be; arrays it refuses.
bool isDecimalAsCurrency(VARTYPE requested, VARTYPE delivered) noexcept {
    return (requested == VT_CY && delivered == VT_DECIMAL) ||
           (requested == (VT_ARRAY | VT_CY) && delivered == (VT_ARRAY | VT_DECIMAL));
}

}  // namespace

DeliveredItem DeliveredArrays::operator[](std::size_t i) const noexcept {
    DeliveredItem item;
    item.value = values ? values + i : nullptr;
    item.quality = qualities ? qualities[i] : WORD(0);
    item.time = times ? times + i : nullptr;
    item.code = codeOf(codes, i, values && qualities);
    return item;
}

DeliveredItem DeliveredStates::operator[](std::size_t i) const noexcept {
    DeliveredItem item;
    item.code = codeOf(codes, i, states != nullptr);
    if (!states) return item;
    item.value = &states[i].vDataValue;
    item.quality = states[i].wQuality;
    item.time = &states[i].ftTimeStamp;
    return item;
}

bool isGood(WORD quality) noexcept {
    return (quality & OPC_QUALITY_MASK) == OPC_QUALITY_MASK;
}

bool isEmptyButGood(const DeliveredItem& item) noexcept {
    return item.value->vt == VT_EMPTY && isGood(item.quality);
}

VARTYPE requestedVarType(Opx::VType type) noexcept {
    if (type == Opx::VType::Empty || type == Opx::VType::Unknown) return VT_EMPTY;
    return OpxVariant::varTypeFromType(type);
}

HRESULT takeValue(const DeliveredItem& item, OpxVariant& out) {
    return assign(*item.value, out);
}

HRESULT takeValueAs(VARTYPE requested, LCID locale, const DeliveredItem& item, OpxVariant& out) {
    const VARTYPE delivered = item.value->vt;
    const bool isConverted = isDecimalAsCurrency(requested, delivered);
    if (requested == VT_EMPTY || requested == delivered || isConverted) {
        const HRESULT hr = assign(*item.value, out, isConverted ? DISP_E_OVERFLOW : OPC_E_BADTYPE);
        return failed(hr) ? hr : item.code;
    }
    // A reference into the server's memory is not followed.
    if (delivered & VT_BYREF) return OPC_E_BADTYPE;

    Korvex::Com::UniqueVariant converted;
    const HRESULT hr =
        VariantChangeTypeEx(&converted, const_cast<VARIANT*>(item.value), locale, VARIANT_ALPHABOOL, requested);
    if (failed(hr)) return hr;
    const HRESULT taken = assign(converted, out);
    return failed(taken) ? taken : hr;
}

OpxDate timeOf(const DeliveredItem& item) {
    if (!item.time) return {};
    try {
        const OpxDate date = OpxDate::fromFileTime(*item.time);
        return date.time() < 0 ? OpxDate() : date;
    } catch (const OpxTypeConversionException&) {
        return {};
    }
}

}  // namespace OpxOpc
