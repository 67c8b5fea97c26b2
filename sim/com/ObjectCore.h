// The core of every COM object of this server: its reference count and its marshaler.
#pragma once

#include <atomic>
#include <mutex>

#include "com/ComPtr.h"
#include "com/hosting/FreeThreadedMarshaler.h"

namespace Korvex::Simulation {

class ObjectCore {
public:
    ULONG addRef() noexcept { return ++references_; }
    ULONG release() noexcept { return --references_; }
    ULONG references() const noexcept { return references_; }

    // Answers the interfaces that `outer` does not know. All objects here may be called from any
    // thread, so a client in a single-threaded apartment gets their pointers as they are.
    HRESULT queryMarshaler(IUnknown* outer, REFIID riid, void** object) {
        *object = nullptr;
        std::call_once(created_, [&] { Com::createFreeThreadedMarshaler(outer, marshaler_.put()); });
        return marshaler_ ? marshaler_->QueryInterface(riid, object) : E_NOINTERFACE;
    }

private:
    std::atomic<ULONG> references_{0};
    std::once_flag created_;
    Com::ComPtr<IUnknown> marshaler_;
};

}  // namespace Korvex::Simulation
