// The objects of a connection that belong to one server, from reaching it until losing it.
#pragma once

#include <memory>

#include "core/MainItemCache.h"
#include "opc/group/DaGroupMgt.h"
#include "opc/server/DaServerMgt.h"

namespace OpxOpc {

// Shared with the calls in progress, so that losing the server frees nothing under them. All are null
// while there is no connection.
struct ServerLink {
    std::shared_ptr<DaServerMgt> server;
    std::shared_ptr<DaGroupMgt> mainGroup;     // "Main": reads and writes go through it
    std::shared_ptr<MainItemCache> mainItems;  // what it holds

    // A group goes before its server.
    void clear() noexcept {
        mainItems.reset();
        mainGroup.reset();
        server.reset();
    }
};

}  // namespace OpxOpc
