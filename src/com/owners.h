// Owners of what COM and OLE automation allocate: no path above frees by hand.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "com/com.h"

namespace Korvex::Com {

// ---- Task memory ---------------------------------------------------------------------------------

struct TaskMemoryDeleter {
    void operator()(void* memory) const noexcept { CoTaskMemFree(memory); }
};

// A text that a callee allocated with the task allocator.
using TaskString = std::unique_ptr<OLECHAR, TaskMemoryDeleter>;

// Task memory for `count` elements, zeroed; null when there is none.
template <typename T>
T* allocateTaskArray(std::size_t count) noexcept {
    void* memory = CoTaskMemAlloc(count == 0 ? 1 : count * sizeof(T));
    if (memory) std::memset(memory, 0, count * sizeof(T));
    return static_cast<T*>(memory);
}

// A copy of `text` in task memory; null when there is none.
inline LPOLESTR copyToTaskMemory(OpxStringView text) noexcept {
    auto* copy = allocateTaskArray<OLECHAR>(text.size() + 1);
    if (copy) std::memcpy(copy, text.data(), text.size() * sizeof(OLECHAR));
    return copy;
}

// Frees what an element of a task array owns besides its own bytes; most own nothing.
template <typename T>
void clearTaskElement(T&) noexcept {}
inline void clearTaskElement(VARIANT& element) noexcept {
    VariantClear(&element);
}
inline void clearTaskElement(LPOLESTR& element) noexcept {
    CoTaskMemFree(element);
}

// An array that a callee allocates with the task allocator and of which the caller knows the length.
// Pass put() as the out parameter, with the number of elements that the method promises.
template <typename T>
class TaskArray {
public:
    explicit TaskArray(std::size_t count = 0) noexcept : count_(count) {}
    TaskArray(const TaskArray&) = delete;
    TaskArray& operator=(const TaskArray&) = delete;
    ~TaskArray() { clear(); }

    T** put() noexcept {
        clear();
        return &data_;
    }
    // For methods that answer the length too.
    void setCount(std::size_t count) noexcept { count_ = count; }

    std::size_t size() const noexcept { return data_ ? count_ : 0; }
    explicit operator bool() const noexcept { return data_ != nullptr; }
    T* get() const noexcept { return data_; }
    T& operator[](std::size_t i) const noexcept { return data_[i]; }
    T* begin() const noexcept { return data_; }
    T* end() const noexcept { return data_ + size(); }

    [[nodiscard]] T* detach() noexcept { return std::exchange(data_, nullptr); }

    void clear() noexcept {
        for (T& element : *this) clearTaskElement(element);
        CoTaskMemFree(std::exchange(data_, nullptr));
    }

private:
    T* data_ = nullptr;
    std::size_t count_;
};

// ---- BSTR, SAFEARRAY, VARIANT --------------------------------------------------------------------

struct BstrDeleter {
    void operator()(OLECHAR* text) const noexcept { SysFreeString(text); }
};
using UniqueBstr = std::unique_ptr<OLECHAR, BstrDeleter>;

// A new BSTR with `text`; throws std::bad_alloc.
inline UniqueBstr makeBstr(OpxStringView text) {
    UniqueBstr result(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
    if (!result) throw std::bad_alloc();
    return result;
}

// The text of a BSTR, which may be null and may hold zero characters inside.
inline OpxStringView bstrView(BSTR text) noexcept {
    return text ? OpxStringView(text, SysStringLen(text)) : OpxStringView();
}

struct SafeArrayDeleter {
    void operator()(SAFEARRAY* array) const noexcept { SafeArrayDestroy(array); }
};
using UniqueSafeArray = std::unique_ptr<SAFEARRAY, SafeArrayDeleter>;

// Access to the elements of a SAFEARRAY for the lifetime of this object.
template <typename T>
class SafeArrayAccess {
public:
    explicit SafeArrayAccess(SAFEARRAY* array) noexcept : array_(array) {
        void* data = nullptr;
        result_ = array ? SafeArrayAccessData(array, &data) : E_POINTER;
        if (succeeded(result_)) data_ = static_cast<T*>(data);
    }
    SafeArrayAccess(const SafeArrayAccess&) = delete;
    SafeArrayAccess& operator=(const SafeArrayAccess&) = delete;
    ~SafeArrayAccess() {
        if (succeeded(result_)) SafeArrayUnaccessData(array_);
    }

    HRESULT result() const noexcept { return result_; }
    T* data() const noexcept { return data_; }
    T& operator[](std::size_t i) const noexcept { return data_[i]; }

private:
    SAFEARRAY* array_;
    T* data_ = nullptr;
    HRESULT result_;
};

// A VARIANT that clears itself. It is a VARIANT: pass &value where one is wanted.
class UniqueVariant : public VARIANT {
public:
    UniqueVariant() noexcept { VariantInit(this); }
    UniqueVariant(UniqueVariant&& other) noexcept : VARIANT(other) { VariantInit(&other); }
    UniqueVariant(const UniqueVariant&) = delete;
    UniqueVariant& operator=(const UniqueVariant&) = delete;
    UniqueVariant& operator=(UniqueVariant&& other) noexcept {
        if (this != &other) {
            VariantClear(this);
            static_cast<VARIANT&>(*this) = other;
            VariantInit(&other);
        }
        return *this;
    }
    ~UniqueVariant() { VariantClear(this); }

    void clear() noexcept { VariantClear(this); }

    // Gives the content to the caller, who clears it.
    [[nodiscard]] VARIANT detach() noexcept {
        VARIANT content = *this;
        VariantInit(this);
        return content;
    }
};

}  // namespace Korvex::Com
