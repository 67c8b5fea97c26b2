#include "com/ComCalls.h"

namespace Korvex::Com {
namespace {

HRESULT initializeSecurity(DWORD authenticationLevel) {
    return CoInitializeSecurity(nullptr, -1, nullptr, nullptr, authenticationLevel, RPC_C_IMP_LEVEL_IMPERSONATE,
                                nullptr, EOAC_NONE, nullptr);
}

constexpr ComCalls kPlatformCalls = {
    [](DWORD apartment) -> HRESULT { return CoInitializeEx(nullptr, apartment); },
    [] { CoUninitialize(); },
    &initializeSecurity,
    [](REFCLSID clsid, DWORD context, COSERVERINFO* server, DWORD count, MULTI_QI* results) -> HRESULT {
        return CoCreateInstanceEx(clsid, nullptr, context, server, count, results);
    },
    [](REFCLSID clsid, DWORD context, REFIID riid, void** object) -> HRESULT {
        return CoCreateInstance(clsid, nullptr, context, riid, object);
    },
    [](IUnknown* object) -> HRESULT { return CoDisconnectObject(object, 0); },
};

}  // namespace

ComCalls& comCalls() noexcept {
    static ComCalls calls = kPlatformCalls;
    return calls;
}

const ComCalls& platformComCalls() noexcept {
    return kPlatformCalls;
}

}  // namespace Korvex::Com
