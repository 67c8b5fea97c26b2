// COM objects with a single interface.
#pragma once

#include <utility>

#include "sim/com/ObjectCore.h"

namespace Korvex::Simulation {

template <typename Interface>
class ComClass : public Interface {
public:
    ComClass() = default;
    ComClass(const ComClass&) = delete;
    ComClass& operator=(const ComClass&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        if (riid != IID_IUnknown && riid != iidOf<Interface>()) return core_.queryMarshaler(this, riid, object);
        *object = static_cast<Interface*>(this);
        core_.addRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return core_.addRef(); }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = core_.release();
        if (left == 0) delete this;
        return left;
    }

protected:
    virtual ~ComClass() = default;

private:
    ObjectCore core_;
};

template <typename Class, typename... Arguments>
Com::ComPtr<Class> makeObject(Arguments&&... arguments) {
    return Com::ComPtr<Class>(new Class(std::forward<Arguments>(arguments)...));
}

}  // namespace Korvex::Simulation
