#include "sim/group/GroupObject.h"

#include <utility>

#include "sim/Simulation.h"

namespace Korvex::Simulation {

GroupObject::GroupObject(std::shared_ptr<Group> group)
    : CompositeObject("IOPCItemMgt"),
      group_(std::move(group)),
      itemMgt_(*this, *group_),
      state_(*this, *group_),
      syncIo_(*this, *group_),
      asyncIo_(*this, *group_),
      points_(*this, group_->sinks(), [this] { group_->publisher().restart(); }) {}

GroupObject::~GroupObject() {
    simulation().journal.note("group " + toUtf8(group_->settings().name) + " released");
    group_->remove();
}

IUnknown* GroupObject::part(REFIID riid) noexcept {
    if (riid == IID_IOPCItemMgt) return &itemMgt_;
    if (riid == IID_IOPCGroupStateMgt || riid == IID_IOPCGroupStateMgt2) return &state_;
    if (riid == IID_IOPCSyncIO || riid == IID_IOPCSyncIO2) return &syncIo_;
    if (riid == IID_IOPCAsyncIO2 || riid == IID_IOPCAsyncIO3) return &asyncIo_;
    if (riid == IID_IConnectionPointContainer) return &points_;
    return nullptr;
}

}  // namespace Korvex::Simulation
