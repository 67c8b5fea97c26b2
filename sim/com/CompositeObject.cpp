#include "sim/com/CompositeObject.h"

#include <string>

#include "sim/Simulation.h"
#include "sim/com/interface_names.h"
#include "sim/steering/serve.h"

namespace Korvex::Simulation {

HRESULT CompositeObject::QueryInterface(REFIID riid, void** object) {
    const std::string wanted = interfaceName(riid);
    if (!object || wanted.empty()) return giveInterface(riid, object);
    return serve(methodAbout(std::string(name_).append("::QueryInterface"), wanted), note(), outputs(out(object)),
                 [&] { return giveInterface(riid, object); });
}

HRESULT CompositeObject::giveInterface(REFIID riid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (riid == IID_IUnknown) return give(identity(), object);
    IUnknown* found = part(riid);
    if (!found) return core_.queryMarshaler(identity(), riid, object);
    const std::string name = interfaceName(riid);
    if (simulation().faults.isRefused(name)) return E_NOINTERFACE;
    if (!name.empty()) onClient();
    return give(found, object);
}

ULONG CompositeObject::AddRef() noexcept {
    ++simulation().census.references;
    return core_.addRef();
}

ULONG CompositeObject::Release() noexcept {
    --simulation().census.references;
    const ULONG left = core_.release();
    if (left == 0) delete this;
    return left;
}

HRESULT CompositeObject::give(IUnknown* part, void** object) noexcept {
    AddRef();
    *object = part;
    return S_OK;
}

}  // namespace Korvex::Simulation
