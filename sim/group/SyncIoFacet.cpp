#include "sim/group/SyncIoFacet.h"

#include "sim/plant/write_vqt.h"

namespace Korvex::Simulation {

HRESULT SyncIoFacet::Read(OPCDATASOURCE source, DWORD count, OPCHANDLE* handles, OPCITEMSTATE** values,
                          HRESULT** errors) {
    return serveGroup("IOPCSyncIO::Read", note("source", source, "count", count),
                      outputs(array(values, count), array(errors, count)), [&]() -> HRESULT {
                          if (source != OPC_DS_CACHE && source != OPC_DS_DEVICE) return E_INVALIDARG;
                          Results<OPCITEMSTATE> states(count);
                          const HRESULT result =
                              forEachItem(count, handles, errors, [&](DWORD i, const GroupItem& item) {
                                  Sample sample = group().read(item, ReadSource::of(source));
                                  states[i].hClient = item.clientHandle;
                                  states[i].ftTimeStamp = sample.time;
                                  states[i].wQuality = sample.quality;
                                  states[i].vDataValue = sample.value.detach();
                                  return sample.error;
                              });
                          if (succeeded(result)) states.give(values);
                          return result;
                      });
}

HRESULT SyncIoFacet::Write(DWORD count, OPCHANDLE* handles, VARIANT* values, HRESULT** errors) {
    return serveGroup("IOPCSyncIO::Write", note("count", count), outputs(array(errors, count)), [&]() -> HRESULT {
        if (!values) return E_INVALIDARG;
        const LCID locale = group().settings().locale;
        return forEachItem(count, handles, errors,
                           [&](DWORD i, const GroupItem& item) { return item.item->write(values[i], locale); });
    });
}

HRESULT SyncIoFacet::ReadMaxAge(DWORD count, OPCHANDLE* handles, DWORD* maximumAges, VARIANT** values, WORD** qualities,
                                FILETIME** times, HRESULT** errors) {
    return serveGroup("IOPCSyncIO2::ReadMaxAge", note("count", count, "maxage", maximumAges),
                      outputs(array(values, count), array(qualities, count), array(times, count), array(errors, count)),
                      [&]() -> HRESULT {
                          if (!maximumAges) return E_INVALIDARG;
                          Results<VARIANT> readValues(count);
                          Results<WORD> readQualities(count);
                          Results<FILETIME> readTimes(count);
                          const HRESULT result =
                              forEachItem(count, handles, errors, [&](DWORD i, const GroupItem& item) {
                                  Sample sample = group().read(item, ReadSource::upToAge(maximumAges[i]));
                                  readValues[i] = sample.value.detach();
                                  readQualities[i] = sample.quality;
                                  readTimes[i] = sample.time;
                                  return sample.error;
                              });
                          if (failed(result)) return result;
                          readValues.give(values);
                          readQualities.give(qualities);
                          readTimes.give(times);
                          return result;
                      });
}

HRESULT SyncIoFacet::WriteVQT(DWORD count, OPCHANDLE* handles, OPCITEMVQT* values, HRESULT** errors) {
    return serveGroup("IOPCSyncIO2::WriteVQT", note("count", count), outputs(array(errors, count)), [&]() -> HRESULT {
        if (!values) return E_INVALIDARG;
        const LCID locale = group().settings().locale;
        return forEachItem(count, handles, errors,
                           [&](DWORD i, const GroupItem& item) { return writeVqt(*item.item, values[i], locale); });
    });
}

}  // namespace Korvex::Simulation
