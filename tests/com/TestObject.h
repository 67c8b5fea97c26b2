// A COM object and its class for the tests of activation.
#pragma once

#include <atomic>

#include "com/com.h"

namespace Korvex::Testing {

inline constexpr CLSID kTestClass = {0x0A1B2C3D, 0x1111, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};

// Classes of the test module that answer success and nothing: no class object, and no object; and one that
// fails and leaves a pointer.
inline constexpr CLSID kNoClassObject = {0x0A1B2C3D, 0x3333, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};
inline constexpr CLSID kNoObject = {0x0A1B2C3D, 0x4444, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};
inline constexpr CLSID kStrayPointer = {0x0A1B2C3D, 0x5555, 0x4222, {0x83, 0x33, 1, 2, 3, 4, 5, 6}};

// Answers IUnknown and IClassFactory; as a factory it hands out itself. It lives on the stack of its
// test, which looks at the count.
class TestObject final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        *ppvObject = nullptr;
        if (answersNothing) return S_OK;
        if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IClassFactory)) {
            *ppvObject = stray;
            return E_NOINTERFACE;
        }
        *ppvObject = this;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID riid, void** ppvObject) override {
        ++created;
        if (!stray) return QueryInterface(riid, ppvObject);
        *ppvObject = stray;
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

    std::atomic<ULONG> references{0};
    std::atomic<int> created{0};
    bool answersNothing = false;  // success, and no interface
    IUnknown* stray = nullptr;    // left where a call fails; nothing is created then
};

// The calling thread's stay in an apartment.
class Apartment {
public:
    explicit Apartment(DWORD model) : result(CoInitializeEx(nullptr, model)) {}
    ~Apartment() {
        if (succeeded(result)) CoUninitialize();
    }
    const HRESULT result;
};

}  // namespace Korvex::Testing
