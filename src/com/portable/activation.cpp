// Class objects and the creation of objects from them.
#include <dlfcn.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <string>
#include <utility>

#include "com/BuiltInClass.h"
#include "com/ComPtr.h"
#include "com/ServerList.h"
#include "com/opc_interfaces.h"
#include "com/portable/ClassTable.h"
#include "com/portable/GlobalInterfaceTable.h"
#include "com/portable/ServerRegistry.h"
#include "com/portable/apartment.h"
#include "com/portable/local/ClassDirectory.h"
#include "com/portable/local/LocalFailure.h"
#include "com/portable/local/LocalProtocol.h"
#include "com/portable/query.h"

namespace Korvex::Com {
namespace {

constexpr DWORD kLocalContexts = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER;

// ---- Modules -------------------------------------------------------------------------------------

using GetClassObjectFunction = HRESULT (*)(REFCLSID, REFIID, void**);

// The loader's sentence about what failed last on the calling thread.
std::string& lastLoadFailure() {
    thread_local std::string failure;
    return failure;
}

HRESULT loadFailed(HRESULT hr) {
    const char* const reason = ::dlerror();
    lastLoadFailure() = reason ? reason : "";
    return hr;
}

// A module is loaded once and stays: its objects' code may run as long as the process does.
HRESULT entryPointOf(const std::filesystem::path& module, GetClassObjectFunction& entryPoint) {
    void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!library) return loadFailed(CO_E_DLLNOTFOUND);
    entryPoint = reinterpret_cast<GetClassObjectFunction>(::dlsym(library, "DllGetClassObject"));
    return entryPoint ? S_OK : loadFailed(CO_E_ERRORINDLL);
}

HRESULT classObjectFromModule(const RegisteredServer& server, REFCLSID clsid, REFIID riid, void** ppv) {
    GetClassObjectFunction entryPoint = nullptr;
    if (const HRESULT hr = entryPointOf(server.module, entryPoint); failed(hr)) return hr;
    const HRESULT hr = entryPoint(clsid, riid, ppv);
    if (failed(hr)) *ppv = nullptr;
    return succeeded(hr) && !*ppv ? CO_E_ERRORINDLL : hr;
}

// ---- Programs ------------------------------------------------------------------------------------

// `program` is started where none serves the class; it may be empty.
HRESULT connectToProgram(REFCLSID clsid, const std::filesystem::path& program,
                         std::unique_ptr<LocalSocket>& connected) {
    try {
        const RuntimeFolder folder = RuntimeFolder::open();
        const ClassDirectory directory(folder);
        connected = program.empty() ? directory.connect(clsid) : directory.connectOrStart(clsid, program);
        return connected ? S_OK : REGDB_E_CLASSNOTREG;
    } catch (const LocalFailure& failure) {
        lastLoadFailure() = failure.what();
        return failure.code();
    }
}

HRESULT classObjectFromProgram(const std::filesystem::path& program, REFCLSID clsid, REFIID riid, void** ppv) {
    LocalProtocol* const protocol = localProtocol();
    if (!protocol) return REGDB_E_CLASSNOTREG;
    std::unique_ptr<LocalSocket> connected;
    if (const HRESULT hr = connectToProgram(clsid, program, connected); failed(hr)) return hr;
    return protocol->classObject(std::move(connected), clsid, riid, ppv);
}

// ---- The runtime's own classes -------------------------------------------------------------------

struct BuiltIn {
    CLSID clsid;
    CreateFunction create;
};

constexpr BuiltIn kBuiltIns[] = {
    {CLSID_StdGlobalInterfaceTable,
     [](REFIID riid, void** ppv) { return GlobalInterfaceTable::instance().QueryInterface(riid, ppv); }},
    {CLSID_OpcServerList, &createServerList},
};

const BuiltIn* findBuiltIn(REFCLSID clsid) {
    const auto found = std::find_if(std::begin(kBuiltIns), std::end(kBuiltIns),
                                    [&](const BuiltIn& builtIn) { return builtIn.clsid == clsid; });
    return found == std::end(kBuiltIns) ? nullptr : found;
}

HRESULT builtInClassObject(REFCLSID clsid, REFIID riid, void** ppv) {
    const BuiltIn* const found = findBuiltIn(clsid);
    if (!found) return REGDB_E_CLASSNOTREG;
    const auto classObject = ComPtr<IClassFactory>::adopt(new (std::nothrow) BuiltInClass(found->create));
    return classObject ? classObject->QueryInterface(riid, ppv) : E_OUTOFMEMORY;
}

// ---- Activation ----------------------------------------------------------------------------------

HRESULT localClassObject(REFCLSID clsid, DWORD context, REFIID riid, void** ppv) {
    if (const auto registered = ClassTable::ofProcess().take(clsid, context)) return queryFor(*registered, riid, ppv);
    const HRESULT builtIn = builtInClassObject(clsid, riid, ppv);  // needs no look at the registry's files
    if (builtIn != REGDB_E_CLASSNOTREG) return builtIn;
    const RegisteredServer server = ServerRegistry::read().find(clsid).value_or(RegisteredServer{});
    if ((context & CLSCTX_INPROC_SERVER) && !server.module.empty())
        return classObjectFromModule(server, clsid, riid, ppv);
    if (context & CLSCTX_LOCAL_SERVER) return classObjectFromProgram(server.program, clsid, riid, ppv);
    return REGDB_E_CLASSNOTREG;
}

HRESULT createLocalInstance(REFCLSID clsid, IUnknown* outer, DWORD context, ComPtr<IUnknown>& instance) {
    ComPtr<IClassFactory> factory;
    if (const HRESULT hr = localClassObject(clsid, context, IID_IClassFactory, factory.putVoid()); failed(hr))
        return hr;
    void* created = nullptr;
    const HRESULT hr = factory->CreateInstance(outer, IID_IUnknown, &created);
    if (failed(hr)) return hr;  // with whatever the factory left there
    instance = ComPtr<IUnknown>::adopt(static_cast<IUnknown*>(created));
    return instance ? hr : E_UNEXPECTED;
}

// Where a transport to other machines will stand. There is none yet, so no host can be reached.
HRESULT createRemoteInstance(REFCLSID, const COSERVERINFO&, ComPtr<IUnknown>&) {
    return kServerUnavailable;
}

HRESULT createInstance(REFCLSID clsid, IUnknown* outer, DWORD context, const COSERVERINFO* server,
                       ComPtr<IUnknown>& instance) {
    lastLoadFailure().clear();
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    const bool namesHost = server && server->pwszName && *server->pwszName;
    if (namesHost && (context & CLSCTX_REMOTE_SERVER)) return createRemoteInstance(clsid, *server, instance);
    if ((context & kLocalContexts) == 0) return REGDB_E_CLASSNOTREG;
    return createLocalInstance(clsid, outer, context, instance);
}

// Asks for every interface; the result tells whether all, some or none were had.
HRESULT queryAll(IUnknown& instance, DWORD count, MULTI_QI* results) {
    DWORD had = 0;
    for (MULTI_QI* wanted = results; wanted != results + count; ++wanted) {
        wanted->hr = queryFor(instance, *wanted->pIID, reinterpret_cast<void**>(&wanted->pItf));
        if (succeeded(wanted->hr)) ++had;
    }
    if (had == count) return S_OK;
    return had == 0 ? E_NOINTERFACE : CO_S_NOTALLINTERFACES;
}

}  // namespace

bool isBuiltInClass(REFCLSID clsid) {
    return findBuiltIn(clsid) != nullptr;
}

OpxString takeLoadFailure() {
    return fromUtf8(std::exchange(lastLoadFailure(), {}));
}

}  // namespace Korvex::Com

using namespace Korvex::Com;

extern "C" {

HRESULT CoGetClassObject(REFCLSID rclsid, DWORD dwClsContext, void*, REFIID riid, void** ppv) {
    if (!ppv) return E_INVALIDARG;
    *ppv = nullptr;
    if (!isInApartment()) return CO_E_NOTINITIALIZED;
    if ((dwClsContext & kLocalContexts) == 0) return REGDB_E_CLASSNOTREG;
    return localClassObject(rclsid, dwClsContext, riid, ppv);
}

HRESULT CoCreateInstanceEx(REFCLSID clsid, IUnknown* punkOuter, DWORD dwClsCtx, COSERVERINFO* pServerInfo,
                           DWORD dwCount, MULTI_QI* pResults) {
    if (dwCount == 0 || !pResults) return E_INVALIDARG;
    for (MULTI_QI* result = pResults; result != pResults + dwCount; ++result) {
        result->pItf = nullptr;
        result->hr = E_NOINTERFACE;
    }
    ComPtr<IUnknown> instance;
    const HRESULT hr = createInstance(clsid, punkOuter, dwClsCtx, pServerInfo, instance);
    if (succeeded(hr)) return queryAll(*instance, dwCount, pResults);
    for (MULTI_QI* result = pResults; result != pResults + dwCount; ++result) result->hr = hr;
    return hr;
}

HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown* pUnkOuter, DWORD dwClsContext, REFIID riid, void** ppv) {
    if (!ppv) return E_POINTER;
    MULTI_QI wanted = {&riid, nullptr, S_OK};
    const HRESULT hr = CoCreateInstanceEx(rclsid, pUnkOuter, dwClsContext, nullptr, 1, &wanted);
    *ppv = wanted.pItf;
    return hr;
}

// Objects and their clients share the process: there is no connection that could be cut.
HRESULT CoDisconnectObject(IUnknown* pUnk, DWORD) {
    return pUnk ? S_OK : E_INVALIDARG;
}

}  // extern "C"
