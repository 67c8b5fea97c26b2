// The implementation of DaServerMgt.
#pragma once

#include <atomic>
#include <memory>

#include <korvex/native/OpxDaServer.h>
#include <korvex/opc_da_client/DaServerMgt.h>

#include "api/CallbackWrapper.h"
#include "api/ClientEvents.h"
#include "com/Mutex.h"
#include "core/ExclusiveFlag.h"

namespace Korvex::OPC::OpcDaClient {

struct DaServerMgt::Private {
    // The native side. It is shared with the calls in progress, so that disposing cannot free it under
    // them; the client goes first.
    struct Native {
        std::shared_ptr<CallbackWrapper> m_Callback;
        OpxOpc::OpxDaServer m_OpxDaClient;
    };

    // Throws once the object is disposed.
    std::shared_ptr<Native> native() const;
    std::shared_ptr<Native> takeNative();
    // False when the object was disposed meanwhile.
    bool becomeConnected(const std::shared_ptr<Native>& native);

    void InitializeCallbackPointers();

    mutable Mutex lock;
    std::shared_ptr<Native> m_Native GUARDED_BY(lock);
    const std::shared_ptr<ClientEvents> events = std::make_shared<ClientEvents>();
    std::atomic<bool> m_IsConnected{false};
    OpxOpc::ExclusiveFlag changing;  // connecting or disconnecting
};

}  // namespace Korvex::OPC::OpcDaClient
