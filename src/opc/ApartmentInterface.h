// An interface of a server or group, kept so that every thread of the process can use it.
#pragma once

#include <utility>

#include "com/ComPtr.h"
#include "com/com.h"

namespace OpxOpc {

// An interface for the length of one operation; empty when it could not be had. In a multi-threaded
// apartment it is the kept pointer itself, else a pointer of the calling thread's own, which is
// released with this object.
template <typename Interface>
class BorrowedInterface {
public:
    BorrowedInterface() noexcept = default;
    explicit BorrowedInterface(Interface* kept) noexcept : pointer_(kept) {}
    explicit BorrowedInterface(Korvex::Com::ComPtr<Interface> fetched) noexcept
        : fetched_(std::move(fetched)), pointer_(fetched_.get()) {}

    Interface* operator->() const noexcept { return pointer_; }
    Interface& operator*() const noexcept { return *pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }

private:
    Korvex::Com::ComPtr<Interface> fetched_;
    Interface* pointer_ = nullptr;
};

// Keeps an interface as a pointer, or as a cookie of the global interface table. `table` decides: null
// in a multi-threaded apartment, and always the same one for one object of this class.
template <typename Interface>
class ApartmentInterface {
public:
    bool isKept() const noexcept { return pointer_ || cookie_ != 0; }

    // Takes the caller's reference over; nothing is kept of a null pointer. When the table refuses
    // the interface, or takes it and hands out no cookie, the reference is released.
    HRESULT keep(IGlobalInterfaceTable* table, Korvex::Com::ComPtr<Interface> pointer) {
        if (!table) {
            pointer_ = std::move(pointer);
            return S_OK;
        }
        if (!pointer) return S_OK;
        const HRESULT hr = table->RegisterInterfaceInGlobal(pointer.get(), iidOf<Interface>(), &cookie_);
        if (failed(hr)) cookie_ = 0;
        return hr;
    }

    // `result` tells why there is no interface: the table's code, or E_NOINTERFACE if none is kept.
    BorrowedInterface<Interface> borrow(IGlobalInterfaceTable* table, HRESULT& result) const {
        result = isKept() ? S_OK : E_NOINTERFACE;
        if (!table || !isKept()) return BorrowedInterface<Interface>(pointer_.get());
        Korvex::Com::ComPtr<Interface> fetched;
        result = table->GetInterfaceFromGlobal(cookie_, iidOf<Interface>(), fetched.putVoid());
        return BorrowedInterface<Interface>(std::move(fetched));
    }
    BorrowedInterface<Interface> borrow(IGlobalInterfaceTable* table) const {
        HRESULT ignored = S_OK;
        return borrow(table, ignored);
    }

    // Gives the interface up. A revocation leaves its code in `result`.
    void release(IGlobalInterfaceTable* table, HRESULT& result) {
        pointer_.release();
        if (table && cookie_ != 0) result = table->RevokeInterfaceFromGlobal(std::exchange(cookie_, 0));
    }

    // The same for the last interface of an object: answers the object's reference count, which in the
    // table's case only a pointer that outlives the revocation can tell.
    ULONG releaseLast(IGlobalInterfaceTable* table, HRESULT& result) {
        if (!table) return pointer_.release();
        Korvex::Com::ComPtr<Interface> fetched;
        if (cookie_ != 0) table->GetInterfaceFromGlobal(cookie_, iidOf<Interface>(), fetched.putVoid());
        release(table, result);
        return fetched.release();
    }

private:
    Korvex::Com::ComPtr<Interface> pointer_;
    DWORD cookie_ = 0;
};

}  // namespace OpxOpc
