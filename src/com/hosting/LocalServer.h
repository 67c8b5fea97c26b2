// A server that is a program: COM starts it for the first client and it ends with the last.
#pragma once

#include <vector>

#include "com/ComPtr.h"
#include "com/hosting/ModuleRegistration.h"

namespace Korvex::Com {

// Registers a program as the server of a class, beside a module if one is registered for it: for all users,
// or for this user where that is not allowed. `registration.module` is the program, `application` groups the
// classes of one program.
HRESULT registerLocalServer(const ModuleRegistration& registration, REFGUID application);
// Takes that back; the class stays registered if a module serves it too.
HRESULT unregisterLocalServer(const ModuleRegistration& registration, REFGUID application);

struct ServedClass {
    CLSID clsid;
    ComPtr<IUnknown> classObject;
};

// How long a program serves its classes: as long as they are used, or until revokeServedClasses() is called.
enum class Stay { whileUsed, untilRevoked };

// Serves the classes to other processes until the last object that is counted (see ProcessHold.h) has been gone for
// some seconds, or returns at once with what COM answered. A server that nobody asks anything of ends after a minute.
HRESULT serveClasses(const std::vector<ServedClass>& classes, Stay stay = Stay::whileUsed);

// Clients that come from now on have COM start another process, and this one waits for none.
void revokeServedClasses();

}  // namespace Korvex::Com
