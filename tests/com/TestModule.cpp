// A server module with one class, as the registry of servers names one, and three that answer nonsense.
#include "tests/com/TestObject.h"

namespace {

using namespace Korvex::Testing;

class FactoryOfNothing final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppvObject) override {
        *ppvObject = this;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void** ppvObject) override {
        *ppvObject = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv) {
    static auto* const object = new TestObject;
    static auto* const factoryOfNothing = new FactoryOfNothing;
    *ppv = nullptr;
    if (IsEqualCLSID(clsid, kTestClass)) return object->QueryInterface(riid, ppv);
    if (IsEqualCLSID(clsid, kNoObject)) return factoryOfNothing->QueryInterface(riid, ppv);
    if (IsEqualCLSID(clsid, kStrayPointer)) *ppv = object;
    return IsEqualCLSID(clsid, kNoClassObject) ? S_OK : CLASS_E_CLASSNOTAVAILABLE;
}
