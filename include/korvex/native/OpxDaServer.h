// The native facade: one connection to one OPC Data Access server.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <korvex/export.h>
#include <korvex/native/OpxBrowseElement.h>
#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemProperties.h>
#include <korvex/native/OpxItemValue.h>
#include <korvex/native/OpxServerConnectInfo.h>

namespace OpxOpc {

/// Every operation returns an HRESULT: negative for failure, S_OK (0), or S_FALSE (1) where the
/// result of each item has to be read from `errors`. Nothing throws. Operations may be called from
/// any thread. An operation without a connection answers E_FAIL (0x80004005), a bad argument
/// E_INVALIDARG (0x80070057), and no server is asked.
class KORVEX_OPC_API OpxDaServer {
public:
    OpxDaServer();
    /// Disconnects a connected object.
    ~OpxDaServer();
    OpxDaServer(const OpxDaServer&) = delete;
    OpxDaServer& operator=(const OpxDaServer&) = delete;

    /// Connects to the server that `url` names: "opcda://host/ProgID/{CLSID}", longer than 10
    /// characters; an empty host, "localhost" or "127.0.0.1" is this machine, and without a CLSID the
    /// host's server list is asked for it. `info.localId` becomes what the server accepted. `callback`
    /// must outlive the connection and every call of it that a disconnect overtakes; it is told of every
    /// change of state with `clientHandle`, the first time before this call returns.
    ///
    /// S_FALSE: connected with another locale than asked for, or the first attempt failed and
    /// `info.retryInitialConnect` is set: the connection then counts as made, in the state
    /// SERVERSTATUS_WATCHDOG_ERROR. E_FAIL when connected already.
    std::int32_t connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                         OpxDataCallback* callback);

    /// The same with a callback that is shared, and lives until the last call of it has returned, which
    /// may be after the connection has ended.
    std::int32_t connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                         std::shared_ptr<OpxDataCallback> callback);

    /// Waits for calls in progress, removes every group and releases the server.
    std::int32_t disconnect();

    /// Reads items that are not older than `maxAge` milliseconds; 0 asks the device. `values` gets one
    /// entry an item. `errors` gets one code an item, or stays empty when every code is 0. The records
    /// get a handle that speeds up the next call, and the canonical type where none was requested.
    std::int32_t read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items, std::vector<OpxItemValue>& values,
                      std::vector<std::int32_t>& errors);

    /// The same without waiting: `callback` gets a ReadComplete with `transaction`, which may come before
    /// this call returns. No completion comes for a call that fails, or whose items are all refused.
    std::int32_t readAsync(std::uint32_t transaction, std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items,
                           std::vector<std::int32_t>& errors);

    /// Writes one value an item, each converted to the item's type; what does not convert is refused by
    /// the server as an empty value. Quality and time of the values are not sent.
    std::int32_t write(std::vector<OpxItemIdentifier>& items, const std::vector<OpxItemValue>& values,
                       std::vector<std::int32_t>& errors);

    /// The same without waiting, completed by a WriteComplete as readAsync is.
    std::int32_t writeAsync(std::uint32_t transaction, std::vector<OpxItemIdentifier>& items,
                            const std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors);

    /// Subscribes to items: `callback` gets a DataChange with `clientSubscription` when one of them
    /// changes by more than `deadband` percent of its range (0 to 100), at most every `updateRate`
    /// milliseconds. With `active` false nothing is sent until the subscription is made active. The rate
    /// that the server has made of it goes to `revisedUpdateRate`, the handle for the other operations to
    /// `serverSubscription`. S_FALSE: `errors` tells which items are not part of the subscription.
    ///
    /// While the server cannot be reached, a connection that reconnects notes this and all the operations on
    /// subscriptions below, and carries them out when the server is back: an item that the server then
    /// refuses is told by a DataChange once, without value, with bad quality and its code.
    std::int32_t subscribe(std::uint32_t clientSubscription, bool active, std::uint32_t updateRate, float deadband,
                           std::vector<OpxItemIdentifier>& items, std::uint32_t* revisedUpdateRate,
                           std::uint32_t* serverSubscription, std::vector<std::int32_t>& errors);

    /// Changes what a subscription was made with; S_FALSE where it is noted for the time when the server
    /// is back. A handle that was never given out is OPC_E_INVALIDHANDLE (0xC0040001), one of a cancelled
    /// subscription E_INVALIDARG; that holds for the operations below too.
    std::int32_t subscriptionModify(std::uint32_t serverSubscription, float deadband);
    /// Changes the rate.
    std::int32_t subscriptionModify(std::uint32_t serverSubscription, std::uint32_t updateRate,
                                    std::uint32_t* revisedUpdateRate);
    /// Changes the active state.
    std::int32_t subscriptionModify(std::uint32_t serverSubscription, bool active);
    /// Changes all of them.
    std::int32_t subscriptionModify(std::uint32_t serverSubscription, bool active, std::uint32_t updateRate,
                                    float deadband, std::uint32_t* revisedUpdateRate);

    /// Adds items to a subscription or removes them. The records are those that subscribing or adding
    /// filled in; a record without their handle is found by its name and path.
    std::int32_t subscriptionAddItems(std::uint32_t serverSubscription, std::vector<OpxItemIdentifier>& items,
                                      std::vector<std::int32_t>& errors);
    /// Removes items, as subscriptionAddItems adds them.
    std::int32_t subscriptionRemoveItems(std::uint32_t serverSubscription, const std::vector<OpxItemIdentifier>& items,
                                         std::vector<std::int32_t>& errors);

    /// Ends a subscription. When the server fails to, the handle stays valid, but nothing is delivered any more.
    std::int32_t subscriptionCancel(std::uint32_t serverSubscription);

    /// Lists what lies below the element `itemName` ("" is the root), at most `maxElementsReturned` elements,
    /// or as many as there are with 0: while the continuation point that comes back is not empty, call again
    /// with it; it is empty at first. `moreElements` without one: the server has more elements, and no way to
    /// go on. Where the library keeps what has not been asked for yet (for servers of data access 2.0), a
    /// connection keeps 1,000,000 elements or those of its last browse: the oldest points are dropped first.
    /// Items come with all their properties, or those of `propertyIds`. `itemPath` is not sent;
    /// `moreElements` may be null.
    ///
    /// S_FALSE: a property could not be had. OPC_E_UNKNOWNITEMID (0xC0040007): there is no such element.
    /// OPC_E_INVALIDCONTINUATIONPOINT (0xC0040403): the point is not of this browse, or was used before. E_FAIL:
    /// the server cannot be reached now. On failure there are no elements, and the point is unchanged.
    std::int32_t browse(const OpxString& itemName, const OpxString& itemPath, OpxString& continuationPoint,
                        std::uint32_t maxElementsReturned, BrowseFilter filter,
                        const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties,
                        bool returnPropertyValues, std::vector<OpxBrowseElement>& elements, bool* moreElements);

    /// The properties of items, all or those of `propertyIds`: `results` gets one entry an item. S_FALSE: the
    /// codes in the results tell what could not be had. E_INVALIDARG for no items, and for no `propertyIds`
    /// without `returnAllProperties`.
    std::int32_t getProperties(const std::vector<OpxItemIdentifier>& items,
                               const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties,
                               bool returnPropertyValues, std::vector<OpxItemProperties>& results);

private:
    struct Private;
    std::unique_ptr<Private> d_;
};

}  // namespace OpxOpc
