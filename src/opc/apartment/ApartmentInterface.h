// An interface of a server or group, kept so that every thread of the process can use it.
#pragma once

#include <utility>

#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "com/com.h"

namespace OpxOpc {

// An interface for the length of one operation, with a reference of its own, so that the operation may
// outlast the place where the interface was kept; empty when it could not be had. In a multi-threaded
// apartment it is the kept pointer itself, else a pointer of the calling thread's own.
template <typename Interface>
class BorrowedInterface {
public:
    BorrowedInterface() noexcept = default;
    explicit BorrowedInterface(Korvex::Com::ComPtr<Interface> pointer) noexcept : pointer_(std::move(pointer)) {}

    Interface* operator->() const noexcept { return pointer_.get(); }
    Interface& operator*() const noexcept { return *pointer_; }
    explicit operator bool() const noexcept { return pointer_.get() != nullptr; }

private:
    Korvex::Com::ComPtr<Interface> pointer_;
};

// Keeps an interface as a pointer, or as a cookie of the global interface table. `table` decides: null
// in a multi-threaded apartment, and always the same one for one object of this class. One thread may
// release what others borrow.
template <typename Interface>
class ApartmentInterface {
public:
    bool isKept() const noexcept {
        const Korvex::ScopedLock guard(lock_);
        return pointer_ || cookie_ != 0;
    }

    // Takes the caller's reference over; nothing is kept of a null pointer. When the table refuses
    // the interface, or takes it and hands out no cookie, the reference is released.
    HRESULT keep(IGlobalInterfaceTable* table, Korvex::Com::ComPtr<Interface> pointer) {
        if (!table) {
            const Korvex::ScopedLock guard(lock_);
            pointer_ = std::move(pointer);
            return S_OK;
        }
        if (!pointer) return S_OK;
        DWORD cookie = 0;
        const HRESULT hr = table->RegisterInterfaceInGlobal(pointer.get(), iidOf<Interface>(), &cookie);
        const Korvex::ScopedLock guard(lock_);
        cookie_ = failed(hr) ? 0 : cookie;
        return hr;
    }

    // `result` tells why there is no interface: the table's code, or E_NOINTERFACE if none is kept.
    BorrowedInterface<Interface> borrow(IGlobalInterfaceTable* table, HRESULT& result) const {
        const Kept kept = look();
        result = kept.pointer || kept.cookie != 0 ? S_OK : E_NOINTERFACE;
        if (!table || kept.cookie == 0) return BorrowedInterface<Interface>(kept.pointer);
        Korvex::Com::ComPtr<Interface> fetched;
        result = table->GetInterfaceFromGlobal(kept.cookie, iidOf<Interface>(), fetched.putVoid());
        return BorrowedInterface<Interface>(std::move(fetched));
    }
    BorrowedInterface<Interface> borrow(IGlobalInterfaceTable* table) const {
        HRESULT ignored = S_OK;
        return borrow(table, ignored);
    }

    // Gives the interface up. A revocation leaves its code in `result`.
    void release(IGlobalInterfaceTable* table, HRESULT& result) {
        const Kept kept = take();
        if (table && kept.cookie != 0) result = table->RevokeInterfaceFromGlobal(kept.cookie);
    }

    // The same for the last interface of an object: answers the object's reference count, which in the
    // table's case only a pointer that outlives the revocation can tell.
    ULONG releaseLast(IGlobalInterfaceTable* table, HRESULT& result) {
        Kept kept = take();
        if (!table) return kept.pointer.release();
        if (kept.cookie == 0) return 0;
        Korvex::Com::ComPtr<Interface> fetched;
        table->GetInterfaceFromGlobal(kept.cookie, iidOf<Interface>(), fetched.putVoid());
        result = table->RevokeInterfaceFromGlobal(kept.cookie);
        return fetched.release();
    }

private:
    struct Kept {
        Korvex::Com::ComPtr<Interface> pointer;
        DWORD cookie;
    };

    Kept look() const {
        const Korvex::ScopedLock guard(lock_);
        return {pointer_, cookie_};
    }
    Kept take() {
        const Korvex::ScopedLock guard(lock_);
        return {std::move(pointer_), std::exchange(cookie_, 0)};
    }

    mutable Korvex::Mutex lock_;  // held while the two are copied, never while COM is called
    Korvex::Com::ComPtr<Interface> pointer_ GUARDED_BY(lock_);
    DWORD cookie_ GUARDED_BY(lock_) = 0;
};

}  // namespace OpxOpc
