#include "sim/Simulation.h"

#include <algorithm>

namespace Korvex::Simulation {

void Simulation::addServer(const std::shared_ptr<Server>& server) {
    const ScopedLock lock(mutex_);
    std::erase_if(servers_, [](const auto& each) { return each.expired(); });
    servers_.push_back(server);
}

std::vector<std::shared_ptr<Server>> Simulation::servers() const {
    const ScopedLock lock(mutex_);
    std::vector<std::shared_ptr<Server>> living;
    for (const auto& each : servers_)
        if (auto server = each.lock()) living.push_back(std::move(server));
    return living;
}

void Simulation::reset() {
    faults.reset();
    completions.reset();
    options.reset();
    plant.reset();
    journal.clear();
}

Simulation& simulation() {
    static Simulation& instance = *new Simulation();
    return instance;
}

}  // namespace Korvex::Simulation
