#include "opc/group/WriteConversion.h"

#include "com/owners.h"

namespace OpxOpc {
namespace {

using Korvex::Com::UniqueVariant;

WriteConversion convertScalar(const OpxVariant& value, VARTYPE type, LCID locale, VARIANT& out) {
    UniqueVariant own;
    value.toVariant(own);
    const HRESULT hr = VariantChangeTypeEx(&out, &own, locale, VARIANT_ALPHABOOL, type);
    return succeeded(hr) ? WriteConversion::Done : WriteConversion::NotConverted;
}

// Arrays whose elements go by way of their texts.
bool isConvertedByText(Opx::VType type) {
    return type == Opx::arrayOf(Opx::VType::Float) || type == Opx::arrayOf(Opx::VType::Double) ||
           type == Opx::arrayOf(Opx::VType::Date) || type == Opx::arrayOf(Opx::VType::Decimal);
}

bool putConverted(SAFEARRAY* array, LONG index, const OpxVariant& text, LCID locale, VARTYPE type) {
    UniqueVariant own;
    text.toVariant(own);
    UniqueVariant converted;
    if (failed(VariantChangeTypeEx(&converted, &own, locale, 0, type))) return false;
    return succeeded(SafeArrayPutElement(array, &index, &converted.llVal));
}

WriteConversion convertByText(OpxVariant value, Opx::VType itemType, LCID locale, VARIANT& out) {
    value.changeType(Opx::arrayOf(Opx::VType::String));
    const VARTYPE elementType = OpxVariant::varTypeFromType(Opx::elementOf(itemType));
    const auto count = static_cast<ULONG>(value.elements().size());
    Korvex::Com::UniqueSafeArray array(SafeArrayCreateVector(elementType, 0, count));
    if (!array) return WriteConversion::NotCopied;

    LONG index = 0;
    for (const OpxVariant& text : value.elements()) {
        if (!putConverted(array.get(), index++, text, locale, elementType)) return WriteConversion::NotConverted;
    }
    out.vt = static_cast<VARTYPE>(VT_ARRAY | elementType);
    out.parray = array.release();
    return WriteConversion::Done;
}

WriteConversion convert(const OpxVariant& value, Opx::VType itemType, LCID locale, VARIANT& out) {
    if (itemType == Opx::VType::Empty || itemType == Opx::VType::Unknown || itemType == value.type()) {
        value.toVariant(out);
        return WriteConversion::Done;
    }
    // 128, an array of no element type, counts as a scalar here: no server has such an item.
    const bool scalars = itemType <= Opx::VType::Array && value.type() <= Opx::VType::Array;
    if (scalars) return convertScalar(value, OpxVariant::varTypeFromType(itemType), locale, out);
    if (isConvertedByText(itemType)) return convertByText(value, itemType, locale, out);

    OpxVariant changed = value;
    changed.changeType(itemType);
    changed.toVariant(out);
    return WriteConversion::Done;
}

}  // namespace

WriteConversion convertForWrite(const OpxVariant& value, Opx::VType itemType, LCID locale, VARIANT& out) {
    try {
        return convert(value, itemType, locale, out);
    } catch (const OpxTypeConversionException&) {
        VariantClear(&out);
        return WriteConversion::NotCopied;
    }
}

}  // namespace OpxOpc
