// Shared ownership of a COM object through one of its interfaces.
#pragma once

#include <utility>

#include "com/com.h"

namespace Korvex::Com {

// Holds one reference on an object, or none. The interface is released by the destructor; where the
// moment of a release or its reference count matters, call release().
template <typename Interface>
class ComPtr {
public:
    ComPtr() noexcept = default;
    ComPtr(std::nullptr_t) noexcept {}

    // Takes a reference of its own.
    ComPtr(Interface* pointer) noexcept : pointer_(pointer) {
        if (pointer_) pointer_->AddRef();
    }
    ComPtr(const ComPtr& other) noexcept : ComPtr(other.pointer_) {}
    ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ~ComPtr() { release(); }

    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }

    // Takes over a reference that the caller already holds.
    static ComPtr adopt(Interface* pointer) noexcept {
        ComPtr result;
        result.pointer_ = pointer;
        return result;
    }

    Interface* get() const noexcept { return pointer_; }
    Interface* operator->() const noexcept { return pointer_; }
    Interface& operator*() const noexcept { return *pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }

    // Gives the reference up; returns the object's reference count afterwards, 0 if there was none.
    ULONG release() noexcept {
        Interface* pointer = std::exchange(pointer_, nullptr);
        return pointer ? pointer->Release() : 0;
    }

    // Hands the reference to the caller.
    [[nodiscard]] Interface* detach() noexcept { return std::exchange(pointer_, nullptr); }

    // The place for an out parameter; what was held before is released.
    Interface** put() noexcept {
        release();
        return &pointer_;
    }
    void** putVoid() noexcept { return reinterpret_cast<void**>(put()); }
    IUnknown** putUnknown() noexcept { return reinterpret_cast<IUnknown**>(put()); }

    // Asks the object for another of its interfaces; `out` is empty on failure, whatever the object left in
    // it. Success with no interface is E_NOINTERFACE.
    template <typename Other>
    HRESULT query(ComPtr<Other>& out) const noexcept {
        out.release();
        if (!pointer_) return E_POINTER;
        void* found = nullptr;
        const HRESULT hr = pointer_->QueryInterface(iidOf<Other>(), &found);
        if (failed(hr)) return hr;
        out = ComPtr<Other>::adopt(static_cast<Other*>(found));
        return out ? hr : E_NOINTERFACE;
    }

private:
    Interface* pointer_ = nullptr;
};

}  // namespace Korvex::Com
