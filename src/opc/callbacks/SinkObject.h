// The common base of the objects that a server calls back.
#pragma once

#include <atomic>

#include "com/com.h"

namespace OpxOpc {

// IUnknown for an object of one interface, created with `new`, owned by its references and destroyed
// with the last one. The count starts at 0. Servers call from several threads at once.
template <typename Interface>
class SinkObject : public Interface {
public:
    SinkObject() = default;
    SinkObject(const SinkObject&) = delete;
    SinkObject& operator=(const SinkObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_INVALIDARG;
        *object = nullptr;
        if (riid != IID_IUnknown && riid != iidOf<Interface>()) return E_NOINTERFACE;
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }

    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

protected:
    virtual ~SinkObject() = default;

private:
    std::atomic<ULONG> references_ = 0;
};

}  // namespace OpxOpc
