#include "com/portable/ClassTable.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

#include "com/portable/apartment.h"
#include "com/portable/local/ClassDirectory.h"
#include "com/portable/local/LocalEndpoint.h"
#include "com/portable/local/LocalFailure.h"
#include "com/portable/query.h"

namespace Korvex::Com {
namespace {

// A program's class that serves several clients serves those of its own process too.
DWORD contextOf(DWORD context, DWORD use) {
    const bool isShared = use == REGCLS_MULTIPLEUSE && (context & CLSCTX_LOCAL_SERVER) != 0;
    return isShared ? context | CLSCTX_INPROC_SERVER : context;
}

// Links the class to this process's socket, or takes the link away.
HRESULT linkClass(REFCLSID clsid, LocalProtocol& protocol, bool isServed) {
    try {
        const LocalListener& listener = LocalEndpoint::ofProcess().open(protocol);
        const ClassDirectory directory(listener.folder());
        if (isServed)
            directory.add(clsid, listener.name());
        else
            directory.remove(clsid, listener.name());
        return S_OK;
    } catch (const LocalFailure& failure) {
        return failure.code();
    } catch (const std::system_error&) {
        return E_OUTOFMEMORY;  // no thread
    }
}

}  // namespace

ClassTable& ClassTable::ofProcess() {
    static auto* const table = new ClassTable;
    return *table;
}

HRESULT ClassTable::add(REFCLSID clsid, IUnknown& classObject, DWORD context, DWORD flags, DWORD& cookie) {
    const DWORD use = flags & ~DWORD{REGCLS_SUSPENDED};
    {
        const ScopedLock guard(lock_);
        cookie = ++lastCookie_;
        entries_.push_back({cookie, clsid, &classObject, contextOf(context, use), use == REGCLS_SINGLEUSE,
                            (flags & REGCLS_SUSPENDED) != 0});
    }
    const HRESULT hr = publish(clsid);
    if (failed(hr)) revoke(std::exchange(cookie, 0));
    return hr;
}

HRESULT ClassTable::revoke(DWORD cookie) {
    ComPtr<IUnknown> released;  // outside the lock: its destructor is the program's
    CLSID clsid = {};
    {
        const ScopedLock guard(lock_);
        const auto found =
            std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.cookie == cookie; });
        if (found == entries_.end()) return E_INVALIDARG;
        clsid = found->clsid;
        released = std::move(found->classObject);
        entries_.erase(found);
    }
    publish(clsid);
    return S_OK;
}

HRESULT ClassTable::suspendAll(bool suspended) {
    {
        const ScopedLock guard(lock_);
        for (Entry& entry : entries_) entry.isSuspended = suspended;
    }
    HRESULT first = S_OK;
    for (const CLSID& clsid : classes()) {
        const HRESULT hr = publish(clsid);
        if (failed(hr) && succeeded(first)) first = hr;
    }
    return first;
}

ComPtr<IUnknown> ClassTable::take(REFCLSID clsid, DWORD context) {
    ComPtr<IUnknown> taken;
    {
        const ScopedLock guard(lock_);
        const auto found = std::find_if(entries_.begin(), entries_.end(),
                                        [&](const Entry& entry) { return entry.isFound(clsid, context); });
        if (found == entries_.end()) return nullptr;
        if (!found->isForSingleUse) return found->classObject;
        taken = std::move(found->classObject);
    }
    publish(clsid);
    return taken;
}

bool ClassTable::isServed(REFCLSID clsid) {
    const ScopedLock guard(lock_);
    return std::any_of(entries_.begin(), entries_.end(),
                       [&](const Entry& entry) { return entry.isFound(clsid, CLSCTX_LOCAL_SERVER); });
}

// Makes the class's link what the table says by now.
HRESULT ClassTable::publish(REFCLSID clsid) {
    LocalProtocol* const protocol = localProtocol();
    if (!protocol) return S_OK;
    const ScopedLock guard(publication_);
    const auto published = std::find(published_.begin(), published_.end(), clsid);
    const bool served = isServed(clsid);
    if (served == (published != published_.end())) return S_OK;
    const HRESULT hr = linkClass(clsid, *protocol, served);
    if (failed(hr)) return hr;
    if (served)
        published_.push_back(clsid);
    else
        published_.erase(published);
    return S_OK;
}

std::vector<CLSID> ClassTable::classes() {
    const ScopedLock guard(lock_);
    std::vector<CLSID> all;
    for (const Entry& entry : entries_) all.push_back(entry.clsid);
    return all;
}

HRESULT servedClassObject(REFCLSID clsid, REFIID riid, void** ppv) {
    *ppv = nullptr;
    const auto served = ClassTable::ofProcess().take(clsid, CLSCTX_LOCAL_SERVER);
    return served ? queryFor(*served, riid, ppv) : REGDB_E_CLASSNOTREG;
}

}  // namespace Korvex::Com

using namespace Korvex::Com;

extern "C" {

HRESULT CoRegisterClassObject(REFCLSID rclsid, IUnknown* pUnk, DWORD dwClsContext, DWORD flags, DWORD* lpdwRegister) {
    if (!lpdwRegister || !pUnk) return E_INVALIDARG;
    *lpdwRegister = 0;
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    return ClassTable::ofProcess().add(rclsid, *pUnk, dwClsContext, flags, *lpdwRegister);
}

HRESULT CoRevokeClassObject(DWORD dwRegister) {
    return ClassTable::ofProcess().revoke(dwRegister);
}

HRESULT CoSuspendClassObjects() {
    return ClassTable::ofProcess().suspendAll(true);
}

HRESULT CoResumeClassObjects() {
    return ClassTable::ofProcess().suspendAll(false);
}

}  // extern "C"
