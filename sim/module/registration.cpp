// The module where COM's registry is a database of the system: it makes itself known, and serves the list
// of servers too where the machine has none.
#include "com/ServerList.h"
#include "com/opc_interfaces.h"
#include "com/platform.h"
#include "sim/ServerClass.h"
#include "sim/class_registrations.h"

namespace {

using Korvex::Com::ModuleRegistration;

std::filesystem::path thisModule() {
    static const char address = 0;
    return Korvex::Com::modulePathOf(&address);
}

ModuleRegistration simulation() {
    return Korvex::Simulation::simulationRegistration(thisModule());
}

ModuleRegistration serverList() {
    return Korvex::Simulation::serverListRegistration(thisModule());
}

}  // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** object) {
    if (clsid == CLSID_OpcServerList) return Korvex::Com::serverListClassObject(riid, object);
    return Korvex::Simulation::getClassObject(clsid, riid, object);
}

// Threads of groups may still run, so the module stays.
STDAPI DllCanUnloadNow() {
    return S_FALSE;
}

STDAPI DllRegisterServer() {
    const HRESULT hr = Korvex::Com::registerModule(simulation());
    if (failed(hr) || Korvex::Com::isServedElsewhere(serverList())) return hr;
    return Korvex::Com::registerModule(serverList());
}

STDAPI DllUnregisterServer() {
    const HRESULT hr = Korvex::Com::unregisterModule(simulation());
    if (failed(hr) || Korvex::Com::isServedElsewhere(serverList())) return hr;
    return Korvex::Com::unregisterModule(serverList());
}
