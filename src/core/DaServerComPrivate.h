// The engine's connection record.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxServerConnectInfo.h>

#include "com/com.h"
#include "core/MainItemCache.h"
#include "core/ServerUrl.h"
#include "opc/DaGroupMgt.h"
#include "opc/DaServerMgt.h"

namespace OpxOpc {

// `lock` guards the state and the count of calls in progress at the moments where they decide about
// each other; it is never held while a call does its work. What a call in progress uses lives until
// the call has left, because disconnect waits for it.
class DaServerComPrivate {
public:
    DaServerComPrivate() = default;
    ~DaServerComPrivate();

    // Back to the state after construction. What an earlier connection held must be gone already.
    void reset();

    // The steps from a parsed URL to a connection with its "Main" group. S_FALSE from `openConnection`
    // means that a step answered so; `localeChanged` is set when the server took another locale.
    HRESULT resolveUrl(const OpxString& url);
    HRESULT openConnection(OpxServerConnectInfo& info, OpxDataCallback* callback, bool& localeChanged);

    // Drops what a failed attempt made: the group, then the connection.
    void abandonConnection();

    // Removes the group and leaves the server, if the connection still stands, and frees both.
    void closeConnection(bool wasConnected);

    // Finds out where the items stand on the server, adding to "Main" those it does not hold yet. The
    // result is S_FALSE when an item failed, or the failure of the group.
    HRESULT checkHandles(std::vector<OpxItemIdentifier>& items, ResolvedItems& resolved);

    // Tells the callback of the state; false if it threw.
    bool reportState() const noexcept;

    std::unique_ptr<DaServerMgt> serverMgt;  // null while there is no connection
    std::unique_ptr<DaGroupMgt> mainGroup;   // "Main": reads and writes go through it
    MainItemCache mainItems;
    OpxString nodeName;  // empty for this machine
    CLSID clsid{};
    OpxString serverName;  // connection events print it; nothing ever fills it
    OpxDataCallback* callback = nullptr;
    std::uint32_t clientHandle = 0;
    std::atomic<ServerStatus> serverState{SERVERSTATUS_DISCONNECTED};
    std::recursive_mutex lock;
    std::atomic<std::uint32_t> busyCount{0};

private:
    HRESULT changeLocale(OpxServerConnectInfo& info, bool& changed);
    HRESULT addMainGroup(OpxDataCallback* receiver);
    HRESULT lookUpClsid(ServerUrl& url) const;
};

}  // namespace OpxOpc
