#include "sim/ServerClass.h"

#include "com/hosting/ProcessHold.h"
#include "sim/SimulationControl.h"
#include "sim/com/interface_names.h"
#include "sim/server/ServerObject.h"
#include "sim/steering/serve.h"

namespace Korvex::Simulation {
namespace {

class ServerClass final : public ComClass<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
        const auto create = [&]() -> HRESULT {
            if (outer) return CLASS_E_NOAGGREGATION;
            return makeObject<ServerObject>()->giveInterface(riid, object);
        };
        // The steering interface has no faults.
        const std::string wanted = interfaceName(riid);
        if (wanted.empty()) return object ? withoutThrowing(create) : E_POINTER;
        return serve(methodAbout("IClassFactory::CreateInstance", wanted), note(), outputs(out(object)), create);
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        Com::countHold(lock ? 1 : -1);
        return S_OK;
    }
};

}  // namespace

HRESULT getClassObject(REFCLSID clsid, REFIID riid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (clsid != CLSID_KorvexSimulation) return CLASS_E_CLASSNOTAVAILABLE;
    return withoutThrowing([&] { return makeObject<ServerClass>()->QueryInterface(riid, object); });
}

}  // namespace Korvex::Simulation
