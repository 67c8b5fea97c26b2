// The protocol between the programs of a user.
#pragma once

#include <memory>

#include "com/com.h"
#include "com/portable/local/LocalSocket.h"

namespace Korvex::Com {

class LocalProtocol {
public:
    virtual ~LocalProtocol() = default;

    // Serves the client at the other end until the connection ends. Called on a thread of the connection's own.
    virtual void serve(std::unique_ptr<LocalSocket> client) = 0;

    // Asks the program at the other end for an interface of a class object that it serves.
    virtual HRESULT classObject(std::unique_ptr<LocalSocket> program, REFCLSID clsid, REFIID riid, void** ppv) = 0;
};

// The process speaks this from now on; it stays as long as the process. Without one, the process reaches no class of
// another program, and no other program reaches those of this one. To be called before the first class is registered.
KORVEX_COM_API void useLocalProtocol(LocalProtocol& protocol);
// Null where there is none.
LocalProtocol* localProtocol();

}  // namespace Korvex::Com
