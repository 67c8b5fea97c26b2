// The state of a server connection and the server's interfaces.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include <korvex/native/OpxItemIdentifier.h>

#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "com/opc_interfaces.h"
#include "opc/browse/AddressSpaceBrowser.h"
#include "opc/browse/BrowseRequest.h"
#include "opc/callbacks/OpxOPCShutdown.h"
#include "opc/group/DaGroupMgt.h"
#include "opc/server/ServerInterfaces.h"

namespace OpxOpc {

struct DaServerMgtPrivate {
    DaServerMgtPrivate();
    ~DaServerMgtPrivate();
    DaServerMgtPrivate(const DaServerMgtPrivate&) = delete;
    DaServerMgtPrivate& operator=(const DaServerMgtPrivate&) = delete;

    // Keeps the server's interfaces. On failure some may be kept: ReleaseOPCServerInterfaces gives them up.
    HRESULT SetIOPCServer(Korvex::Com::ComPtr<IOPCServer> server);

    // Answers the code of the last revocation, S_OK in a multi-threaded apartment.
    HRESULT ReleaseOPCServerInterfaces();

    // The operations of these interfaces, as DaServerMgt offers them.
    HRESULT browse(const BrowseRequest& request, OpxString& continuationPoint, std::vector<OpxBrowseElement>& elements,
                   bool& moreElements);
    HRESULT getProperties(const std::vector<OpxItemIdentifier>& items, const PropertyRequest& request,
                          std::vector<OpxItemProperties>& results);

    std::unique_ptr<DaGroupMgt> defaultGroup;
    std::atomic<bool> connected = false;
    Korvex::Com::ComPtr<OpxOPCShutdown> shutdownSink;
    bool sinkAdvised = false;
    DWORD adviseCookie = 0;
    LCID localeId = LOCALE_SYSTEM_DEFAULT;
    ServerInterfaces interfaces;

private:
    HRESULT browseAddressSpace(const BrowseRequest& request, OpxString& continuationPoint,
                               std::vector<OpxBrowseElement>& elements, bool& moreElements);
    HRESULT queryProperties(const std::vector<OpxItemIdentifier>& items, const PropertyRequest& request,
                            std::vector<OpxItemProperties>& results);
    std::shared_ptr<AddressSpaceBrowser> addressSpaceBrowser();
    void forgetAddressSpace();

    Korvex::Mutex browserLock_;  // held for moments only
    std::shared_ptr<AddressSpaceBrowser> browser_ GUARDED_BY(browserLock_);
};

}  // namespace OpxOpc
