// The items' codes of one call.
#pragma once

#include <cstddef>

#include "com/com.h"

namespace OpxOpc {

// Returns item `i`'s code. A list that is missing or short says that the items it leaves out went well.
template <typename Codes>
HRESULT codeAt(const Codes& codes, std::size_t i) noexcept {
    return i < codes.size() ? codes[i] : S_OK;
}

}  // namespace OpxOpc
