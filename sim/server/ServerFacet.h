// The common part of a server object's interfaces.
#pragma once

#include "sim/com/CompositeObject.h"
#include "sim/server/Server.h"
#include "sim/steering/serve.h"

namespace Korvex::Simulation {

template <typename Interface>
class ServerFacet : public Facet<Interface> {
public:
    ServerFacet(CompositeObject& owner, Server& server) noexcept : Facet<Interface>(owner), server_(server) {}

protected:
    Server& server() const noexcept { return server_; }

private:
    Server& server_;
};

}  // namespace Korvex::Simulation
