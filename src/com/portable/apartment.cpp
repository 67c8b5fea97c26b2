#include "com/portable/apartment.h"

#include <atomic>
#include <utility>

namespace Korvex::Com {
namespace {

// Threads that are in the multi-threaded apartment,
std::atomic<ULONG> multiThreadedMembers{0};
// and whoever else keeps it.
std::atomic<ULONG> multiThreadedUsages{0};
std::atomic<bool> securitySettled{false};

bool isMultiThreaded(DWORD model) {
    return (model & COINIT_APARTMENTTHREADED) == 0;
}

// An apartment is a thread's state; COM has a count of entries and no trace of who made them. It has no
// destructor, so that those of the thread's other objects may still leave.
struct ThreadApartment {
    DWORD model = COINIT_MULTITHREADED;
    ULONG entries = 0;
};

thread_local ThreadApartment thisThread;

// A thread that ends leaves its apartment.
struct ThreadEnd {
    ThreadEnd() = default;
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;
    ~ThreadEnd() {
        if (std::exchange(thisThread.entries, 0) != 0 && isMultiThreaded(thisThread.model)) --multiThreadedMembers;
    }
};

}  // namespace

bool isInApartment() noexcept {
    return thisThread.entries != 0 || multiThreadedMembers != 0 || multiThreadedUsages != 0;
}

}  // namespace Korvex::Com

using namespace Korvex::Com;

extern "C" {

HRESULT CoInitializeEx(void* pvReserved, DWORD dwCoInit) {
    if (pvReserved) return E_INVALIDARG;
    const DWORD model = dwCoInit & COINIT_APARTMENTTHREADED;
    if (thisThread.entries != 0) {
        if (thisThread.model != model) return RPC_E_CHANGED_MODE;
        ++thisThread.entries;
        return S_FALSE;
    }
    thread_local const ThreadEnd leaves;
    thisThread.model = model;
    thisThread.entries = 1;
    if (isMultiThreaded(model)) ++multiThreadedMembers;
    return S_OK;
}

HRESULT CoInitialize(void* pvReserved) {
    return CoInitializeEx(pvReserved, COINIT_APARTMENTTHREADED);
}

void CoUninitialize() {
    if (thisThread.entries == 0) return;
    if (--thisThread.entries == 0 && isMultiThreaded(thisThread.model)) --multiThreadedMembers;
}

HRESULT CoIncrementMTAUsage(CO_MTA_USAGE_COOKIE* pCookie) {
    if (!pCookie) return E_INVALIDARG;
    *pCookie = &multiThreadedUsages;
    ++multiThreadedUsages;
    return S_OK;
}

HRESULT CoDecrementMTAUsage(CO_MTA_USAGE_COOKIE Cookie) {
    if (Cookie != &multiThreadedUsages) return E_INVALIDARG;
    for (ULONG usages = multiThreadedUsages; usages != 0;) {
        if (multiThreadedUsages.compare_exchange_weak(usages, usages - 1)) return S_OK;
    }
    return E_INVALIDARG;
}

HRESULT CoInitializeSecurity(void*, LONG, SOLE_AUTHENTICATION_SERVICE*, void*, DWORD, DWORD, void*, DWORD, void*) {
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    return securitySettled.exchange(true) ? RPC_E_TOO_LATE : S_OK;
}

}  // extern "C"
