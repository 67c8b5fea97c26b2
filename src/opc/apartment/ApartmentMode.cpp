#include "opc/apartment/ApartmentMode.h"

#include <atomic>
#include <cstdint>
#include <mutex>

#include "com/ComCalls.h"
#include "com/Mutex.h"
#include "com/platform.h"
#include "opc/apartment/ComInitialization.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

struct ApartmentState {
    Korvex::Mutex lock;
    std::uint32_t instances GUARDED_BY(lock) = 0;
    ComInitialization com GUARDED_BY(lock);
    std::once_flag securityInitialized;
    std::atomic<bool> singleThreaded = false;
};

ApartmentState& apartment() {
    static ApartmentState state;
    return state;
}

void initializeCom(ApartmentState& state) REQUIRES(state.lock) {
    const HRESULT hr = state.com.begin();
    if (hr == RPC_E_CHANGED_MODE) {
        LibT::lCtor("Ctor DaServerMgtPrivate - COM is already initialized as STA");
        state.singleThreaded = true;
        return;
    }
    LibT::lCtor("Ctor DaServerMgtPrivate - initialized COM as MTA");
    if (succeeded(hr)) state.com.holdMultiThreadedApartment();
}

constexpr struct {
    const OLECHAR* name;
    DWORD level;
} kAuthenticationLevels[] = {
    {OLESTR("none"), RPC_C_AUTHN_LEVEL_NONE},
    {OLESTR("connect"), RPC_C_AUTHN_LEVEL_CONNECT},
    {OLESTR("integrity"), RPC_C_AUTHN_LEVEL_PKT_INTEGRITY},
    {OLESTR("privacy"), RPC_C_AUTHN_LEVEL_PKT_PRIVACY},
};

// None, unless whoever starts the process asks for more: servers may refuse calls of so low a level.
DWORD authenticationLevel() {
    const auto asked = Korvex::Com::environmentVariable("KORVEX_OPC_AUTHENTICATION");
    if (!asked || asked->empty()) return RPC_C_AUTHN_LEVEL_NONE;
    for (const auto& known : kAuthenticationLevels) {
        if (*asked != known.name) continue;
        LibT::lCtor("Ctor DaServerMgtPrivate - authentication level %u is asked for", known.level);
        return known.level;
    }
    LibT::lError("Error: Ctor DaServerMgtPrivate - KORVEX_OPC_AUTHENTICATION names no level: '%ls'", *asked);
    return RPC_C_AUTHN_LEVEL_NONE;
}

void initializeSecurity() {
    const HRESULT hr = Korvex::Com::comCalls().coInitializeSecurity(authenticationLevel());
    if (hr == RPC_E_TOO_LATE) {
        LibT::lCtor("Ctor DaServerMgtPrivate - CoInitializeSecurity was already called before");
    } else if (failed(hr)) {
        LibT::lError("Ctor DaServerMgtPrivate - CoInitializeSecurity failed [hr=0x%lx]", hr);
    }
}

}  // namespace

void ApartmentMode::enter() {
    ApartmentState& state = apartment();
    const Korvex::ScopedLock guard(state.lock);
    if (state.instances++ > 0) return;
    initializeCom(state);
    initializeSecurityOnce();
}

void ApartmentMode::leave() {
    ApartmentState& state = apartment();
    const Korvex::ScopedLock guard(state.lock);
    if (--state.instances > 0) return;
    state.com.end();
    state.singleThreaded = false;
}

void ApartmentMode::initializeSecurityOnce() {
    std::call_once(apartment().securityInitialized, &initializeSecurity);
}

bool ApartmentMode::isSingleThreaded() noexcept {
    return apartment().singleThreaded;
}

HRESULT ApartmentMode::createInterfaceTable(Korvex::Com::ComPtr<IGlobalInterfaceTable>& table) {
    return Korvex::Com::comCalls().coCreateInstance(CLSID_StdGlobalInterfaceTable, CLSCTX_ALL,
                                                    IID_IGlobalInterfaceTable, table.putVoid());
}

}  // namespace OpxOpc
