// The simulation server as a module that COM loads into a client's process.
#include "sim/ServerClass.h"

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** object) {
    return Korvex::Simulation::getClassObject(clsid, riid, object);
}
