// The COM connection to one OPC Data Access server.
#pragma once

#include <memory>
#include <vector>

#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/text.h>

#include "com/com.h"
#include "opc/browse/BrowseRequest.h"

namespace OpxOpc {

class DaGroupMgt;
struct DaServerMgtPrivate;

// Every operation answers an HRESULT and throws nothing but std::bad_alloc. E_FAIL: the object is not in
// the state that the operation needs; E_NOINTERFACE: one of the server's interfaces cannot be had.
//
// Operations may be called by any threads that are in an apartment of COM, also while another one
// disconnects: what they need of the server lives until they are through. Only one thread at a time
// connects, disconnects or connects the callback. The first object
// of the process brings COM up, for the multi-threaded apartment unless its thread has another one.
class DaServerMgt {
public:
    DaServerMgt();
    // Disconnects a connected object.
    ~DaServerMgt();
    DaServerMgt(const DaServerMgt&) = delete;
    DaServerMgt& operator=(const DaServerMgt&) = delete;

    bool isConnected() const noexcept;

    // Creates the server object. A `node` that is not empty is asked as a remote machine, also where it
    // names this one. A server that has neither IOPCBrowse nor IOPCItemProperties is refused.
    HRESULT connectOPCServer(const OpxString& node, const CLSID& clsid);

    // Takes the callback back, removes the attached group and releases the server. S_OK whatever the
    // server answers to that.
    HRESULT disconnectOPCServer();

    // Asks whether the server answers. A server that is not in the running state does answer: that state
    // is written to the trace and is no failure.
    HRESULT getStatus();

    // Asks the server for one of the known locales ("en", "en-us", "de", "de-de", "en-gb", "fr", "fr-fr",
    // "it", "it-it", "es", "es-es"). S_FALSE, and an empty `locale`, when the library does not know it or
    // the server does not accept it; the locale in use stays.
    HRESULT setLocalID(OpxString& locale);

    // The locale in use, and its number as a connection to the same server takes it over without asking.
    LCID localeId() const noexcept;
    void keepLocaleId(LCID id) noexcept;

    // Tells `callback` of the server's request to leave.
    HRESULT connectCallback(std::shared_ptr<OpxDataCallback> callback);
    // The callback may still be running when this returns; it is not called again.
    HRESULT disconnectCallback();
    // The same without asking the server, which goes on calling in vain.
    void silence();

    // Creates the group on the server, or removes it there. E_POINTER for a null group.
    HRESULT addGroup(DaGroupMgt* group);
    HRESULT removeGroup(DaGroupMgt* group);

    // Leaves an added group to this object, which removes and deletes it when it disconnects.
    void attachGroup(std::unique_ptr<DaGroupMgt> group);

    // Lists what lies below a branch, `maxElements` at a time: while the continuation point that comes back
    // is not empty, go on with it. `moreElements` without one: the server has more, and cannot go on. S_FALSE
    // when a property of an element could not be had, OPC_E_UNKNOWNITEMID for a branch that there is not,
    // OPC_E_INVALIDCONTINUATIONPOINT for a point that is not of this browse, or used already. The lists
    // are cleared first; on failure they stay empty, and the continuation point is unchanged.
    HRESULT browse(const BrowseRequest& request, OpxString& continuationPoint, std::vector<OpxBrowseElement>& elements,
                   bool& moreElements);

    // The properties of each item. S_FALSE when one could not be had: its own code or its item's tells why.
    HRESULT getProperties(const std::vector<OpxItemIdentifier>& items, const PropertyRequest& request,
                          std::vector<OpxItemProperties>& results);

private:
    std::unique_ptr<DaServerMgtPrivate> d_;
};

}  // namespace OpxOpc
