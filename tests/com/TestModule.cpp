// A server module with one class, as the registry of servers names one.
#include "tests/com/TestObject.h"

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv) {
    if (!IsEqualCLSID(clsid, Korvex::Testing::kTestClass)) return CLASS_E_CLASSNOTAVAILABLE;
    static auto* const object = new Korvex::Testing::TestObject;
    return object->QueryInterface(riid, ppv);
}
