// The native facade: one connection to one OPC Data Access server.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <korvex/export.h>
#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemValue.h>
#include <korvex/native/OpxServerConnectInfo.h>

namespace OpxOpc {

// Every operation returns an HRESULT: negative for failure, S_OK (0), or S_FALSE (1) where the
// result of each item has to be read from `errors`. Nothing throws. Operations may be called from
// any thread. An operation without a connection answers E_FAIL (0x80004005), a bad argument
// E_INVALIDARG (0x80070057), and no server is asked.
class KORVEX_OPC_API OpxDaServer {
public:
    OpxDaServer();
    // Disconnects a connected object.
    ~OpxDaServer();
    OpxDaServer(const OpxDaServer&) = delete;
    OpxDaServer& operator=(const OpxDaServer&) = delete;

    // Connects to the server that `url` names: "opcda://host/ProgID/{CLSID}", longer than 10
    // characters; an empty host, "localhost" or "127.0.0.1" is this machine, and without a CLSID the
    // host's server list is asked for it. `info.localId` becomes what the server accepted. `callback`
    // must outlive the connection; it is told of every change of state with `clientHandle`, the first
    // time before this call returns.
    //
    // S_FALSE: connected with another locale than asked for, or the first attempt failed and
    // `info.retryInitialConnect` is set: the connection then counts as made, in the state
    // SERVERSTATUS_WATCHDOG_ERROR. E_FAIL when connected already.
    std::int32_t connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                         OpxDataCallback* callback);

    // Waits for calls in progress, removes every group and releases the server.
    std::int32_t disconnect();

    // Reads items that are not older than `maxAge` milliseconds; 0 asks the device. `values` gets one
    // entry an item. `errors` gets one code an item, or stays empty when every code is 0. The records
    // get a handle that speeds up the next call, and the canonical type where none was requested.
    std::int32_t read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items, std::vector<OpxItemValue>& values,
                      std::vector<std::int32_t>& errors);

private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace OpxOpc
