// The common base of the objects that a server calls back.
#pragma once

#include "com/ComObject.h"

namespace OpxOpc {

// An object of one interface, without a reference at first.
template <typename Interface>
class SinkObject : public Korvex::Com::ComObject<Interface> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_INVALIDARG;
        return Korvex::Com::ComObject<Interface>::QueryInterface(riid, object);
    }

protected:
    SinkObject() : Korvex::Com::ComObject<Interface>(0) {}
    ~SinkObject() override = default;
};

}  // namespace OpxOpc
