// The class object of a class whose objects a function makes.
#pragma once

#include "com/ComObject.h"
#include "com/hosting/ProcessHold.h"

namespace Korvex::Com {

// Answers a new object, or the one that there is, through the interface `riid`.
using CreateFunction = HRESULT (*)(REFIID riid, void** ppv);

class BuiltInClass final : public ComObject<IClassFactory> {
public:
    explicit BuiltInClass(CreateFunction create) noexcept : create_(create) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) override {
        if (!ppvObject) return E_POINTER;
        *ppvObject = nullptr;
        return pUnkOuter ? CLASS_E_NOAGGREGATION : create_(riid, ppvObject);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        countHold(lock ? 1 : -1);
        return S_OK;
    }

private:
    const CreateFunction create_;
};

}  // namespace Korvex::Com
