// The result of reading an item.
#pragma once

#include "sim/OpcCodes.h"
#include "sim/plant/Value.h"

namespace Korvex::Simulation {

struct Sample {
    Value value;
    WORD quality = kQualityBad;
    FILETIME time{};
    HRESULT error = S_OK;
    bool asIs = false;  // to be delivered without conversion, whatever type was asked for

    static Sample failure(HRESULT error) {
        Sample sample;
        sample.error = error;
        return sample;
    }
};

// The sample with its value in the type asked for; a failed conversion is the sample's error.
Sample inRequestedType(Sample sample, VARTYPE type, LCID lcid);

}  // namespace Korvex::Simulation
