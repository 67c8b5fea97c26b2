// Interfaces that go from one thread to another. Within a process a pointer serves every apartment, so
// what arrives is the object itself.
#include <map>
#include <new>

#include "com/ComObject.h"
#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "com/portable/apartment.h"
#include "com/portable/query.h"

namespace Korvex::Com {
namespace {

// The object that another one aggregates to become agile. It answers no IMarshal, which
// nothing asks for.
class FreeThreadedMarshaler final : public ComObject<IUnknown> {};

constexpr IID kInterfaceStream = {0x5F0C6A4E, 0x9D0B, 0x4E0E, {0x8C, 0x1F, 0x55, 0x4D, 0x0A, 0x9B, 0x13, 0x27}};

// A stream that is only carried from the one thread to the other.
class InterfaceStream final : public ComObject<IStream> {
public:
    explicit InterfaceStream(ComPtr<IUnknown> carried) noexcept : carried_(std::move(carried)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        return ComObject::QueryInterface(riid == kInterfaceStream ? IID_IStream : riid, ppvObject);
    }
    HRESULT STDMETHODCALLTYPE Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

    IUnknown& carried() const noexcept { return *carried_; }

private:
    const ComPtr<IUnknown> carried_;
};

// The objects that CoLockObjectExternal keeps, and how often.
struct ExternalLocks {
    Mutex lock;
    std::multimap<IUnknown*, ComPtr<IUnknown>> objects GUARDED_BY(lock);
};

// Never destroyed: modules may unlock while the process ends.
ExternalLocks& externalLocks() {
    static auto* const locks = new ExternalLocks;
    return *locks;
}

void lockExternally(const ComPtr<IUnknown>& object) {
    ExternalLocks& locks = externalLocks();
    const ScopedLock guard(locks.lock);
    locks.objects.emplace(object.get(), object);
}

void unlockExternally(const ComPtr<IUnknown>& object) {
    ComPtr<IUnknown> released;  // outside the lock: its destructor is the program's
    ExternalLocks& locks = externalLocks();
    const ScopedLock guard(locks.lock);
    const auto found = locks.objects.find(object.get());
    if (found == locks.objects.end()) return;
    released = std::move(found->second);
    locks.objects.erase(found);
}

}  // namespace
}  // namespace Korvex::Com

using namespace Korvex::Com;

extern "C" {

HRESULT CoCreateFreeThreadedMarshaler(IUnknown*, IUnknown** ppunkMarshal) {
    if (!ppunkMarshal) return E_INVALIDARG;
    *ppunkMarshal = new (std::nothrow) FreeThreadedMarshaler;
    return *ppunkMarshal ? S_OK : E_OUTOFMEMORY;
}

HRESULT CoMarshalInterThreadInterfaceInStream(REFIID riid, IUnknown* pUnk, IStream** ppStm) {
    if (!ppStm) return E_INVALIDARG;
    *ppStm = nullptr;
    if (!pUnk) return E_INVALIDARG;
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    ComPtr<IUnknown> carried;
    if (const HRESULT hr = queryFor(*pUnk, riid, carried.putVoid()); FAILED(hr)) return hr;
    *ppStm = new (std::nothrow) InterfaceStream(std::move(carried));
    return *ppStm ? S_OK : E_OUTOFMEMORY;
}

HRESULT CoGetInterfaceAndReleaseStream(IStream* pStm, REFIID iid, void** ppv) {
    if (!pStm || !ppv) return E_INVALIDARG;
    *ppv = nullptr;
    const auto given = ComPtr<IStream>::adopt(pStm);
    ComPtr<IStream> own;
    if (FAILED(queryFor(*given, kInterfaceStream, own.putVoid()))) return E_INVALIDARG;
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    return queryFor(static_cast<InterfaceStream&>(*own).carried(), iid, ppv);
}

HRESULT CoLockObjectExternal(IUnknown* pUnk, BOOL fLock, BOOL) {
    if (!pUnk) return E_INVALIDARG;
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    ComPtr<IUnknown> identity;
    if (const HRESULT hr = queryFor(*pUnk, IID_IUnknown, identity.putVoid()); FAILED(hr)) return hr;
    if (fLock) {
        lockExternally(identity);
    } else {
        unlockExternally(identity);
    }
    return S_OK;
}

}  // extern "C"
