#include "sim/Simulation.h"
#include "sim/steering/serve.h"

namespace Korvex::Simulation {

ServedCall::ServedCall(const std::string& method, const std::string& arguments)
    : entry_(simulation().journal.begin(method + arguments)), verdict_(simulation().faults.admit(method)) {}

HRESULT ServedCall::finish(HRESULT result) const {
    simulation().journal.finish(entry_, result);
    return result;
}

}  // namespace Korvex::Simulation
