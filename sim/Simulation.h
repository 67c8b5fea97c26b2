// The simulation of this process: one plant with its faults and its journal, which all server
// objects serve.
#pragma once

#include <memory>
#include <vector>

#include "com/Mutex.h"
#include "sim/plant/Plant.h"
#include "sim/steering/Census.h"
#include "sim/steering/CompletionFaults.h"
#include "sim/steering/FaultSwitches.h"
#include "sim/steering/Journal.h"
#include "sim/steering/Options.h"

namespace Korvex::Simulation {

class Server;

struct Simulation {
    Plant plant;
    FaultSwitches faults;
    CompletionFaults completions;
    CurrentOptions options;
    Journal journal;
    Census census;

    void addServer(const std::shared_ptr<Server>& server);
    std::vector<std::shared_ptr<Server>> servers() const;

    // As it was when the process began, but for the objects that clients hold.
    void reset();

private:
    mutable Mutex mutex_;
    std::vector<std::weak_ptr<Server>> servers_ GUARDED_BY(mutex_);
};

// Lives as long as the process, because threads of groups may outlive every object.
Simulation& simulation();

}  // namespace Korvex::Simulation
