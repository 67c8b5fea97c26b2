// Objects with many interfaces, each of which is a part of its own.
#pragma once

#include "com/hosting/ProcessHold.h"
#include "sim/com/ObjectCore.h"

namespace Korvex::Simulation {

class CompositeObject {
public:
    // `name` is the interface under which queries of this object stand in the journal.
    explicit CompositeObject(const char* name) noexcept : name_(name) {}
    CompositeObject(const CompositeObject&) = delete;
    CompositeObject& operator=(const CompositeObject&) = delete;

    HRESULT QueryInterface(REFIID riid, void** object);
    // QueryInterface where it is no call of a client's: neither journalled nor a place for faults.
    HRESULT giveInterface(REFIID riid, void** object);
    ULONG AddRef() noexcept;
    ULONG Release() noexcept;
    ULONG references() const noexcept { return core_.references(); }

protected:
    virtual ~CompositeObject() = default;

    // The part that is asked for when the object itself is meant.
    virtual IUnknown* identity() noexcept = 0;
    // The part with the interface, or null. No reference is taken.
    virtual IUnknown* part(REFIID riid) noexcept = 0;
    // A client has got an OPC interface of this object.
    virtual void onClient() {}

private:
    HRESULT give(IUnknown* part, void** object) noexcept;

    const char* name_;
    ObjectCore core_;
    Com::ProcessHold hold_;
};

// One of the interfaces: identity and life are the object's.
template <typename Interface>
class Facet : public Interface {
public:
    explicit Facet(CompositeObject& owner) noexcept : owner_(owner) {}
    Facet(const Facet&) = delete;
    Facet& operator=(const Facet&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        return owner_.QueryInterface(riid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }

private:
    CompositeObject& owner_;
};

}  // namespace Korvex::Simulation
