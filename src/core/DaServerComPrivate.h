// The engine's connection record.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxServerConnectInfo.h>

#include "com/Mutex.h"
#include "com/com.h"
#include "core/CallGate.h"
#include "core/CallbackRelay.h"
#include "core/Reconnector.h"
#include "core/ServerLink.h"
#include "core/ServerUrl.h"
#include "core/SubscriptionTable.h"
#include "core/requests.h"
#include "opc/apartment/ApartmentMode.h"
#include "threads/TerminateOpcThread.h"
#include "threads/WatchDog.h"

namespace OpxOpc {

// The gate guards the state, the link to the server and what else decides about a call at the moment it
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

    // ---- The steps of connect

    bool isDisconnected();
    // Looks the server up and takes over what the request asks for.
    HRESULT prepare(ConnectRequest& request);
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

    // ---- The steps of disconnect

    // False when there is nothing to disconnect; else no call is in progress any more, and none begins.
    bool end(bool& wasConnected);
    void closeConnection(bool wasConnected);
    void reportDisconnected();
    // Whether the connection ended during an attempt to reconnect, which still goes on: the record is then
    // the attempt's.
    bool isLeftAlone();

    // ---- Calls

    // The state of the connection as a call found it when it began.
    struct Admission {
        bool connected = false;
        bool comesBack = false;  // after a loss
        ServerLink link;         // empty while not connected
        std::shared_ptr<CallbackRelay> callback;
    };
    // A call begins, and ends with `leave`; nothing where none may begin now.
    std::optional<Admission> enter(bool needsServer);
    void leave() noexcept { gate_.leave(); }

    SubscriptionTable& subscriptions() noexcept { return subscriptions_; }
    // Gives the subscription its handle; 0 when the connection has ended meanwhile. A group that was made
    // on a server which is lost by now is torn down.
    std::uint32_t addSubscription(SubscriptionTable::Wrapper subscription, const ServerLink& madeOn);
    // Gives up a group of a server that is lost.
    void tearDownGroup(std::shared_ptr<DaGroupMgt> group);

    // ---- Reconnecting

    // The way to a server, made apart from the connection until the server is reached.
    struct Attempt {
        std::shared_ptr<CallbackRelay> client;
        std::shared_ptr<WatchDog> watchDog;  // null until it is needed for the first time
        ServerLink made;
        bool askedToLeave = false;  // by a server that was being reached
    };
    // False when the connection has ended.
    bool beginReconnecting(Attempt& attempt);
    // Reaches the server with "Main" and both callbacks, in the locale that was settled on. On failure
    // `made` is what was made so far.
    HRESULT reopenLink(Attempt& attempt);
    // The server becomes the connection's; false when the connection has ended meanwhile.
    bool takeOver(Attempt& attempt);
    void stopReconnecting();

    CallGate& gate() RETURN_CAPABILITY(gate_) { return gate_; }
    bool isConnected() const REQUIRES(gate_) { return state_ == SERVERSTATUS_CONNECTED; }
    const ServerLink& link() const REQUIRES(gate_) { return link_; }
    const std::shared_ptr<CallbackRelay>& callback() const REQUIRES(gate_) { return callback_; }
    // Tells the client; false when it did not take it.
    bool report(ServerStatus status) noexcept;

    // A step that does not apply counts as one that failed.
    static bool isDone(HRESULT hr) noexcept { return succeeded(hr) && hr != S_FALSE; }

    // ---- WatchedConnection

    ServerStatus state() override;
    bool reconnectsAfterError() override;
    HRESULT probe() override;
    void markLost(ServerStatus why) override;
    std::optional<ServerStatus> takeLoss() override;
    HRESULT internalDisconnect(bool shutdown) override;
    void reportLoss(ServerStatus why) override;
    void sendAllQualityBad() override;
    HRESULT internalConnect() override { return reconnector_.reconnect(); }
    void recoverIncompleteSubscriptions() override { reconnector_.recoverIncompleteSubscriptions(); }

private:
    using LocaleStep = std::function<HRESULT(DaServerMgt&)>;

    // Where the server is.
    struct Address {
        OpxString node;  // empty for this machine
        CLSID clsid{};
    };

    static HRESULT resolveUrl(const OpxString& text, Address& address);
    static HRESULT lookUpClsid(ServerUrl& url);
    HRESULT changeLocale(DaServerMgt& server, OpxString& locale, bool& changed);
    HRESULT recoverLocale(DaServerMgt& server);

    Address address();
    void holdApartment();
    HRESULT openLink(Attempt& attempt, const LocaleStep& localeStep);
    HRESULT addMainGroup(Attempt& attempt);
    std::shared_ptr<WatchDog> watchDog();

    void removeSubscriptions(DaServerMgt* server);
    void closeLink(const ServerLink& link, bool wasConnected);
    void waitForTearDowns();
    void stopWatchDog();
    void startTearDown(bool removeGroups, std::shared_ptr<DaServerMgt> server, TerminateOpcThread::Groups groups)
        REQUIRES(gate_);

    CallGate gate_;
    ServerStatus state_ GUARDED_BY(gate_) = SERVERSTATUS_DISCONNECTED;
    ServerLink link_ GUARDED_BY(gate_);
    Address address_ GUARDED_BY(gate_);
    bool reconnectAfterError_ GUARDED_BY(gate_) = true;
    std::uint32_t keepAliveTime_ GUARDED_BY(gate_) = 0;
    std::shared_ptr<CallbackRelay> callback_ GUARDED_BY(gate_);  // null while disconnected
    std::uint32_t clientHandle_ GUARDED_BY(gate_) = 0;

    // Keeps COM up from the connection's first server to its end.
    std::unique_ptr<ApartmentShare> apartment_ GUARDED_BY(gate_);
    std::shared_ptr<WatchDog> watchDog_ GUARDED_BY(gate_);
    std::vector<std::unique_ptr<TerminateOpcThread>> teardownThreads_ GUARDED_BY(gate_);
    OpxString askedLocale_ GUARDED_BY(gate_);         // empty for none
    std::optional<LCID> localeId_ GUARDED_BY(gate_);  // what a server settled on
    std::optional<ServerStatus> loss_ GUARDED_BY(gate_);
    bool connecting_ GUARDED_BY(gate_) = false;  // a server is being reached, at first or again
    bool leftAlone_ GUARDED_BY(gate_) = false;
    bool shutdownWhileConnecting_ GUARDED_BY(gate_) = false;

    SubscriptionTable subscriptions_;
    Reconnector reconnector_{*this};
};

}  // namespace OpxOpc
