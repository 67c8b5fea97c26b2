// Stand-ins for calls of COM that a test must see or fail.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "com/ComCalls.h"
#include "com/ComPtr.h"
#include "com/opc_interfaces.h"

namespace Korvex::Testing {

// Puts the platform's calls back when a test is over.
class ComCallsGuard {
public:
    ComCallsGuard() = default;
    ~ComCallsGuard() { Com::comCalls() = Com::platformComCalls(); }
    ComCallsGuard(const ComCallsGuard&) = delete;
    ComCallsGuard& operator=(const ComCallsGuard&) = delete;
};

// The global interface table between the library and the platform's: writes down what it is asked and
// fails on demand. There is one at a time; interfaces go by their names.
class InterfaceTableFake final : public IGlobalInterfaceTable {
public:
    InterfaceTableFake() {
        current() = this;
        Com::comCalls().coCreateInstance = &create;
    }

    std::vector<std::string> calls;
    std::map<std::string, HRESULT> failingRegistrations;
    std::map<std::string, HRESULT> failingFetches;
    std::string withoutCookie;  // the interface whose registration succeeds and yields no cookie
    HRESULT creation = S_OK;

    // Forgets the calls so far and fails no more.
    void reset() {
        calls.clear();
        failingRegistrations.clear();
        failingFetches.clear();
        withoutCookie.clear();
        creation = S_OK;
    }

    ULONG references = 0;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }

    HRESULT STDMETHODCALLTYPE RegisterInterfaceInGlobal(IUnknown* object, REFIID riid, DWORD* cookie) override {
        const std::string name = nameOf(riid);
        calls.push_back("register " + name);
        *cookie = 0;
        if (failingRegistrations.count(name)) return failingRegistrations[name];
        if (withoutCookie == name) return S_OK;
        const HRESULT hr = platform()->RegisterInterfaceInGlobal(object, riid, cookie);
        registered_[*cookie] = name;
        return hr;
    }
    HRESULT STDMETHODCALLTYPE RevokeInterfaceFromGlobal(DWORD cookie) override {
        calls.push_back("revoke " + registered_[cookie]);
        return platform()->RevokeInterfaceFromGlobal(cookie);
    }
    HRESULT STDMETHODCALLTYPE GetInterfaceFromGlobal(DWORD cookie, REFIID riid, void** object) override {
        const std::string name = nameOf(riid);
        calls.push_back("fetch " + name);
        *object = nullptr;
        if (failingFetches.count(name)) return failingFetches[name];
        return platform()->GetInterfaceFromGlobal(cookie, riid, object);
    }

    // The calls of one kind, without its word: called("revoke").
    std::vector<std::string> called(const std::string& kind) const {
        std::vector<std::string> found;
        for (const std::string& call : calls) {
            if (call.rfind(kind + " ", 0) == 0) found.push_back(call.substr(kind.size() + 1));
        }
        return found;
    }

private:
    static InterfaceTableFake*& current() {
        static InterfaceTableFake* fake = nullptr;
        return fake;
    }
    static HRESULT create(REFCLSID clsid, DWORD context, REFIID riid, void** object) {
        if (clsid != CLSID_StdGlobalInterfaceTable) {
            return Com::platformComCalls().coCreateInstance(clsid, context, riid, object);
        }
        InterfaceTableFake* const fake = current();
        *object = nullptr;
        if (failed(fake->creation)) return fake->creation;
        fake->AddRef();
        *object = fake;
        return S_OK;
    }
    static std::string nameOf(REFIID riid) {
        static const std::pair<const IID*, const char*> kNames[] = {
            {&IID_IOPCServer, "IOPCServer"},
            {&IID_IOPCBrowse, "IOPCBrowse"},
            {&IID_IOPCBrowseServerAddressSpace, "IOPCBrowseServerAddressSpace"},
            {&IID_IOPCItemProperties, "IOPCItemProperties"},
            {&IID_IOPCItemMgt, "IOPCItemMgt"},
            {&IID_IOPCGroupStateMgt, "IOPCGroupStateMgt"},
            {&IID_IOPCSyncIO, "IOPCSyncIO"},
            {&IID_IOPCSyncIO2, "IOPCSyncIO2"},
            {&IID_IOPCAsyncIO2, "IOPCAsyncIO2"},
            {&IID_IOPCAsyncIO3, "IOPCAsyncIO3"},
            {&IID_IConnectionPoint, "IConnectionPoint"},
        };
        for (const auto& [iid, name] : kNames) {
            if (*iid == riid) return name;
        }
        return "?";
    }
    IGlobalInterfaceTable* platform() {
        if (!platform_) {
            Com::platformComCalls().coCreateInstance(CLSID_StdGlobalInterfaceTable, CLSCTX_ALL,
                                                     IID_IGlobalInterfaceTable, platform_.putVoid());
        }
        return platform_.get();
    }

    Com::ComPtr<IGlobalInterfaceTable> platform_;
    std::map<DWORD, std::string> registered_;
    ComCallsGuard guard_;
};

}  // namespace Korvex::Testing
