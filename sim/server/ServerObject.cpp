#include "sim/server/ServerObject.h"

#include "sim/Simulation.h"

namespace Korvex::Simulation {

ServerObject::ServerObject()
    : CompositeObject("IOPCServer"),
      server_(std::make_shared<Server>()),
      opcServer_(*this, *server_),
      common_(*this, *server_),
      itemIo_(*this, *server_),
      browse_(*this, *server_),
      browseAddressSpace_(*this, *server_),
      itemProperties_(*this, *server_),
      points_(*this, server_->shutdownSinks(),
              [this] {
                  if (simulation().options.get().asksToLeave) server_->requestShutdown(nullptr);
              }),
      control_(*this) {
    simulation().addServer(server_);
}

ServerObject::~ServerObject() {
    server_->close();
    if (!hasClient_) return;
    --simulation().census.servers;
    simulation().journal.note("server released");
}

IUnknown* ServerObject::part(REFIID riid) noexcept {
    if (riid == IID_IOPCServer) return &opcServer_;
    if (riid == IID_IOPCCommon) return &common_;
    if (riid == IID_IOPCItemIO) return &itemIo_;
    if (riid == IID_IOPCBrowse) return &browse_;
    if (riid == IID_IOPCBrowseServerAddressSpace) return &browseAddressSpace_;
    if (riid == IID_IOPCItemProperties) return &itemProperties_;
    if (riid == IID_IConnectionPointContainer) return &points_;
    if (riid == IID_ISimulationControl) return &control_;
    return nullptr;
}

void ServerObject::onClient() {
    if (!hasClient_.exchange(true)) ++simulation().census.servers;
}

}  // namespace Korvex::Simulation
