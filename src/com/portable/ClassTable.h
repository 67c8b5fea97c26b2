// The class objects that this process has registered.
#pragma once

#include <vector>

#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "com/com.h"

namespace Korvex::Com {

// Those for other programs are published in the runtime folder while the process speaks a protocol with them.
class ClassTable {
public:
    // Never destroyed: a module may revoke its classes while the process ends.
    static ClassTable& ofProcess();

    HRESULT add(REFCLSID clsid, IUnknown& classObject, DWORD context, DWORD flags, DWORD& cookie);
    HRESULT revoke(DWORD cookie);
    // Suspended classes are found by nobody.
    HRESULT suspendAll(bool suspended);

    // Empty when the class is not registered for the context. A class object for a single use is handed out once.
    ComPtr<IUnknown> take(REFCLSID clsid, DWORD context);

private:
    struct Entry {
        DWORD cookie;
        CLSID clsid;
        ComPtr<IUnknown> classObject;
        DWORD context;
        bool isForSingleUse;
        bool isSuspended;

        bool isFound(REFCLSID wanted, DWORD wantedContext) const {
            return clsid == wanted && (context & wantedContext) != 0 && classObject && !isSuspended;
        }
    };

    bool isServed(REFCLSID clsid);
    HRESULT publish(REFCLSID clsid);
    std::vector<CLSID> classes();

    Mutex lock_;
    std::vector<Entry> entries_ GUARDED_BY(lock_);
    DWORD lastCookie_ GUARDED_BY(lock_) = 0;

    Mutex publication_;  // taken before lock_
    std::vector<CLSID> published_ GUARDED_BY(publication_);
};

// Answers a class object that this process serves to other programs, or REGDB_E_CLASSNOTREG.
KORVEX_COM_API HRESULT servedClassObject(REFCLSID clsid, REFIID riid, void** ppv);

}  // namespace Korvex::Com
