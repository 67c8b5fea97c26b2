// An item as a group has it.
#pragma once

#include <memory>

#include "com/opc_interfaces.h"
#include "sim/plant/PlantItem.h"

namespace Korvex::Simulation {

struct GroupItem {
    std::shared_ptr<PlantItem> item;
    OpxString accessPath;
    bool active = true;
    OPCHANDLE clientHandle = 0;
    VARTYPE requestedType = VT_EMPTY;
};

}  // namespace Korvex::Simulation
