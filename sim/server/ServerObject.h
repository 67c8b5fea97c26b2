// The COM object that a client of the simulation server holds.
#pragma once

#include <atomic>
#include <memory>

#include "sim/com/CompositeObject.h"
#include "sim/com/ConnectionPoint.h"
#include "sim/server/BrowseAddressSpaceFacet.h"
#include "sim/server/BrowseFacet.h"
#include "sim/server/CommonFacet.h"
#include "sim/server/ItemIoFacet.h"
#include "sim/server/ItemPropertiesFacet.h"
#include "sim/server/OpcServerFacet.h"
#include "sim/steering/ControlFacet.h"

namespace Korvex::Simulation {

class ServerObject final : public CompositeObject {
public:
    ServerObject();

private:
    ~ServerObject() override;

    IUnknown* identity() noexcept override { return &opcServer_; }
    IUnknown* part(REFIID riid) noexcept override;
    void onClient() override;

    const std::shared_ptr<Server> server_;
    std::atomic<bool> hasClient_{false};
    OpcServerFacet opcServer_;
    CommonFacet common_;
    ItemIoFacet itemIo_;
    BrowseFacet browse_;
    BrowseAddressSpaceFacet browseAddressSpace_;
    ItemPropertiesFacet itemProperties_;
    ConnectionPointContainer<IOPCShutdown> points_;
    ControlFacet control_;
};

}  // namespace Korvex::Simulation
