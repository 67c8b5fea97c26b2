#include "sim/plant/Sample.h"

#include <utility>

namespace Korvex::Simulation {

Sample inRequestedType(Sample sample, VARTYPE type, LCID lcid) {
    if (failed(sample.error) || sample.asIs) return sample;
    Value converted;
    const HRESULT result = convert(sample.value, type, lcid, converted);
    if (failed(result)) return Sample::failure(result);
    sample.value = std::move(converted);
    return sample;
}

}  // namespace Korvex::Simulation
