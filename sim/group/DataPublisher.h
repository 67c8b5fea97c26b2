// Tells a group's clients what has changed, at the group's rate.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <optional>

#include "com/Mutex.h"
#include "sim/TaskThread.h"
#include "sim/group/callbacks.h"

namespace Korvex::Simulation {

struct GroupSettings;

class DataPublisher {
public:
    explicit DataPublisher(Group& group) noexcept : group_(group) {}

    // The group or its items have changed: looks at once, and from then on at the group's rate.
    void wake();
    // A client that knows nothing yet has come: tells everything again.
    void restart();
    // `activate` makes the group active, of which the clients know nothing yet: tells everything once, itself before
    // it returns if `here`.
    void start(const std::function<void()>& activate, bool here);
    // Carries out something else on the publishing thread.
    void post(TaskThread::Task task) { thread_.post(std::move(task)); }
    void stop() { thread_.stop(); }

private:
    void schedule(TaskThread::Clock::time_point time, unsigned generation);
    void cycle(unsigned generation);
    std::optional<Callback> due(const GroupSettings& settings) REQUIRES(telling_);
    std::vector<Delivery> changes(float deadband) REQUIRES(telling_);
    bool isKeepAliveDue(const GroupSettings& settings) const REQUIRES(telling_);

    Group& group_;
    std::atomic<unsigned> generation_{0};  // of the schedule; an older one ends by itself
    std::atomic<bool> tellAll_{false};
    Mutex telling_;  // what there is to tell is looked for; never held while clients are told
    std::map<OPCHANDLE, Sample> told_ GUARDED_BY(telling_);
    TaskThread::Clock::time_point lastCallback_ GUARDED_BY(telling_) = TaskThread::Clock::now();
    TaskThread thread_;
};

}  // namespace Korvex::Simulation
