// The properties of items.
#pragma once

#include <vector>

#include "com/opc_interfaces.h"
#include "sim/plant/PlantItem.h"

namespace Korvex::Simulation {

struct ItemProperty {
    DWORD id;
    VARTYPE type;
    OpxStringView description;
};

// The properties that an item has, in the order of their numbers.
std::vector<ItemProperty> propertiesOf(const PlantItem& item);

// S_OK and the value; OPC_E_INVALID_PID; or the failure of the read that the value needs.
HRESULT propertyValue(PlantItem& item, DWORD id, Value& value);

// S_OK and the identifier of the item that is this property; OPC_E_INVALID_PID for a property that
// the item does not have, E_FAIL for one that is no item.
HRESULT propertyItemId(const PlantItem& item, DWORD id, OpxString& itemId);

OPCEUTYPE engineeringUnitType(const PlantItem& item);
// The states of an enumerated item, the range of an analog one, nothing for others.
Value engineeringUnitInfo(const PlantItem& item);

}  // namespace Korvex::Simulation
