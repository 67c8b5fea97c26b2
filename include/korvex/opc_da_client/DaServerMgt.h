// The connection of an application to one OPC Data Access server.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <korvex/export.h>
#include <korvex/opc_da_client/BrowseElement.h>
#include <korvex/opc_da_client/ConnectInfo.h>
#include <korvex/opc_da_client/Exceptions.h>
#include <korvex/opc_da_client/ItemIdentifier.h>
#include <korvex/opc_da_client/ItemResultCallback.h>
#include <korvex/opc_da_client/ItemValue.h>
#include <korvex/opc_da_client/ItemValueCallback.h>
#include <korvex/opc_da_client/NullableArray.h>
#include <korvex/opc_da_client/NullableText.h>
#include <korvex/opc_da_client/PropertyID.h>
#include <korvex/opc_da_client/ReturnCode.h>
#include <korvex/opc_da_client/ServerState.h>

namespace Korvex::OPC::OpcDaClient {

/// Create an object, connect it, use it, disconnect it. It may be connected again afterwards.
///
/// A bad argument is an ArgumentException, thrown before the server is asked anything; a call that
/// fails is an OPCException with the result code; what happened to a single item is told by its ResultID
/// and never thrown.
///
/// A connection that is lost is made anew, with its subscriptions, unless the ConnectInfo says otherwise;
/// ServerStateChanged tells of it.
///
/// Methods may be called from any thread, also from inside a handler. Handlers are called on the
/// library's threads, on those that COM delivers callbacks on, and on the caller's from inside Connect
/// and Disconnect; a handler that blocks holds them up, and several may run at once. One may still be
/// running when Disconnect or the destructor has returned: let handlers share what they need. A handler
/// that throws keeps the later handlers of that event from being called and leaves a line in the trace,
/// and nothing else. Do not destroy the object from inside a handler.
///
/// COM security is the process's: the first object settles it with the authentication level none, or the one that
/// the environment variable KORVEX_OPC_AUTHENTICATION names (none, connect, integrity, privacy). Servers that demand
/// packet integrity refuse none. An application that settles it itself before it makes an object has its own way:
///
///   CoInitializeEx(nullptr, COINIT_MULTITHREADED);
///   CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_INTEGRITY, RPC_C_IMP_LEVEL_IMPERSONATE,
///                        nullptr, EOAC_NONE, nullptr);
///   DaServerMgt server;
class KORVEX_OPC_API DaServerMgt {
public:
    /// Takes the connection's `clientHandle` and its new state.
    using ServerStateChangedEventHandler = std::function<void(std::int32_t clientHandle, ServerState state)>;

    /// Takes the number that the application gave the subscription and the items that changed: those of
    /// one change of the server, or of all that the connection lost. `allQualitiesGood` is false when a
    /// quality is not good, `noErrors` when an item has an error. An item carries the ClientHandle that it
    /// was subscribed with; its value is null where the server's could not be converted, which ResultID
    /// tells. An item that the library cannot tell is left as a default record, without quality and result.
    using DataChangedEventHandler =
        std::function<void(std::int32_t clientSubscription, bool allQualitiesGood, bool noErrors,
                           const std::vector<ItemValueCallback>& itemValues)>;

    /// Takes the number that the application gave the read and its items; null where the read failed as a
    /// whole, which `noErrors` does not tell. An item's ResultID is the server's code.
    using ReadCompletedEventHandler =
        std::function<void(std::int32_t transactionHandle, bool allQualitiesGood, bool noErrors,
                           const NullableArray<ItemValueCallback>& itemValues)>;

    /// The same for a write.
    using WriteCompletedEventHandler = std::function<void(std::int32_t transactionHandle, bool noErrors,
                                                          const NullableArray<ItemResultCallback>& itemResults)>;

    DaServerMgt();
    /// Disposes.
    ~DaServerMgt();
    DaServerMgt(const DaServerMgt&) = delete;
    DaServerMgt& operator=(const DaServerMgt&) = delete;

    /// Connects to the server of `url`: "opcda://host/ProgID/{CLSID}". An empty host, "localhost" or
    /// "127.0.0.1" is this machine; the class identifier may be left out and is then looked up, once: write it
    /// where the server may be away. `clientHandle` comes back with every state change. `connectInfo` says how to
    /// connect; its LocalId becomes what the server accepted.
    ///
    /// `connectFailed` is true when the server could not be reached, or took another locale than asked
    /// for, while RetryInitialConnection is set; the object counts as connected all the same.
    ///
    /// Throws ArgumentNullException and ArgumentException ("url"), OPCException when connected already, also
    /// while another thread connects or disconnects, or when connecting fails (with E_OUTOFMEMORY when the
    /// system has no thread to watch the connection), NullReferenceException when the object is disposed
    /// meanwhile. With a null `connectInfo` the connection is made with the defaults and
    /// then NullReferenceException thrown; pass a ConnectInfo.
    void Connect(const NullableText& url, std::int32_t clientHandle, ConnectInfo* connectInfo, bool& connectFailed);

    /// Waits for calls in progress and for a state change that is just being told, and leaves the server; it
    /// does not wait for an attempt to reconnect. Throws OPCException when not connected, also while another
    /// thread connects or disconnects; when leaving fails, the object is disconnected all the same.
    void Disconnect();

    /// True from a successful Connect to Disconnect, whatever the state of the server meanwhile.
    bool IsConnected() const noexcept;

    /// The last known state of the server.
    OpcDaClient::ServerState ServerState() const noexcept;

    /// Reads items. `maxAge` is in milliseconds: values of the server's cache that are not older will
    /// do; 0 asks the device. Every identifier gets its ServerHandle, DataType and ResultID;
    /// `itemValues` gets one entry an identifier, with a null value where the item's result is not 0.
    ///
    /// Throws ArgumentNullException, ArgumentException ("itemIdentifiers"), ArgumentOutOfRangeException
    /// ("maxAge"), OPCException.
    ReturnCode Read(std::int32_t maxAge, NullableArray<ItemIdentifier>& itemIdentifiers,
                    NullableArray<ItemValue>& itemValues);

    /// Writes one value an item, converted to the item's type by the rules of the connection's locale; one
    /// that does not convert, and a null one for an item that takes none, are for the server to refuse.
    /// Quality and time of the values are not sent. Every identifier gets its ServerHandle, DataType and
    /// ResultID.
    ///
    /// Throws ArgumentNullException, ArgumentException ("itemIdentifiers"), NullReferenceException for null
    /// `itemValues`, OPCException, also for lists of different lengths.
    ReturnCode Write(NullableArray<ItemIdentifier>& itemIdentifiers, const NullableArray<ItemValue>& itemValues);

    /// The same without waiting: ReadCompleted and WriteCompleted are raised with `transactionHandle`, a
    /// number of the application's choice, maybe before the method has returned. Add the handlers first: a
    /// completion that finds none leaves its call pending for ever. None comes for a call that throws, or
    /// whose items are all refused.
    ///
    /// Throw as above, OPCException also while the ServerState is not CONNECTED; ArgumentNullException and
    /// ArgumentException ("itemValues", "itemIdentifiers+itemValues") for values that do not fit the items.
    ReturnCode ReadAsync(std::int32_t transactionHandle, std::int32_t maxAge,
                         NullableArray<ItemIdentifier>& itemIdentifiers);
    /// Writes without waiting, as ReadAsync reads.
    ReturnCode WriteAsync(std::int32_t transactionHandle, NullableArray<ItemIdentifier>& itemIdentifiers,
                          const NullableArray<ItemValue>& itemValues);

    /// Subscribes to items: DataChanged is raised with `clientSubscription`, a number of the application's
    /// choice, when one of them changes. `updateRate` is the time between two events in milliseconds, from
    /// 0, the fastest that the server has; the server may revise it. `deadband` is the percentage of its
    /// range, 0 to 100, that an analog item has to change by. With `active` false no event is raised until
    /// the subscription is made active. Every identifier gets its ServerHandle, DataType and ResultID.
    /// Items whose ClientHandles have the same hash code come with the first one's handle, so give every
    /// item a handle of its own.
    ///
    /// `serverSubscription` names the subscription in the methods below, until it is cancelled or the
    /// object disconnects; an item that is refused is not part of it. While the server cannot be reached
    /// success means that the call is noted, and it is carried out when the server is back: an item that the
    /// server then refuses, misspelt perhaps, is told by DataChanged once, without value, with bad quality and
    /// its ResultID.
    ///
    /// ITEMERROR: an item is refused; else UNSUPPORTEDUPDATERATE: the rate is `revisedUpdateRate`. A server
    /// that makes the subscription but will not activate it is an exception, and leaves it inactive.
    /// Throws ArgumentNullException, ArgumentException ("itemIdentifiers"), ArgumentOutOfRangeException
    /// ("updateRate", "deadband"), OPCException.
    ReturnCode Subscribe(std::int32_t clientSubscription, bool active, std::int32_t updateRate,
                         std::int32_t& revisedUpdateRate, float deadband,
                         NullableArray<ItemIdentifier>& itemIdentifiers, std::int32_t& serverSubscription);

    /// Change what a subscription was made with: deadband, rate, active state, or all of them; the ranges
    /// are Subscribe's. UNSUPPORTEDUPDATERATE: the rate is `revisedUpdateRate`, or it is noted for the time
    /// when the server can be reached again. Throw ArgumentOutOfRangeException ("updateRate", "deadband"),
    /// and OPCException, also for a handle that names no subscription.
    ReturnCode SubscriptionModify(std::int32_t serverSubscription, float deadband);
    /// Changes the deadband.
    ReturnCode SubscriptionModify(std::int32_t serverSubscription, double deadband);
    /// Changes the deadband.
    template <detail::WholeNumber Number>
    ReturnCode SubscriptionModify(std::int32_t serverSubscription, Number deadband) {
        return SubscriptionModify(serverSubscription, static_cast<double>(deadband));
    }
    /// Changes the rate.
    ReturnCode SubscriptionModify(std::int32_t serverSubscription, std::int32_t updateRate,
                                  std::int32_t& revisedUpdateRate);
    /// Changes the active state.
    ReturnCode SubscriptionModify(std::int32_t serverSubscription, bool active);
    /// Changes all of them.
    ReturnCode SubscriptionModify(std::int32_t serverSubscription, bool active, std::int32_t updateRate,
                                  std::int32_t& revisedUpdateRate, float deadband);
    /// A pointer is no active state.
    ReturnCode SubscriptionModify(std::int32_t serverSubscription, const void* active) = delete;
    ReturnCode SubscriptionModify(std::int32_t serverSubscription, const void* active, std::int32_t updateRate,
                                  std::int32_t& revisedUpdateRate, float deadband) = delete;

    /// Adds items to a subscription. ITEMERROR: an item is refused.
    /// Throws ArgumentNullException, ArgumentException ("itemIdentifiers"), OPCException: E_INVALIDARG for a
    /// subscription that is cancelled, E_FAIL for one that is cancelled meanwhile, for which it may be a
    /// KeyNotFoundException where the server had added the items already.
    ReturnCode SubscriptionAddItems(std::int32_t serverSubscription, NullableArray<ItemIdentifier>& itemIdentifiers);

    /// Removes items, named by the identifiers that subscribing or adding filled in, or by name and path.
    /// ITEMERROR: the ResultIDs tell which items are not; otherwise the identifiers are left as they are.
    /// Throws ArgumentNullException, ArgumentException ("itemIdentifiers"), OPCException.
    ReturnCode SubscriptionRemoveItems(std::int32_t serverSubscription, NullableArray<ItemIdentifier>& itemIdentifiers);

    /// Ends a subscription. Throws OPCException; when it is the server that fails, no event is raised for
    /// the subscription any more all the same.
    void SubscriptionCancel(std::int32_t serverSubscription);

    /// Lists what lies directly below the element `itemName`; "" is the root of the address space. At most
    /// `maxElementsReturned` elements, 0 for as many as the server gives: while the `continuationPoint` that
    /// comes back is not empty, call again with it and the other arguments as they were; it is "" at first.
    /// `moreElements` without it: the server has more elements, and no way to go on. Where the library keeps
    /// what has not been asked for yet (for servers of data access 2.0), a connection keeps 1,000,000 elements
    /// or those of its last browse: the oldest continuation points are dropped first. Properties come with
    /// items: all of them, or those of `propertyIDs`, which may be null; their values only with
    /// `returnPropertyValues`. `itemPath` may be null; no server is sent it.
    ///
    /// ITEMERROR: the ResultID of a property tells what is wrong with it.
    /// Throws ArgumentNullException ("itemName", "continuationPoint"), ArgumentOutOfRangeException
    /// ("maxElementsReturned"), OPCException, also for an element that there is not and for a continuation
    /// point that is not of this browse or is used up.
    ReturnCode Browse(const NullableText& itemName, const NullableText& itemPath, NullableText& continuationPoint,
                      std::int32_t maxElementsReturned, BrowseFilter browseFilter,
                      const NullableArray<std::int32_t>& propertyIDs, bool returnAllProperties,
                      bool returnPropertyValues, NullableArray<BrowseElement>& BrowseElements, bool& moreElements);

    /// The properties of items: with `returnAllProperties` all that the server has, else those of
    /// `propertyIDs`, in that order. Values come only with `returnPropertyValues`. Every identifier gets its
    /// ResultID, and `itemProperties` one entry an identifier.
    ///
    /// ITEMERROR: an item is unknown, or one of its properties could not be had.
    /// Throws ArgumentNullException, ArgumentException ("itemIdentifiers", and for no property numbers
    /// where they are needed), OPCException.
    ReturnCode GetProperties(NullableArray<ItemIdentifier>& itemIdentifiers,
                             const NullableArray<std::int32_t>& propertyIDs, bool returnAllProperties,
                             bool returnPropertyValues, NullableArray<ItemProperties>& itemProperties);

    /// Adds a handler, at any time; the token takes it back. An empty handler and an unknown token are
    /// ignored. Handlers are called in the order they were added.
    std::uint64_t add_ServerStateChanged(ServerStateChangedEventHandler handler);
    /// Removes a handler.
    void remove_ServerStateChanged(std::uint64_t token);
    /// Adds a handler, as add_ServerStateChanged does.
    std::uint64_t add_DataChanged(DataChangedEventHandler handler);
    /// Removes a handler.
    void remove_DataChanged(std::uint64_t token);
    /// Adds a handler, as add_ServerStateChanged does.
    std::uint64_t add_ReadCompleted(ReadCompletedEventHandler handler);
    /// Removes a handler.
    void remove_ReadCompleted(std::uint64_t token);
    /// Adds a handler, as add_ServerStateChanged does.
    std::uint64_t add_WriteCompleted(WriteCompletedEventHandler handler);
    /// Removes a handler.
    void remove_WriteCompleted(std::uint64_t token);

    /// Disconnects and frees everything but the object itself. Disposing twice is harmless. Afterwards
    /// Disconnect finds no connection, and the methods that ask the server throw NullReferenceException.
    void Dispose();
    /// The same where `disposing` is true, else nothing.
    void Dispose(bool disposing);

private:
    /// Makes {} ambiguous, which would be a null record.
    enum class NoConnectInfo {};
    void Connect(const NullableText& url, std::int32_t clientHandle, NoConnectInfo connectInfo,
                 bool& connectFailed) = delete;

    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace Korvex::OPC::OpcDaClient
