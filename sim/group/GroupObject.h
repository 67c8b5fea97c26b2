// The COM object of a group.
#pragma once

#include <memory>

#include "sim/com/CompositeObject.h"
#include "sim/com/ConnectionPoint.h"
#include "sim/group/AsyncIoFacet.h"
#include "sim/group/GroupStateFacet.h"
#include "sim/group/ItemMgtFacet.h"
#include "sim/group/SyncIoFacet.h"

namespace Korvex::Simulation {

class GroupObject final : public CompositeObject {
public:
    explicit GroupObject(std::shared_ptr<Group> group);

    Group& group() const noexcept { return *group_; }

private:
    ~GroupObject() override;

    IUnknown* identity() noexcept override { return &itemMgt_; }
    IUnknown* part(REFIID riid) noexcept override;

    const std::shared_ptr<Group> group_;
    ItemMgtFacet itemMgt_;
    GroupStateFacet state_;
    SyncIoFacet syncIo_;
    AsyncIoFacet asyncIo_;
    ConnectionPointContainer<IOPCDataCallback> points_;
};

}  // namespace Korvex::Simulation
