// The task allocator: what crosses an interface is allocated by one side and freed by the other.
#include <cstdlib>

#include "com/com.h"

extern "C" {

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
