// The arrays that servers answer with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "values/codeAt.h"

// Free the memory that elements of OPC arrays own; found by TaskArray through the namespace of their types.
inline void clearTaskElement(OPCITEMSTATE& element) noexcept {
    VariantClear(&element.vDataValue);
}
inline void clearTaskElement(OPCITEMRESULT& element) noexcept {
    CoTaskMemFree(element.pBlob);
}
inline void clearTaskElement(OPCITEMPROPERTY& element) noexcept {
    CoTaskMemFree(element.szItemID);
    CoTaskMemFree(element.szDescription);
    VariantClear(&element.vValue);
}
inline void clearTaskElement(OPCITEMPROPERTIES& element) noexcept {
    for (DWORD i = 0; element.pItemProperties && i < element.dwNumProperties; ++i) {
        clearTaskElement(element.pItemProperties[i]);
    }
    CoTaskMemFree(element.pItemProperties);
}
inline void clearTaskElement(OPCBROWSEELEMENT& element) noexcept {
    CoTaskMemFree(element.szName);
    CoTaskMemFree(element.szItemID);
    clearTaskElement(element.ItemProperties);
}

namespace OpxOpc {

using ItemCodes = Korvex::Com::TaskArray<HRESULT>;

// Hands the items' codes on when `hr` says that there are some to read. Where the server left them out
// then, no item can be relied on: each gets E_FAIL.
inline void copyCodes(HRESULT hr, const ItemCodes& codes, std::size_t count, std::vector<std::int32_t>& out) {
    out.clear();
    if (hr != S_FALSE) return;
    if (codes) {
        out.assign(codes.begin(), codes.end());
    } else {
        out.assign(count, E_FAIL);
    }
}

}  // namespace OpxOpc
