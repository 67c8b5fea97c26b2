#include "sim/group/Group.h"

#include <utility>

#include "sim/Simulation.h"

namespace Korvex::Simulation {
namespace {

// Handles of different groups differ, so that a client that mixes them up is found out.
OPCHANDLE firstItemHandle(OPCHANDLE group) {
    return simulation().options.get().zeroHandles ? 0 : group * 0x10000 + 1;
}

// A scan that is as recent as the group's updates would have made it.
Sample recentScan(PlantItem& item, DWORD updateRate) {
    if (auto sample = item.cached(updateRate)) return *std::move(sample);
    return item.scan();
}

Sample outOfService(Sample sample) {
    sample.quality = kQualityOutOfService;
    return sample;
}

}  // namespace

Group::Group(std::weak_ptr<Server> server, OPCHANDLE handle, GroupSettings settings)
    : server_(std::move(server)),
      handle_(handle),
      settings_(std::move(settings)),
      nextItemHandle_(firstItemHandle(handle)),
      sinks_(simulation().census.sinks),
      publisher_(*this),
      transactions_(*this) {
    ++simulation().census.groups;
}

Group::~Group() {
    remove();
}

GroupSettings Group::settings() const {
    const ScopedLock lock(mutex_);
    return settings_;
}

void Group::remove() {
    if (removed_.exchange(true)) return;
    publisher_.stop();
    transactions_.stop();
    sinks_.clear();
    const ScopedLock lock(mutex_);
    simulation().census.items -= static_cast<int>(items_.size());
    items_.clear();
    --simulation().census.groups;
}

OPCHANDLE Group::addItem(GroupItem item) {
    const ScopedLock lock(mutex_);
    if (removed_) return nextItemHandle_++;  // its items are gone and counted already
    items_.emplace(nextItemHandle_, std::move(item));
    ++simulation().census.items;
    return nextItemHandle_++;
}

bool Group::removeItem(OPCHANDLE handle) {
    const ScopedLock lock(mutex_);
    if (items_.erase(handle) == 0) return false;
    --simulation().census.items;
    return true;
}

std::optional<GroupItem> Group::item(OPCHANDLE handle) const {
    const ScopedLock lock(mutex_);
    const auto found = items_.find(handle);
    return found == items_.end() ? std::nullopt : std::optional(found->second);
}

std::map<OPCHANDLE, GroupItem> Group::items() const {
    const ScopedLock lock(mutex_);
    return items_;
}

std::vector<GroupItem> Group::activeItems() const {
    const ScopedLock lock(mutex_);
    std::vector<GroupItem> active;
    for (const auto& [handle, item] : items_)
        if (item.active) active.push_back(item);
    return active;
}

Sample Group::read(const GroupItem& item, ReadSource source) const {
    const GroupSettings current = settings();
    return inRequestedType(take(item, source, current), item.requestedType, current.locale);
}

Sample Group::take(const GroupItem& item, ReadSource source, const GroupSettings& settings) const {
    const bool scanned = settings.active && item.active;
    switch (source.kind) {
        case ReadSource::Kind::device:
            return item.item->readDevice();
        case ReadSource::Kind::scan:
            return item.item->scan();
        case ReadSource::Kind::cache:
            return scanned ? recentScan(*item.item, settings.updateRate) : outOfService(item.item->scan());
        case ReadSource::Kind::age:
            break;
    }
    if (scanned) recentScan(*item.item, settings.updateRate);
    if (auto sample = item.item->cached(source.maximumAge)) return *std::move(sample);
    return item.item->readDevice();
}

}  // namespace Korvex::Simulation
