// The connection of an application to one OPC Data Access server.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <korvex/export.h>
#include <korvex/opc_da_client/ConnectInfo.h>
#include <korvex/opc_da_client/Exceptions.h>
#include <korvex/opc_da_client/ItemIdentifier.h>
#include <korvex/opc_da_client/ItemValue.h>
#include <korvex/opc_da_client/NullableArray.h>
#include <korvex/opc_da_client/NullableText.h>
#include <korvex/opc_da_client/ReturnCode.h>
#include <korvex/opc_da_client/ServerState.h>

namespace Korvex::OPC::OpcDaClient {

// Create an object, connect it, use it, disconnect it. It may be connected again afterwards.
//
// A bad argument is an ArgumentException, thrown before the server is asked anything; a call that
// fails is an OPCException with the result code (a ComException for a code without a name); what
// happened to a single item is told by its ResultID and never thrown.
//
// Methods may be called from any thread. Handlers are called on the library's threads and on those
// that COM delivers callbacks on; a handler that blocks holds them up. Do not destroy the object
// from inside a handler.
class KORVEX_OPC_API DaServerMgt {
public:
    // Takes the connection's `clientHandle` and its new state.
    using ServerStateChangedEventHandler = std::function<void(std::int32_t clientHandle, ServerState state)>;

    DaServerMgt();
    // Disposes.
    ~DaServerMgt();
    DaServerMgt(const DaServerMgt&) = delete;
    DaServerMgt& operator=(const DaServerMgt&) = delete;

    // Connects to the server of `url`: "opcda://host/ProgID/{CLSID}". An empty host, "localhost" or
    // "127.0.0.1" is this machine; the class identifier may be left out and is then looked up.
    // `clientHandle` comes back with every state change. `connectInfo` says how to connect; its
    // LocalId becomes what the server accepted.
    //
    // `connectFailed` is true when the server could not be reached, or took another locale than asked
    // for, while RetryInitialConnection is set; the object counts as connected all the same.
    //
    // Throws ArgumentNullException and ArgumentException ("url"), OPCException when connected already
    // or when connecting fails. With a null `connectInfo` the connection is made with the defaults and
    // then NullReferenceException thrown; pass a ConnectInfo.
    void Connect(const NullableText& url, std::int32_t clientHandle, ConnectInfo* connectInfo, bool& connectFailed);

    // Waits for calls in progress and leaves the server. Throws OPCException when not connected; when
    // leaving fails, the object is disconnected all the same.
    void Disconnect();

    // True from a successful Connect to Disconnect, whatever the state of the server meanwhile.
    bool IsConnected() const noexcept;

    // The last known state of the server.
    OpcDaClient::ServerState ServerState() const noexcept;

    // Reads items. `maxAge` is in milliseconds: values of the server's cache that are not older will
    // do; 0 asks the device. Every identifier gets its ServerHandle, DataType and ResultID;
    // `itemValues` gets one entry an identifier, with a null value where the item's result is not 0.
    //
    // Throws ArgumentNullException, ArgumentException ("itemIdentifiers"), ArgumentOutOfRangeException
    // ("maxAge"), OPCException.
    ReturnCode Read(std::int32_t maxAge, NullableArray<ItemIdentifier>& itemIdentifiers,
                    NullableArray<ItemValue>& itemValues);

    // Adds a handler, at any time; the token takes it back. An empty handler and an unknown token are
    // ignored.
    std::uint64_t add_ServerStateChanged(ServerStateChangedEventHandler handler);
    void remove_ServerStateChanged(std::uint64_t token);

    // Disconnects and frees everything but the object itself. Disposing twice is harmless. Afterwards
    // Connect and Read throw NullReferenceException, and Disconnect finds no connection.
    void Dispose();
    // The same where `disposing` is true, else nothing.
    void Dispose(bool disposing);

private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace Korvex::OPC::OpcDaClient
