#include "sim/server/ItemIoFacet.h"

#include "sim/Simulation.h"
#include "sim/plant/write_vqt.h"

namespace Korvex::Simulation {
namespace {

Sample readItem(LPCWSTR id, DWORD maximumAge) {
    std::shared_ptr<PlantItem> item;
    const HRESULT found = simulation().plant.find(viewOf(id), item);
    if (failed(found)) return Sample::failure(found);
    if (auto sample = item->cached(maximumAge)) return *std::move(sample);
    return item->readDevice();
}

HRESULT writeItem(LPCWSTR id, const OPCITEMVQT& value, LCID locale) {
    std::shared_ptr<PlantItem> item;
    const HRESULT found = simulation().plant.find(viewOf(id), item);
    return failed(found) ? found : writeVqt(*item, value, locale);
}

}  // namespace

HRESULT ItemIoFacet::Read(DWORD count, LPCWSTR* itemIds, DWORD* maximumAges, VARIANT** values, WORD** qualities,
                          FILETIME** times, HRESULT** errors) {
    return serve("IOPCItemIO::Read", note("count", count),
                 outputs(array(values, count), array(qualities, count), array(times, count), array(errors, count)),
                 [&]() -> HRESULT {
                     if (count == 0 || !itemIds || !maximumAges) return E_INVALIDARG;
                     Results<VARIANT> readValues(count);
                     Results<WORD> readQualities(count);
                     Results<FILETIME> readTimes(count);
                     Results<HRESULT> codes(count);
                     for (DWORD i = 0; i < count; ++i) {
                         Sample sample = readItem(itemIds[i], maximumAges[i]);
                         readValues[i] = sample.value.detach();
                         readQualities[i] = sample.quality;
                         readTimes[i] = sample.time;
                         codes[i] = sample.error;
                     }
                     const HRESULT overall = overallResult(codes);
                     readValues.give(values);
                     readQualities.give(qualities);
                     readTimes.give(times);
                     codes.give(errors);
                     return overall;
                 });
}

HRESULT ItemIoFacet::WriteVQT(DWORD count, LPCWSTR* itemIds, OPCITEMVQT* values, HRESULT** errors) {
    return serve("IOPCItemIO::WriteVQT", note("count", count), outputs(array(errors, count)), [&]() -> HRESULT {
        if (count == 0 || !itemIds || !values) return E_INVALIDARG;
        Results<HRESULT> codes(count);
        for (DWORD i = 0; i < count; ++i) codes[i] = writeItem(itemIds[i], values[i], server().locale());
        const HRESULT overall = overallResult(codes);
        codes.give(errors);
        return overall;
    });
}

}  // namespace Korvex::Simulation
