// How many objects of each kind are alive.
#pragma once

#include <atomic>

namespace Korvex::Simulation {

struct Census {
    using Counter = std::atomic<int>;

    Counter servers{0};  // those that an OPC client uses
    Counter groups{0};
    Counter items{0};  // of groups
    Counter sinks{0};
    Counter shutdownSinks{0};
    Counter references{0};  // that clients hold on server and group objects
};

}  // namespace Korvex::Simulation
