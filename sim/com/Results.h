// Arrays that a method hands to its caller in task memory.
#pragma once

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "com/opc_interfaces.h"
#include "com/owners.h"

namespace Korvex::Simulation {

// Gives back what one element of such an array owns besides its own bytes.
template <typename T>
void dispose(T&) noexcept {}
inline void dispose(LPWSTR& text) noexcept {
    CoTaskMemFree(text);
}
inline void dispose(VARIANT& value) noexcept {
    VariantClear(&value);
}
inline void dispose(OPCITEMSTATE& state) noexcept {
    VariantClear(&state.vDataValue);
}
inline void dispose(OPCITEMRESULT& result) noexcept {
    CoTaskMemFree(result.pBlob);
}
inline void dispose(OPCITEMATTRIBUTES& attributes) noexcept {
    CoTaskMemFree(attributes.szAccessPath);
    CoTaskMemFree(attributes.szItemID);
    CoTaskMemFree(attributes.pBlob);
    VariantClear(&attributes.vEUInfo);
}
inline void dispose(OPCITEMPROPERTY& property) noexcept {
    CoTaskMemFree(property.szItemID);
    CoTaskMemFree(property.szDescription);
    VariantClear(&property.vValue);
}

// Declared ahead of disposeArray(), which would not find them afterwards.
void dispose(OPCITEMPROPERTIES& properties) noexcept;
void dispose(OPCBROWSEELEMENT& element) noexcept;

template <typename T>
void disposeArray(T* elements, std::size_t count) noexcept {
    if (!elements) return;
    for (std::size_t i = 0; i < count; ++i) dispose(elements[i]);
    CoTaskMemFree(elements);
}

inline void dispose(OPCITEMPROPERTIES& properties) noexcept {
    disposeArray(properties.pItemProperties, properties.dwNumProperties);
}
inline void dispose(OPCBROWSEELEMENT& element) noexcept {
    CoTaskMemFree(element.szName);
    CoTaskMemFree(element.szItemID);
    dispose(element.ItemProperties);
}

// An array in the making, zeroed: it is given away at the end or freed with what it holds.
template <typename T>
class Results {
public:
    explicit Results(std::size_t count) : data_(Com::allocateTaskArray<T>(count)), count_(count) {
        if (!data_) throw std::bad_alloc();
    }
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;
    ~Results() { disposeArray(data_, count_); }

    T& operator[](std::size_t i) noexcept { return data_[i]; }
    std::size_t size() const noexcept { return count_; }

    void give(T** place) noexcept { *place = std::exchange(data_, nullptr); }

private:
    T* data_;
    std::size_t count_;
};

// A copy of `text` for the caller; throws std::bad_alloc.
inline LPWSTR giveText(OpxStringView text) {
    LPWSTR copy = Com::copyToTaskMemory(text);
    if (!copy) throw std::bad_alloc();
    return copy;
}

// The text of an argument, where null counts as empty.
inline OpxStringView viewOf(LPCWSTR text) noexcept {
    return text ? OpxStringView(text) : OpxStringView();
}

// S_FALSE if an element failed, else S_OK.
inline HRESULT overallResult(Results<HRESULT>& errors) noexcept {
    for (std::size_t i = 0; i < errors.size(); ++i)
        if (failed(errors[i])) return S_FALSE;
    return S_OK;
}

}  // namespace Korvex::Simulation
