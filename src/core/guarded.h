// Operations answer result codes; this is where an exception becomes one.
#pragma once

#include <new>

#include "com/com.h"

namespace OpxOpc {

// The result of `operation`, or the code for what it threw.
template <typename Operation>
HRESULT guarded(Operation&& operation) noexcept {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

}  // namespace OpxOpc
