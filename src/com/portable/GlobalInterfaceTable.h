// The process's table of interfaces that threads of any apartment may fetch.
#pragma once

#include <map>

#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "com/com.h"

namespace Korvex::Com {

// There is one; its life is the process's, so references to it are not counted. Within a process a
// pointer serves every apartment, so what is fetched is the registered object itself.
class GlobalInterfaceTable final : public IGlobalInterfaceTable {
public:
    static GlobalInterfaceTable& instance();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE RegisterInterfaceInGlobal(IUnknown* pUnk, REFIID riid, DWORD* pdwCookie) override;
    HRESULT STDMETHODCALLTYPE RevokeInterfaceFromGlobal(DWORD dwCookie) override;
    HRESULT STDMETHODCALLTYPE GetInterfaceFromGlobal(DWORD dwCookie, REFIID riid, void** ppv) override;

private:
    GlobalInterfaceTable() = default;

    Mutex lock_;
    std::map<DWORD, ComPtr<IUnknown>> interfaces_ GUARDED_BY(lock_);
    DWORD lastCookie_ GUARDED_BY(lock_) = 0;
};

}  // namespace Korvex::Com
