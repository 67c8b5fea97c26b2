#include "com/portable/GlobalInterfaceTable.h"

#include "com/portable/apartment.h"
#include "com/portable/query.h"

namespace Korvex::Com {

GlobalInterfaceTable& GlobalInterfaceTable::instance() {
    // Never destroyed: modules may revoke what they registered while the process ends.
    static auto* const table = new GlobalInterfaceTable;
    return *table;
}

HRESULT GlobalInterfaceTable::QueryInterface(REFIID riid, void** ppvObject) {
    if (!ppvObject) return E_POINTER;
    const bool known = riid == IID_IUnknown || riid == IID_IGlobalInterfaceTable;
    *ppvObject = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

HRESULT GlobalInterfaceTable::RegisterInterfaceInGlobal(IUnknown* pUnk, REFIID riid, DWORD* pdwCookie) {
    if (!pUnk || !pdwCookie) return E_INVALIDARG;
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    ComPtr<IUnknown> kept;
    if (const HRESULT hr = queryFor(*pUnk, riid, kept.putVoid()); failed(hr)) return hr;
    const ScopedLock guard(lock_);
    do {
        ++lastCookie_;
    } while (lastCookie_ == 0 || interfaces_.count(lastCookie_) != 0);
    interfaces_.emplace(lastCookie_, std::move(kept));
    *pdwCookie = lastCookie_;
    return S_OK;
}

HRESULT GlobalInterfaceTable::RevokeInterfaceFromGlobal(DWORD dwCookie) {
    ComPtr<IUnknown> released;  // outside the lock: the object may call back
    const ScopedLock guard(lock_);
    const auto found = interfaces_.find(dwCookie);
    if (found == interfaces_.end()) return E_INVALIDARG;
    released = std::move(found->second);
    interfaces_.erase(found);
    return S_OK;
}

HRESULT GlobalInterfaceTable::GetInterfaceFromGlobal(DWORD dwCookie, REFIID riid, void** ppv) {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    ComPtr<IUnknown> kept;
    {
        const ScopedLock guard(lock_);
        const auto found = interfaces_.find(dwCookie);
        if (found == interfaces_.end()) return E_INVALIDARG;
        kept = found->second;
    }
    return queryFor(*kept, riid, ppv);
}

}  // namespace Korvex::Com
