// The sink that a server asks to leave.
#pragma once

#include <korvex/native/OpxDataCallback.h>

#include "com/opc_interfaces.h"
#include "opc/SinkObject.h"

namespace OpxOpc {

// Advised on a server; tells `client` of SERVERSTATUS_SHUTDOWN. The client must outlive the sink: it is
// told without a lock, on the server's thread, even if the request comes after Unadvise.
class OpxOPCShutdown final : public SinkObject<IOPCShutdown> {
public:
    explicit OpxOPCShutdown(OpxDataCallback* client);

    HRESULT STDMETHODCALLTYPE ShutdownRequest(LPCWSTR reason) override;

private:
    ~OpxOPCShutdown() override;

    OpxDataCallback* const client_;
};

}  // namespace OpxOpc
