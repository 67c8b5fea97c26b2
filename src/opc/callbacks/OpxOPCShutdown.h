// The sink that a server asks to leave.
#pragma once

#include <memory>

#include <korvex/native/OpxDataCallback.h>

#include "com/Mutex.h"
#include "com/opc_interfaces.h"
#include "opc/callbacks/SinkObject.h"

namespace OpxOpc {

// Advised on a server; tells `client` of SERVERSTATUS_SHUTDOWN, on the server's thread and with no lock
// held.
class OpxOPCShutdown final : public SinkObject<IOPCShutdown> {
public:
    explicit OpxOPCShutdown(std::shared_ptr<OpxDataCallback> client);

    // From now on a request is not passed on, but for one that is in the client already, which lives
    // until that has returned.
    void detach();

    HRESULT STDMETHODCALLTYPE ShutdownRequest(LPCWSTR reason) override;

private:
    ~OpxOPCShutdown() override;

    std::shared_ptr<OpxDataCallback> client() const;

    mutable Korvex::Mutex lock_;
    std::shared_ptr<OpxDataCallback> client_ GUARDED_BY(lock_);
};

}  // namespace OpxOpc
