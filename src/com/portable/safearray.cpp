#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>
#include <memory>

#include "com/portable/variant_types.h"

using namespace Korvex::Com;

namespace {

// Stands before every SAFEARRAY that is made here, as COM has it: the interface of the elements, or their
// type in the last word. Whether there is one, and which, the features tell.
struct Header {
    std::uint32_t words[4];
};
static_assert(sizeof(Header) == sizeof(IID));

constexpr USHORT kObjects = FADF_UNKNOWN | FADF_DISPATCH;
constexpr USHORT kOwning = FADF_BSTR | FADF_VARIANT | kObjects;
// Memory of whoever made the array, which nothing stands before, and which is theirs to free.
constexpr USHORT kForeignMemory = FADF_AUTO | FADF_STATIC | FADF_EMBEDDED | FADF_FIXEDSIZE;

USHORT featuresOf(VARTYPE type) {
    switch (type) {
        case VT_BSTR:
            return FADF_HAVEVARTYPE | FADF_BSTR;
        case VT_VARIANT:
            return FADF_HAVEVARTYPE | FADF_VARIANT;
        case VT_UNKNOWN:
            return FADF_HAVEIID | FADF_UNKNOWN;
        case VT_DISPATCH:
            return FADF_HAVEIID | FADF_DISPATCH;
        default:
            return FADF_HAVEVARTYPE;
    }
}

bool has(const SAFEARRAY* array, USHORT anyFeature) {
    return (array->fFeatures & anyFeature) != 0;
}

Header* headerOf(SAFEARRAY* array) {
    return reinterpret_cast<Header*>(array) - 1;
}

// VT_EMPTY where the array does not tell.
VARTYPE typeOf(SAFEARRAY* array) {
    if (has(array, kForeignMemory)) return VT_EMPTY;
    if (has(array, FADF_HAVEIID)) return has(array, FADF_DISPATCH) ? VT_DISPATCH : VT_UNKNOWN;
    return has(array, FADF_HAVEVARTYPE) ? static_cast<VARTYPE>(headerOf(array)->words[3]) : VARTYPE{VT_EMPTY};
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

void setInterface(SAFEARRAY* array, REFIID interfaceId) {
    std::memcpy(headerOf(array), &interfaceId, sizeof interfaceId);
}

ULONG locksOf(SAFEARRAY* array) {
    return std::atomic_ref(array->cLocks);
}

struct ArrayMemoryDeleter {
    void operator()(SAFEARRAY* array) const {
        std::free(array->pvData);
        std::free(headerOf(array));
    }
};
using ArrayMemory = std::unique_ptr<SAFEARRAY, ArrayMemoryDeleter>;

ArrayMemory allocateDescriptor(UINT dimensions) {
    if (dimensions == 0 || dimensions > std::numeric_limits<USHORT>::max()) return nullptr;
    const std::size_t size = sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND);
    auto* header = static_cast<Header*>(std::calloc(1, sizeof(Header) + size));
    if (!header) return nullptr;
    ArrayMemory array(reinterpret_cast<SAFEARRAY*>(header + 1));
    array->cDims = static_cast<USHORT>(dimensions);
    return array;
}

bool allocateData(SAFEARRAY* array) {
    if (!sizeFits(array->rgsabound, array->cDims, array->cbElements)) return false;
    const std::size_t size = elementCount(array) * array->cbElements;
    array->pvData = std::calloc(1, size == 0 ? 1 : size);
    return array->pvData != nullptr;
}

// Zeroed elements in `bounds`, which are in the descriptor's order: leftmost dimension last.
ArrayMemory allocateArray(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds) {
    const std::size_t elementSize = sizeOfType(type);
    ArrayMemory array = elementSize == 0 ? nullptr : allocateDescriptor(dimensions);
    if (!array) return nullptr;
    array->fFeatures = featuresOf(type);
    array->cbElements = static_cast<ULONG>(elementSize);
    std::copy_n(bounds, dimensions, array->rgsabound);
    if (has(array.get(), FADF_HAVEIID)) {
        setInterface(array.get(), type == VT_DISPATCH ? IID_IDispatch : IID_IUnknown);
    } else {
        headerOf(array.get())->words[3] = type;
    }
    return allocateData(array.get()) ? std::move(array) : nullptr;
}

// An array like `source`, whose elements are zero.
ArrayMemory allocateLike(SAFEARRAY* source) {
    if (const VARTYPE type = typeOf(source); type != VT_EMPTY) {
        ArrayMemory copy = allocateArray(type, source->cDims, source->rgsabound);
        if (copy) *headerOf(copy.get()) = *headerOf(source);
        return copy;
    }
    ArrayMemory copy = allocateDescriptor(source->cDims);
    if (!copy) return nullptr;
    copy->fFeatures = source->fFeatures & kOwning;
    copy->cbElements = source->cbElements;
    std::copy_n(source->rgsabound, source->cDims, copy->rgsabound);
    return allocateData(copy.get()) ? std::move(copy) : nullptr;
}

void clearElement(const SAFEARRAY* array, void* element) {
    if (has(array, FADF_BSTR)) {
        SysFreeString(*static_cast<BSTR*>(element));
    } else if (has(array, FADF_VARIANT)) {
        VariantClear(static_cast<VARIANT*>(element));
    } else if (has(array, kObjects)) {
        if (auto* object = *static_cast<IUnknown**>(element)) object->Release();
    }
    std::memset(element, 0, array->cbElements);
}

void clearElements(SAFEARRAY* array) {
    const std::size_t count = array->pvData ? elementCount(array) : 0;
    for (std::size_t i = 0; i < count; ++i) clearElement(array, elementAt(array, i));
}

// Room for `count` elements, of which those behind the first `kept` are zero.
bool grow(SAFEARRAY* array, std::size_t kept, std::size_t count) {
    void* const data = std::realloc(array->pvData, count * array->cbElements);
    if (!data) return false;
    array->pvData = data;
    std::memset(elementAt(array, kept), 0, (count - kept) * array->cbElements);
    return true;
}

// Copies what `source` refers to into the empty element at `target`.
HRESULT copyElement(const SAFEARRAY* array, const void* source, void* target) {
    if (has(array, FADF_BSTR)) {
        const auto text = *static_cast<const BSTR*>(source);
        auto& copy = *static_cast<BSTR*>(target);
        copy = text ? SysAllocStringByteLen(reinterpret_cast<const CHAR*>(text), SysStringByteLen(text)) : nullptr;
        return text && !copy ? E_OUTOFMEMORY : S_OK;
    }
    if (has(array, FADF_VARIANT)) {
        auto* copy = static_cast<VARIANT*>(target);
        VariantInit(copy);
        return VariantCopy(copy, static_cast<const VARIANT*>(source));
    }
    std::memmove(target, source, array->cbElements);
    if (has(array, kObjects)) {
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
    return SafeArrayCreateEx(vt, cDims, rgsabound, nullptr);
}

SAFEARRAY* SafeArrayCreateEx(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound, void* pvExtra) {
    if (!rgsabound) return nullptr;
    ArrayMemory array = allocateArray(vt, cDims, rgsabound);
    if (!array) return nullptr;
    std::reverse(array->rgsabound, array->rgsabound + cDims);
    if (pvExtra && has(array.get(), FADF_HAVEIID)) setInterface(array.get(), *static_cast<const IID*>(pvExtra));
    return array.release();
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
    const SAFEARRAYBOUND bound = {cElements, lLbound};
    ArrayMemory array = allocateArray(vt, 1, &bound);
    if (array) array->fFeatures |= FADF_CREATEVECTOR;
    return array.release();
}

HRESULT SafeArrayAllocDescriptor(UINT cDims, SAFEARRAY** ppsaOut) {
    if (!ppsaOut || cDims == 0 || cDims > std::numeric_limits<USHORT>::max()) return E_INVALIDARG;
    *ppsaOut = allocateDescriptor(cDims).release();
    return *ppsaOut ? S_OK : E_OUTOFMEMORY;
}

HRESULT SafeArrayAllocData(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    return allocateData(psa) ? S_OK : E_OUTOFMEMORY;
}

HRESULT SafeArrayDestroy(SAFEARRAY* psa) {
    if (!psa) return S_OK;
    if (locksOf(psa) > 0) return DISP_E_ARRAYISLOCKED;
    clearElements(psa);
    if (!has(psa, kForeignMemory)) ArrayMemoryDeleter()(psa);
    return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut) {
    if (!ppsaOut) return E_INVALIDARG;
    *ppsaOut = nullptr;
    if (!psa) return S_OK;

    SAFEARRAY* copy = allocateLike(psa).release();
    if (!copy) return E_OUTOFMEMORY;

    const std::size_t count = psa->pvData ? elementCount(psa) : 0;
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

HRESULT SafeArrayRedim(SAFEARRAY* psa, SAFEARRAYBOUND* psaboundNew) {
    if (!psa || !psaboundNew || psa->cbElements == 0 || has(psa, kForeignMemory)) return E_INVALIDARG;
    if (locksOf(psa) > 0) return DISP_E_ARRAYISLOCKED;

    // The rightmost dimension varies most slowly: what comes or goes stands at the end.
    const SAFEARRAYBOUND old = psa->rgsabound[0];
    const std::size_t oldCount = psa->pvData ? elementCount(psa) : 0;
    psa->rgsabound[0] = *psaboundNew;
    const bool fits = sizeFits(psa->rgsabound, psa->cDims, psa->cbElements);
    const std::size_t count = fits ? elementCount(psa) : 0;
    if (!fits || (count > oldCount && !grow(psa, oldCount, count))) {
        psa->rgsabound[0] = old;
        return E_OUTOFMEMORY;
    }
    for (std::size_t i = count; i < oldCount; ++i) clearElement(psa, elementAt(psa, i));
    return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    ++std::atomic_ref(psa->cLocks);
    return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    std::atomic_ref locks(psa->cLocks);
    for (ULONG held = locks; held != 0;) {
        if (locks.compare_exchange_weak(held, held - 1)) return S_OK;
    }
    return E_UNEXPECTED;
}

HRESULT SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
    if (!psa || !ppvData) return E_INVALIDARG;
    *ppvData = psa->pvData;
    return SafeArrayLock(psa);
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* psa) {
    return SafeArrayUnlock(psa);
}

HRESULT SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt) {
    if (!psa || !pvt) return E_INVALIDARG;
    const VARTYPE type = typeOf(psa);
    if (type == VT_EMPTY) return E_INVALIDARG;
    *pvt = type;
    return S_OK;
}

HRESULT SafeArrayGetIID(SAFEARRAY* psa, GUID* pguid) {
    if (!psa || !pguid || has(psa, kForeignMemory) || !has(psa, FADF_HAVEIID)) return E_INVALIDARG;
    std::memcpy(pguid, headerOf(psa), sizeof *pguid);
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
    const bool isPointer = has(psa, FADF_BSTR | kObjects);
    if (!isPointer && !pv) return E_INVALIDARG;
    if (!has(psa, kOwning)) return copyElement(psa, pv, element);
    VARIANT value;
    VariantInit(&value);
    const HRESULT hr = copyElement(psa, isPointer ? static_cast<const void*>(&pv) : pv, &value);
    if (FAILED(hr)) return hr;
    clearElement(psa, element);
    std::memcpy(element, &value, psa->cbElements);
    return S_OK;
}

HRESULT SafeArrayPtrOfIndex(SAFEARRAY* psa, LONG* rgIndices, void** ppvData) {
    if (!psa || !rgIndices || !ppvData) return E_INVALIDARG;
    BYTE* const element = findElement(psa, rgIndices);
    if (!element) return DISP_E_BADINDEX;
    *ppvData = element;
    return S_OK;
}
