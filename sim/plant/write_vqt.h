// Writing a value together with what the client says about it.
#pragma once

#include "com/opc_interfaces.h"
#include "sim/plant/PlantItem.h"

namespace Korvex::Simulation {

inline HRESULT writeVqt(PlantItem& item, const OPCITEMVQT& written, LCID locale) {
    return item.write(written.vDataValue, locale,
                      written.bQualitySpecified ? std::optional<WORD>(written.wQuality) : std::nullopt,
                      written.bTimeStampSpecified ? std::optional<FILETIME>(written.ftTimeStamp) : std::nullopt);
}

}  // namespace Korvex::Simulation
