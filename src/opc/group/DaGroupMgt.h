// One group of items on an OPC Data Access server.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemValue.h>

#include "com/com.h"
#include "com/opc_interfaces.h"
#include "opc/callbacks/ComAsyncTransaction.h"

namespace OpxOpc {

struct DaGroupMgtPrivate;

// A group is described by its constructor, created on a server by DaServerMgt::addGroup and removed by
// DaServerMgt::removeGroup. Between the two it is available.
//
// Every operation answers an HRESULT and throws nothing but std::bad_alloc. E_INVALIDARG: an empty list,
// or lists of different lengths; E_FAIL: the group is not available; E_NOINTERFACE: one of its interfaces
// cannot be had. S_FALSE: read the items' codes. `errors` gets one code an item with S_FALSE and is empty
// otherwise. A server that answers success and leaves an array out costs the items: each gets E_FAIL, the
// call S_FALSE; codes that are left out with S_OK are all 0.
//
// Operations may run on several threads, also while another one removes the group or takes its callback
// back: what they need of the group lives until they are through. Only one thread at a time adds the
// group or connects its callback.
class DaGroupMgt {
public:
    // `updateRate` in milliseconds, `percentDeadband` from 0 to 100.
    DaGroupMgt(OpxString name, std::uint32_t updateRate, bool active, std::uint32_t clientHandle,
               float percentDeadband);
    // Clears a group that is not cleared yet.
    ~DaGroupMgt();
    DaGroupMgt(const DaGroupMgt&) = delete;
    DaGroupMgt& operator=(const DaGroupMgt&) = delete;

    const OpxString& name() const noexcept;
    // The rate asked for, then the one that the server revised it to.
    std::uint32_t updateRate() const noexcept;
    bool active() const noexcept;
    float percentDeadband() const noexcept;
    std::uint32_t clientHandle() const noexcept;
    std::uint32_t serverHandle() const noexcept;

    // The server has created the group, whether or not it can be used then.
    void noteCreated(std::uint32_t serverHandle);
    bool wasCreated() const noexcept;

    // Takes the group that a server has created. `localeId` governs every conversion of a value. Fails,
    // and leaves the group unavailable, when the server has none of the interfaces of data access 2.0;
    // a failure to keep them for other threads leaves it available, without the interfaces not kept.
    HRESULT initialize(IOPCItemMgt* itemMgt, std::uint32_t revisedUpdateRate, std::uint32_t serverHandle,
                       LCID localeId);
    // Disconnects the callback and releases the group's interfaces. The server keeps the group.
    HRESULT clear();

    HRESULT setActive(bool active);
    HRESULT setDeadband(float percentDeadband);
    HRESULT setUpdateRate(std::uint32_t updateRate);
    HRESULT setState(bool active, float percentDeadband, std::uint32_t updateRate);

    // Adds the items, or with `validateOnly` asks whether they could be added. Items that were accepted
    // get their server handle (when added), access rights and, where they request no type, the canonical
    // one. Access paths are not sent.
    HRESULT addItems(std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors, bool validateOnly);
    // Asks which of the names are items' IDs; that others are not is no error.
    HRESULT findItems(const std::vector<OpxString>& names, std::vector<bool>& areItems);
    // Every item's server handle becomes 0, whether the server refused the item or not.
    HRESULT removeItems(std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors);

    // Reads by server handle: from the device, or with a `maxAge` in milliseconds other than 0 from a data
    // access 3.0 server's cache where that is fresh enough. A type missing from `types` is the canonical
    // one. An item without value but of good quality gets 0xC0040004. `values` gets one entry an item
    // unless the call fails.
    HRESULT read(std::uint32_t maxAge, const std::vector<std::uint32_t>& handles, const std::vector<Opx::VType>& types,
                 std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors);
    // The completion comes to the connected callback.
    HRESULT readAsync(std::uint32_t transactionId, std::uint32_t maxAge, const std::vector<std::uint32_t>& handles,
                      std::vector<std::int32_t>& errors);

    // Writes by server handle, each value converted to its item's type. A value that does not convert is
    // written to the trace and sent as VT_EMPTY, which leaves the verdict to the server.
    HRESULT write(const std::vector<std::uint32_t>& handles, const std::vector<OpxVariant>& values,
                  const std::vector<Opx::VType>& types, std::vector<std::int32_t>& errors);
    HRESULT writeAsync(std::uint32_t transactionId, const std::vector<std::uint32_t>& handles,
                       const std::vector<OpxVariant>& values, const std::vector<Opx::VType>& types,
                       std::vector<std::int32_t>& errors);

    // Tells `callback` of data changes and completions, on the server's threads. E_FAIL if a callback is
    // connected already.
    HRESULT connectCallback(std::shared_ptr<OpxDataCallback> callback);
    // The callback may still be running when this returns; it is not called again.
    HRESULT disconnectCallback();
    // The same without asking the server, which goes on calling in vain.
    void silence();

    // Makes a transaction known to the callback's sink before the call that it belongs to, and returns the
    // transaction ID for that call; 0 when no callback is connected. The completion removes it.
    std::uint32_t registerTransaction(std::shared_ptr<ComAsyncTransaction> transaction);
    void removeTransaction(std::uint32_t key);

private:
    std::unique_ptr<DaGroupMgtPrivate> d_;
};

}  // namespace OpxOpc
