#include "sim/plant/Value.h"

#include <algorithm>
#include <array>

#include "sim/OpcCodes.h"

namespace Korvex::Simulation {
namespace {

bool sameArrays(SAFEARRAY* a, SAFEARRAY* b, VARTYPE elementType) noexcept {
    if (!a || !b) return a == b;
    const UINT dimensions = SafeArrayGetDim(a);
    if (dimensions != SafeArrayGetDim(b) || SafeArrayGetElemsize(a) != SafeArrayGetElemsize(b)) return false;
    std::size_t count = 1;
    for (UINT i = 0; i < dimensions; ++i) {
        if (a->rgsabound[i].cElements != b->rgsabound[i].cElements) return false;
        count *= a->rgsabound[i].cElements;
    }
    const Com::SafeArrayAccess<BYTE> left(a);
    const Com::SafeArrayAccess<BYTE> right(b);
    if (elementType == VT_BSTR) {
        const auto* x = reinterpret_cast<const BSTR*>(left.data());
        const auto* y = reinterpret_cast<const BSTR*>(right.data());
        return std::equal(x, x + count, y, [](BSTR p, BSTR q) { return Com::bstrView(p) == Com::bstrView(q); });
    }
    if (elementType == VT_VARIANT) {
        const auto* x = reinterpret_cast<const VARIANT*>(left.data());
        const auto* y = reinterpret_cast<const VARIANT*>(right.data());
        return std::equal(x, x + count, y, [](const VARIANT& p, const VARIANT& q) { return Value(p) == Value(q); });
    }
    return std::memcmp(left.data(), right.data(), count * SafeArrayGetElemsize(a)) == 0;
}

// Bytes of a scalar's payload that count.
std::size_t payloadSize(VARTYPE type) noexcept {
    switch (type) {
        case VT_EMPTY:
        case VT_NULL:
            return 0;
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_BOOL:
        case VT_I2:
        case VT_UI2:
            return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_ERROR:
        case VT_R4:
            return 4;
        default:
            return 8;
    }
}

bool sameDecimals(const DECIMAL& a, const DECIMAL& b) noexcept {
    return a.signscale == b.signscale && a.Hi32 == b.Hi32 && a.Lo64 == b.Lo64;
}

constexpr std::array<VARTYPE, 16> kScalarTypes = {VT_I2,   VT_I4,   VT_R4,      VT_R8,      VT_CY, VT_DATE,
                                                  VT_BSTR, VT_BOOL, VT_VARIANT, VT_DECIMAL, VT_I1, VT_UI1,
                                                  VT_UI2,  VT_UI4,  VT_I8,      VT_UI8};

bool isScalarType(VARTYPE type) noexcept {
    return std::find(kScalarTypes.begin(), kScalarTypes.end(), type) != kScalarTypes.end();
}

// Where the element of a SAFEARRAY lies in the VARIANT that carries it.
void* payloadOf(VARIANT& variant, VARTYPE elementType) noexcept {
    switch (elementType) {
        case VT_VARIANT:
            return &variant;
        case VT_DECIMAL:
            return &variant.decVal;
        default:
            return &variant.llVal;
    }
}

HRESULT conversionResult(HRESULT result) noexcept {
    if (succeeded(result)) return S_OK;
    return result == DISP_E_OVERFLOW ? OPC_E_RANGE : OPC_E_BADTYPE;
}

HRESULT convertScalar(const Value& value, VARTYPE type, LCID lcid, Value& converted) {
    if (value.type() == type || type == VT_VARIANT) {
        converted = value;
        return S_OK;
    }
    if (value.type() == VT_EMPTY || value.type() == VT_NULL) return OPC_E_BADTYPE;
    Value result;
    const HRESULT hr =
        VariantChangeTypeEx(result.address(), const_cast<VARIANT*>(&value.get()), lcid, VARIANT_ALPHABOOL, type);
    if (succeeded(hr)) converted = std::move(result);
    return conversionResult(hr);
}

}  // namespace

Value::Value(const VARIANT& variant) noexcept {
    VariantInit(&variant_);
    if (failed(VariantCopy(&variant_, const_cast<VARIANT*>(&variant)))) variant_ = variant;
}

bool operator==(const Value& a, const Value& b) noexcept {
    if (a.type() != b.type()) return false;
    if (a.isArray()) return sameArrays(a.get().parray, b.get().parray, elementOf(a.type()));
    if (a.type() == VT_BSTR) return Com::bstrView(a.get().bstrVal) == Com::bstrView(b.get().bstrVal);
    if (a.type() == VT_DECIMAL) return sameDecimals(a.get().decVal, b.get().decVal);
    return std::memcmp(&a.get().llVal, &b.get().llVal, payloadSize(a.type())) == 0;
}

Value makeBool(bool truth) {
    return makeScalar<SHORT>(VT_BOOL, truth ? VARIANT_TRUE : VARIANT_FALSE);
}
Value makeInt32(std::int32_t number) {
    return makeScalar(VT_I4, number);
}
Value makeDouble(double number) {
    return makeScalar(VT_R8, number);
}
Value makeDate(DATE date) {
    return makeScalar(VT_DATE, date);
}
Value makeText(OpxStringView text) {
    return makeScalar(VT_BSTR, Com::makeBstr(text).release());
}
Value makeCurrency(std::int64_t units) {
    return makeScalar(VT_CY, units);
}

Value makeDecimal(bool negative, std::uint64_t digits, BYTE scale) {
    Value value;
    DECIMAL decimal{};
    decimal.sign = negative ? DECIMAL_NEG : BYTE{0};
    decimal.scale = scale;
    decimal.Lo64 = digits;
    value.address()->decVal = decimal;
    value.address()->vt = VT_DECIMAL;
    return value;
}

Value makeArray(VARTYPE elementType, const std::vector<Value>& elements) {
    SAFEARRAY* array = SafeArrayCreateVector(elementType, 0, static_cast<ULONG>(elements.size()));
    if (!array) throw std::bad_alloc();
    Value value;
    value.address()->vt = arrayOf(elementType);
    value.address()->parray = array;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        VARIANT element = elements[i].get();
        LONG index = static_cast<LONG>(i);
        void* payload = elementType == VT_BSTR ? static_cast<void*>(element.bstrVal) : payloadOf(element, elementType);
        if (failed(SafeArrayPutElement(array, &index, payload))) throw std::bad_alloc();
    }
    return value;
}

Value makeTextArray(const std::vector<OpxString>& texts) {
    std::vector<Value> elements;
    for (const OpxString& text : texts) elements.push_back(makeText(text));
    return makeArray(VT_BSTR, elements);
}

std::vector<Value> elementsOf(const Value& value) {
    SAFEARRAY* array = value.get().parray;
    LONG lower = 0;
    LONG upper = -1;
    if (SafeArrayGetDim(array) != 1 || failed(SafeArrayGetLBound(array, 1, &lower)) ||
        failed(SafeArrayGetUBound(array, 1, &upper)))
        return {};
    const VARTYPE elementType = elementOf(value.type());
    std::vector<Value> elements;
    for (LONG i = lower; i <= upper; ++i) {
        Value element;
        if (failed(SafeArrayGetElement(array, &i, payloadOf(*element.address(), elementType)))) throw std::bad_alloc();
        if (elementType != VT_VARIANT) element.address()->vt = elementType;
        elements.push_back(std::move(element));
    }
    return elements;
}

bool toDouble(const Value& value, double& number) noexcept {
    if (value.isArray()) return false;
    Value real;
    if (failed(VariantChangeType(real.address(), const_cast<VARIANT*>(&value.get()), 0, VT_R8))) return false;
    number = real.get().dblVal;
    return true;
}

HRESULT convert(const Value& value, VARTYPE type, LCID lcid, Value& converted) {
    if (type == VT_EMPTY || type == value.type()) {
        converted = value;
        return S_OK;
    }
    if (!isConvertible(value.type(), type)) return OPC_E_BADTYPE;
    if (!value.isArray()) return convertScalar(value, type, lcid, converted);
    std::vector<Value> elements = elementsOf(value);
    for (Value& element : elements) {
        const HRESULT result = convertScalar(Value(element), elementOf(type), lcid, element);
        if (failed(result)) return result;
    }
    converted = makeArray(elementOf(type), elements);
    return S_OK;
}

bool isConvertible(VARTYPE from, VARTYPE to) noexcept {
    if (to == VT_EMPTY || from == to) return true;
    if ((from & VT_ARRAY) != (to & VT_ARRAY)) return false;
    const bool array = (to & VT_ARRAY) != 0;
    return isScalarType(elementOf(from)) && isScalarType(elementOf(to)) && (array || to != VT_VARIANT);
}

}  // namespace Korvex::Simulation
