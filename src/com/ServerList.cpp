#include "com/ServerList.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "com/BuiltInClass.h"
#include "com/ComObject.h"
#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "com/ServerClasses.h"
#include "com/hosting/ProcessHold.h"
#include "com/opc_interfaces.h"
#include "com/owners.h"

namespace Korvex::Com {
namespace {

// One look serves a listing, which asks for the classes of several categories and then for each class.
constexpr std::chrono::seconds kLookLasts{1};

// The count of categories with which a caller asks for the servers of all.
constexpr ULONG kAnyCategory = 0xFFFFFFFFu;

// The two server lists answer enumerators that differ in their identifier alone.
template <typename Interface>
class ClassIdEnumerator final : public ComObject<Interface> {
public:
    explicit ClassIdEnumerator(std::vector<GUID> ids, std::size_t next = 0) : ids_(std::move(ids)), next_(next) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG celt, GUID* rgelt, ULONG* pceltFetched) override {
        if (!rgelt || (!pceltFetched && celt != 1)) return E_INVALIDARG;
        const ULONG count = take(celt);
        std::copy_n(ids_.begin() + static_cast<std::ptrdiff_t>(next_ - count), count, rgelt);
        if (pceltFetched) *pceltFetched = count;
        return count == celt ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG celt) override { return take(celt) == celt ? S_OK : S_FALSE; }
    HRESULT STDMETHODCALLTYPE Reset() override {
        next_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(Interface** ppenum) override {
        if (!ppenum) return E_POINTER;
        *ppenum = new (std::nothrow) ClassIdEnumerator(ids_, next_);
        return *ppenum ? S_OK : E_OUTOFMEMORY;
    }

private:
    // Moves on by at most `wanted`; returns by how many.
    ULONG take(ULONG wanted) {
        const ULONG count = std::min(wanted, static_cast<ULONG>(ids_.size() - next_));
        next_ += count;
        return count;
    }

    ProcessHold hold_;
    std::vector<GUID> ids_;
    std::size_t next_;
};

// Servers of these registries require nothing of their clients, so required categories exclude none.
template <typename Interface>
HRESULT enumerate(const RegisteredServers& servers, ULONG count, const CATID* implemented, Interface** out) {
    if (!out) return E_INVALIDARG;
    *out = nullptr;
    const bool ofAnyCategory = count == 0 || count == kAnyCategory;
    if (!ofAnyCategory && !implemented) return E_INVALIDARG;
    std::vector<CATID> categories;
    if (!ofAnyCategory) categories.assign(implemented, implemented + count);
    *out = new (std::nothrow) ClassIdEnumerator<Interface>(classesOfCategories(servers, categories));
    return *out ? S_OK : E_OUTOFMEMORY;
}

class ServerList final : public ComObject<IOPCServerList2, IOPCServerList> {
public:
    HRESULT STDMETHODCALLTYPE EnumClassesOfCategories(ULONG cImplemented, CATID* rgcatidImpl, ULONG, CATID*,
                                                      IOPCEnumGUID** ppenumClsid) override {
        return enumerate(*recentLook(), cImplemented, rgcatidImpl, ppenumClsid);
    }
    HRESULT STDMETHODCALLTYPE EnumClassesOfCategories(ULONG cImplemented, CATID* rgcatidImpl, ULONG, CATID*,
                                                      IEnumGUID** ppenumClsid) override {
        return enumerate(*recentLook(), cImplemented, rgcatidImpl, ppenumClsid);
    }

    HRESULT STDMETHODCALLTYPE GetClassDetails(REFCLSID clsid, LPOLESTR* ppszProgID, LPOLESTR* ppszUserType,
                                              LPOLESTR* ppszVerIndProgID) override {
        if (!ppszProgID || !ppszUserType || !ppszVerIndProgID) return E_POINTER;
        *ppszProgID = *ppszUserType = *ppszVerIndProgID = nullptr;
        const auto details = detailsOf(clsid);
        if (!details) return REGDB_E_CLASSNOTREG;
        TaskString progId(copyToTaskMemory(details->progId));
        TaskString description(copyToTaskMemory(details->description));
        TaskString versionIndependent(copyToTaskMemory(details->versionIndependentProgId));
        if (!progId || !description || !versionIndependent) return E_OUTOFMEMORY;
        *ppszProgID = progId.release();
        *ppszUserType = description.release();
        *ppszVerIndProgID = versionIndependent.release();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetClassDetails(REFCLSID clsid, LPOLESTR* ppszProgID, LPOLESTR* ppszUserType) override {
        TaskString versionIndependent;
        LPOLESTR text = nullptr;
        const HRESULT hr = GetClassDetails(clsid, ppszProgID, ppszUserType, &text);
        versionIndependent.reset(text);
        return hr;
    }

    HRESULT STDMETHODCALLTYPE CLSIDFromProgID(LPCOLESTR szProgId, LPCLSID clsid) override {
        return ::CLSIDFromProgID(szProgId, clsid);
    }

private:
    using Look = std::shared_ptr<const RegisteredServers>;

    Look recentLook() {
        const ScopedLock guard(lock_);
        const bool isRecent = look_ && std::chrono::steady_clock::now() - taken_ <= kLookLasts;
        return isRecent ? look_ : lookAnew();
    }
    // Of whatever age: a listing may take longer than a look counts as recent.
    Look lastLook() {
        const ScopedLock guard(lock_);
        return look_ ? look_ : lookAnew();
    }
    Look newLook() {
        const ScopedLock guard(lock_);
        return lookAnew();
    }
    Look lookAnew() REQUIRES(lock_) {
        look_ = lookAtServers();
        taken_ = std::chrono::steady_clock::now();
        return look_;
    }
    // A class that has come since the last look is found.
    std::optional<ClassDetails> detailsOf(REFCLSID clsid) {
        auto details = detailsOfClass(*lastLook(), clsid);
        return details ? details : detailsOfClass(*newLook(), clsid);
    }

    ProcessHold hold_;
    Mutex lock_;
    Look look_ GUARDED_BY(lock_);
    std::chrono::steady_clock::time_point taken_ GUARDED_BY(lock_);
};

}  // namespace

HRESULT createServerList(REFIID riid, void** ppv) {
    const auto list = ComPtr<IOPCServerList2>::adopt(new (std::nothrow) ServerList);
    return list ? list->QueryInterface(riid, ppv) : E_OUTOFMEMORY;
}

HRESULT serverListClassObject(REFIID riid, void** ppv) {
    const auto object = ComPtr<IClassFactory>::adopt(new (std::nothrow) BuiltInClass(&createServerList));
    return object ? object->QueryInterface(riid, ppv) : E_OUTOFMEMORY;
}

}  // namespace Korvex::Com
