#include "sim/group/DataPublisher.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "sim/group/Group.h"

namespace Korvex::Simulation {
namespace {

using std::chrono::milliseconds;

// Whether an analog value has left the band around the one that the client knows.
bool isWithinDeadband(const Sample& before, const Sample& after, const AnalogRange& range, float percent) {
    double old = 0;
    double recent = 0;
    if (!toDouble(before.value, old) || !toDouble(after.value, recent)) return false;
    return std::abs(recent - old) <= static_cast<double>(percent) / 100 * (range.high - range.low);
}

bool hasChanged(const Sample& before, const Sample& after, const PlantItem& item, float deadband) {
    if (before.error != after.error || before.quality != after.quality) return true;
    if (before.value == after.value) return false;
    const auto& range = item.definition().analog;
    return !range || deadband <= 0 || !isWithinDeadband(before, after, *range, deadband);
}

}  // namespace

void DataPublisher::wake() {
    schedule(TaskThread::Clock::now(), ++generation_);
}

void DataPublisher::restart() {
    tellAll_ = true;
    wake();
}

void DataPublisher::start(const std::function<void()>& activate, bool here) {
    ScopedLock telling(telling_);
    tellAll_ = true;
    activate();
    if (!here) return;
    const auto first = due(group_.settings());
    telling.unlock();
    if (first) callSinks(group_, *first);
}

void DataPublisher::schedule(TaskThread::Clock::time_point time, unsigned generation) {
    if (group_.sinks().isEmpty()) return;
    thread_.postAt(time, [weak = group_.weak_from_this(), generation] {
        if (const auto group = weak.lock()) group->publisher().cycle(generation);
    });
}

void DataPublisher::cycle(unsigned generation) {
    if (generation != generation_ || group_.isRemoved()) return;
    ScopedLock telling(telling_);
    const GroupSettings settings = group_.settings();
    if (!settings.active) {
        told_.clear();
        return;
    }
    const auto begun = TaskThread::Clock::now();
    const auto callback = due(settings);
    telling.unlock();
    if (callback) callSinks(group_, *callback);
    const DWORD pause =
        settings.keepAlive == 0 ? settings.updateRate : std::min(settings.updateRate, settings.keepAlive);
    schedule(begun + milliseconds(pause), generation);
}

// Returns the notification that is due now, if there is one.
std::optional<Callback> DataPublisher::due(const GroupSettings& settings) {
    if (tellAll_.exchange(false)) told_.clear();
    if (!settings.callbacksEnabled) return std::nullopt;
    std::vector<Delivery> items = changes(settings.deadband);
    if (items.empty() && !isKeepAliveDue(settings)) return std::nullopt;
    lastCallback_ = TaskThread::Clock::now();
    return Callback{CallbackKind::dataChange, 0, std::move(items)};
}

std::vector<Delivery> DataPublisher::changes(float deadband) {
    std::vector<Delivery> changed;
    std::map<OPCHANDLE, Sample> told;
    const auto items = [this] {
        const ScopedLock adding(group_.addingItems());
        return group_.items();
    }();
    for (const auto& [handle, item] : items) {
        if (!item.active) continue;
        Sample sample = group_.read(item, ReadSource::scan());
        auto known = told_.find(handle);
        if (known != told_.end() && !hasChanged(known->second, sample, *item.item, deadband)) {
            told.insert(told_.extract(known));
            continue;
        }
        changed.push_back({item.clientHandle, sample});
        told.emplace(handle, std::move(sample));
    }
    told_ = std::move(told);
    return changed;
}

bool DataPublisher::isKeepAliveDue(const GroupSettings& settings) const {
    return settings.keepAlive > 0 && TaskThread::Clock::now() - lastCallback_ >= milliseconds(settings.keepAlive);
}

}  // namespace Korvex::Simulation
