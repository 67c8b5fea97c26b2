// The task allocator: what crosses an interface is allocated by one side and freed by the other.
#include <malloc.h>

#include <cstdlib>

#include "com/com.h"

namespace {

// There is one; its life is the process's, so references to it are not counted.
class TaskAllocator final : public IMalloc {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        if (!ppvObject) return E_POINTER;
        const bool known = riid == IID_IUnknown || riid == IID_IMalloc;
        *ppvObject = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    void* STDMETHODCALLTYPE Alloc(std::size_t cb) override { return CoTaskMemAlloc(cb); }
    void* STDMETHODCALLTYPE Realloc(void* pv, std::size_t cb) override { return CoTaskMemRealloc(pv, cb); }
    void STDMETHODCALLTYPE Free(void* pv) override { CoTaskMemFree(pv); }
    std::size_t STDMETHODCALLTYPE GetSize(void* pv) override {
        return pv ? ::malloc_usable_size(pv) : static_cast<std::size_t>(-1);
    }
    int STDMETHODCALLTYPE DidAlloc(void*) override { return -1; }  // it cannot tell
    void STDMETHODCALLTYPE HeapMinimize() override { ::malloc_trim(0); }
};

constinit TaskAllocator taskAllocator;

}  // namespace

extern "C" {

HRESULT CoGetMalloc(DWORD dwMemContext, IMalloc** ppMalloc) {
    if (!ppMalloc) return E_INVALIDARG;
    *ppMalloc = dwMemContext == 1 ? &taskAllocator : nullptr;
    return *ppMalloc ? S_OK : E_INVALIDARG;
}

void* CoTaskMemAlloc(std::size_t cb) {
    return std::malloc(cb == 0 ? 1 : cb);
}

void* CoTaskMemRealloc(void* pv, std::size_t cb) {
    if (pv && cb == 0) {
        std::free(pv);
        return nullptr;
    }
    return std::realloc(pv, cb == 0 ? 1 : cb);
}

void CoTaskMemFree(void* pv) {
    std::free(pv);
}

}  // extern "C"
