// The engine's connection record.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxServerConnectInfo.h>

#include "com/com.h"
#include "core/CallGate.h"
#include "core/CallbackRelay.h"
#include "core/ServerLink.h"
#include "core/ServerUrl.h"
#include "core/SubscriptionTable.h"
#include "opc/apartment/ApartmentMode.h"
#include "threads/TerminateOpcThread.h"
#include "threads/WatchDog.h"

namespace OpxOpc {

// `lock` guards the state, the link to the server and what else decides about a call at the moment it
// begins; it is never held while a call does its work, nor while a server is being reached, but for
// bringing subscriptions back. Calls in progress share what they use. The watch-dog shares the record
// itself.
class DaServerComPrivate final : public WatchedConnection, public std::enable_shared_from_this<DaServerComPrivate> {
public:
    DaServerComPrivate() = default;
    ~DaServerComPrivate() override;

    // Back to the state after construction. What an earlier connection held must be gone already, but for
    // what is still being torn down, which is waited for.
    void reset();

    // The steps of connect.
    HRESULT resolveUrl(const OpxString& url);
    // S_FALSE means that a step answered so; `localeChanged` is set when the server took another locale.
    HRESULT openConnection(OpxServerConnectInfo& info, bool& localeChanged);
    // The connection begins, in the state that the first attempt led to.
    void begin(ServerStatus first);
    // Creates the watch-dog's thread, which waits. E_OUTOFMEMORY where the system has none.
    HRESULT createWatchDog();
    // Drops what an attempt made. One that reached the server has to remove "Main" first.
    void removeMainGroup();
    void abandonConnection();
    void startWatchDog();

    // The steps of disconnect. False when there is nothing to disconnect; else no call is in progress any
    // more, and none begins.
    bool end(bool& wasConnected);
    void closeConnection(bool wasConnected);
    void reportDisconnected();
    // Whether the connection ended during an attempt to reconnect, which still goes on: the record is then
    // the attempt's.
    bool isLeftAlone();

    // Whether a call may begin now. Under the lock.
    bool admits(bool needsServer) const noexcept;

    // Gives the subscription its handle; 0 when the connection has ended meanwhile. A group that was made
    // on a server which is lost by now is torn down.
    std::uint32_t addSubscription(SubscriptionTable::Wrapper subscription, const ServerLink& madeOn);

    // Gives up a group of a server that is lost.
    void tearDownGroup(std::shared_ptr<DaGroupMgt> group);

    // WatchedConnection.
    ServerStatus state() override;
    bool reconnectsAfterError() override;
    HRESULT probe() override;
    void markLost(ServerStatus why) override;
    std::optional<ServerStatus> takeLoss() override;
    HRESULT internalDisconnect(bool shutdown) override;
    void reportLoss(ServerStatus why) override;
    void sendAllQualityBad() override;
    HRESULT internalConnect() override;
    void recoverIncompleteSubscriptions() override;

    CallGate lock;
    std::atomic<ServerStatus> serverState{SERVERSTATUS_DISCONNECTED};
    ServerLink link;
    SubscriptionTable subscriptions;
    OpxString nodeName;  // empty for this machine
    CLSID clsid{};
    OpxString serverName;  // connection events print it; nothing ever fills it
    bool reconnectAfterError = true;
    std::uint32_t keepAliveTime = 0;
    std::shared_ptr<CallbackRelay> callback;  // null while disconnected
    std::uint32_t clientHandle = 0;

private:
    using LocaleStep = std::function<HRESULT(DaServerMgt&)>;

    // The way to a server, made apart from the connection until the server is reached.
    struct Attempt {
        std::shared_ptr<CallbackRelay> client;
        std::shared_ptr<WatchDog> watchDog;  // null until it is needed for the first time
        ServerLink made;
        bool askedToLeave = false;  // by a server that was being reached
    };

    // A step that does not apply counts as one that failed.
    static bool isDone(HRESULT hr) noexcept { return succeeded(hr) && hr != S_FALSE; }

    HRESULT lookUpClsid(ServerUrl& url) const;
    HRESULT changeLocale(DaServerMgt& server, OpxString& locale, bool& changed);

    // Reaches the server with "Main" and both callbacks; on failure `made` is what was made so far.
    HRESULT openLink(Attempt& attempt, const LocaleStep& localeStep);
    HRESULT addMainGroup(Attempt& attempt);
    std::shared_ptr<WatchDog> watchDog();

    bool beginReconnecting(Attempt& attempt);
    HRESULT reconnect(Attempt& attempt);
    HRESULT recoverLocale(DaServerMgt& server);
    // The server becomes the connection's; false when the connection has ended meanwhile.
    bool takeOver(Attempt& attempt);
    void tearDownUnwanted(Attempt& attempt);
    void stopReconnecting();
    HRESULT bringBackSubscriptions();
    HRESULT recoverSubscriptions();
    HRESULT recover(DaGroupWrapper& subscription);
    void reportRefusedItems();

    void removeSubscriptions(bool wasConnected);
    void waitForTearDowns();
    void stopWatchDog();
    void startTearDown(bool removeGroups, std::shared_ptr<DaServerMgt> server, TerminateOpcThread::Groups groups);
    bool report(ServerStatus status) noexcept;

    // What a connection takes COM up for stays up from its first server to its end.
    std::unique_ptr<ApartmentShare> apartment_;
    std::shared_ptr<WatchDog> watchDog_;
    std::vector<std::unique_ptr<TerminateOpcThread>> teardownThreads_;
    OpxString askedLocale_;         // empty for none
    std::optional<LCID> localeId_;  // what a server settled on
    std::optional<ServerStatus> loss_;
    bool connecting_ = false;  // a server is being reached, at first or again
    bool leftAlone_ = false;
    bool shutdownWhileConnecting_ = false;
};

}  // namespace OpxOpc
