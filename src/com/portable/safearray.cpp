#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>

#include "com/portable/variant_types.h"

using namespace Korvex::Com;

namespace {

// Stands before every SAFEARRAY, so that the element type is known for as long as the array lives.
struct alignas(16) Header {
    VARTYPE elementType;
};

USHORT featuresOf(VARTYPE type) {
    switch (type) {
        case VT_BSTR:
            return FADF_HAVEVARTYPE | FADF_BSTR;
        case VT_VARIANT:
            return FADF_HAVEVARTYPE | FADF_VARIANT;
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return FADF_HAVEVARTYPE | FADF_UNKNOWN;
        default:
            return FADF_HAVEVARTYPE;
    }
}

Header* headerOf(SAFEARRAY* array) {
    return reinterpret_cast<Header*>(array) - 1;
}

std::size_t elementCount(const SAFEARRAY* array) {
    std::size_t count = 1;
    for (USHORT i = 0; i < array->cDims; ++i) count *= array->rgsabound[i].cElements;
    return count;
}

BYTE* elementAt(SAFEARRAY* array, std::size_t index) {
    return static_cast<BYTE*>(array->pvData) + index * array->cbElements;
}

// The bounds stand in reverse in the descriptor: dimension 1 is the last of them.
SAFEARRAYBOUND& boundOf(SAFEARRAY* array, UINT dimension) {
    return array->rgsabound[array->cDims - dimension];
}

// True if `count` elements of `elementSize` bytes in these bounds have a size that can be allocated.
bool sizeFits(const SAFEARRAYBOUND* bounds, UINT dimensions, std::size_t elementSize) {
    constexpr std::size_t kMaxBytes = std::numeric_limits<LONG>::max();
    std::size_t bytes = elementSize;
    for (UINT i = 0; i < dimensions; ++i) {
        if (bounds[i].cElements != 0 && bytes > kMaxBytes / bounds[i].cElements) return false;
        bytes *= bounds[i].cElements;
    }
    return true;
}

struct ArrayMemoryDeleter {
    void operator()(SAFEARRAY* array) const {
        std::free(array->pvData);
        std::free(headerOf(array));
    }
};
using ArrayMemory = std::unique_ptr<SAFEARRAY, ArrayMemoryDeleter>;

// Zeroed elements in `bounds`, which are in the descriptor's order: leftmost dimension last.
ArrayMemory allocateArray(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds) {
    const std::size_t elementSize = sizeOfType(type);
    if (elementSize == 0 || dimensions == 0 || dimensions > std::numeric_limits<USHORT>::max()) return nullptr;
    if (!sizeFits(bounds, dimensions, elementSize)) return nullptr;

    const std::size_t descriptorSize = sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND);
    auto* header = static_cast<Header*>(std::calloc(1, sizeof(Header) + descriptorSize));
    if (!header) return nullptr;
    header->elementType = type;
    ArrayMemory array(reinterpret_cast<SAFEARRAY*>(header + 1));
    array->cDims = static_cast<USHORT>(dimensions);
    array->fFeatures = featuresOf(type);
    array->cbElements = static_cast<ULONG>(elementSize);
    std::copy_n(bounds, dimensions, array->rgsabound);

    const std::size_t count = elementCount(array.get());
    array->pvData = std::calloc(count == 0 ? 1 : count, elementSize);
    if (!array->pvData) return nullptr;
    return array;
}

void clearElement(const SAFEARRAY* array, void* element) {
    if (array->fFeatures & FADF_BSTR) {
        SysFreeString(*static_cast<BSTR*>(element));
    } else if (array->fFeatures & FADF_VARIANT) {
        VariantClear(static_cast<VARIANT*>(element));
    } else if (array->fFeatures & FADF_UNKNOWN) {
        if (auto* object = *static_cast<IUnknown**>(element)) object->Release();
    }
    std::memset(element, 0, array->cbElements);
}

// Copies what `source` refers to into the empty element at `target`.
HRESULT copyElement(const SAFEARRAY* array, const void* source, void* target) {
    if (array->fFeatures & FADF_BSTR) {
        const auto text = *static_cast<const BSTR*>(source);
        auto& copy = *static_cast<BSTR*>(target);
        copy = text ? SysAllocStringByteLen(reinterpret_cast<const CHAR*>(text), SysStringByteLen(text)) : nullptr;
        return text && !copy ? E_OUTOFMEMORY : S_OK;
    }
    if (array->fFeatures & FADF_VARIANT) {
        auto* copy = static_cast<VARIANT*>(target);
        VariantInit(copy);
        return VariantCopy(copy, static_cast<const VARIANT*>(source));
    }
    std::memcpy(target, source, array->cbElements);
    if (array->fFeatures & FADF_UNKNOWN) {
        if (auto* object = *static_cast<IUnknown**>(target)) object->AddRef();
    }
    return S_OK;
}

// The element at `indices`, leftmost dimension first; that dimension varies fastest in memory.
BYTE* findElement(SAFEARRAY* array, const LONG* indices) {
    std::size_t offset = 0;
    for (UINT dimension = array->cDims; dimension >= 1; --dimension) {
        const SAFEARRAYBOUND& bound = boundOf(array, dimension);
        const std::int64_t position = static_cast<std::int64_t>(indices[dimension - 1]) - bound.lLbound;
        if (position < 0 || position >= static_cast<std::int64_t>(bound.cElements)) return nullptr;
        offset = offset * bound.cElements + static_cast<std::size_t>(position);
    }
    return elementAt(array, offset);
}

}  // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
    if (!rgsabound) return nullptr;
    ArrayMemory array = allocateArray(vt, cDims, rgsabound);
    if (array) std::reverse(array->rgsabound, array->rgsabound + cDims);
    return array.release();
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
    const SAFEARRAYBOUND bound = {cElements, lLbound};
    return allocateArray(vt, 1, &bound).release();
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
    if (!psa) return S_OK;
    if (psa->cLocks > 0) return DISP_E_ARRAYISLOCKED;
    ArrayMemory memory(psa);
    const std::size_t count = elementCount(psa);
    for (std::size_t i = 0; i < count; ++i) clearElement(psa, elementAt(psa, i));
    return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut) {
    if (!ppsaOut) return E_INVALIDARG;
    *ppsaOut = nullptr;
    if (!psa) return S_OK;

    SAFEARRAY* copy = allocateArray(headerOf(psa)->elementType, psa->cDims, psa->rgsabound).release();
    if (!copy) return E_OUTOFMEMORY;

    const std::size_t count = elementCount(psa);
    for (std::size_t i = 0; i < count; ++i) {
        const HRESULT hr = copyElement(psa, elementAt(psa, i), elementAt(copy, i));
        if (FAILED(hr)) {
            SafeArrayDestroy(copy);
            return hr;
        }
    }
    *ppsaOut = copy;
    return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
    if (!psa || !ppvData) return E_INVALIDARG;
    ++psa->cLocks;
    *ppvData = psa->pvData;
    return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    if (psa->cLocks == 0) return E_UNEXPECTED;
    --psa->cLocks;
    return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt) {
    if (!psa || !pvt) return E_INVALIDARG;
    *pvt = headerOf(psa)->elementType;
    return S_OK;
}

UINT SafeArrayGetDim(SAFEARRAY* psa) {
    return psa ? psa->cDims : 0;
}

UINT SafeArrayGetElemsize(SAFEARRAY* psa) {
    return psa ? psa->cbElements : 0;
}

HRESULT SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound) {
    if (!psa || !plLbound) return E_INVALIDARG;
    if (nDim == 0 || nDim > psa->cDims) return DISP_E_BADINDEX;
    *plLbound = boundOf(psa, nDim).lLbound;
    return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound) {
    if (!psa || !plUbound) return E_INVALIDARG;
    if (nDim == 0 || nDim > psa->cDims) return DISP_E_BADINDEX;
    const SAFEARRAYBOUND& bound = boundOf(psa, nDim);
    *plUbound = static_cast<LONG>(static_cast<std::int64_t>(bound.lLbound) + bound.cElements - 1);
    return S_OK;
}

HRESULT SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
    if (!psa || !rgIndices || !pv) return E_INVALIDARG;
    const BYTE* element = findElement(psa, rgIndices);
    return element ? copyElement(psa, element, pv) : DISP_E_BADINDEX;
}

HRESULT SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
    if (!psa || !rgIndices) return E_INVALIDARG;
    BYTE* element = findElement(psa, rgIndices);
    if (!element) return DISP_E_BADINDEX;

    // A text or an object is handed over as itself, any other element by its address.
    const bool isPointer = (psa->fFeatures & (FADF_BSTR | FADF_UNKNOWN)) != 0;
    if (!isPointer && !pv) return E_INVALIDARG;
    VARIANT value;
    VariantInit(&value);
    const HRESULT hr = copyElement(psa, isPointer ? static_cast<const void*>(&pv) : pv, &value);
    if (FAILED(hr)) return hr;
    clearElement(psa, element);
    std::memcpy(element, &value, psa->cbElements);
    return S_OK;
}
