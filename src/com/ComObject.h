// The common half of COM objects.
#pragma once

#include <atomic>
#include <type_traits>

#include "com/com.h"

namespace Korvex::Com {

// Created with `new`, owned by its references and destroyed with the last one. Answers QueryInterface for its
// interfaces; the first is its identity. Any thread may call.
template <typename First, typename... Others>
class ComObject : public First, public Others... {
public:
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;
    virtual ~ComObject() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        if (!ppvObject) return E_POINTER;
        *ppvObject = nullptr;
        if (riid == IID_IUnknown) *ppvObject = static_cast<First*>(this);
        offer<First>(riid, ppvObject);
        (offer<Others>(riid, ppvObject), ...);
        if (!*ppvObject) return E_NOINTERFACE;
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
    // With 0 references the creator owns nothing and has to be the first that adds one.
    explicit ComObject(ULONG references = 1) : references_(references) {}

private:
    template <typename Interface>
    void offer(REFIID riid, void** ppvObject) {
        if (riid == iidOf<Interface>()) *ppvObject = static_cast<Interface*>(this);
    }

    std::atomic<ULONG> references_;
};

}  // namespace Korvex::Com
