#include "sim/group/AsyncIoFacet.h"

#include <functional>
#include <utility>

#include "sim/plant/write_vqt.h"

namespace Korvex::Simulation {
namespace {

using SourcedItem = std::pair<GroupItem, ReadSource>;
using ItemWrite = std::function<HRESULT()>;

Callback readAll(const Group& group, CallbackKind kind, const std::vector<SourcedItem>& items) {
    Callback callback{kind};
    for (const auto& [item, source] : items) callback.items.push_back({item.clientHandle, group.read(item, source)});
    return callback;
}

Callback writeAll(const std::vector<std::pair<OPCHANDLE, ItemWrite>>& writes) {
    Callback callback{CallbackKind::writeComplete};
    for (const auto& [clientHandle, write] : writes) {
        Sample outcome;
        outcome.quality = kQualityGood;
        outcome.error = write();
        callback.items.push_back({clientHandle, std::move(outcome)});
    }
    return callback;
}

}  // namespace

template <typename Outputs, typename Body>
HRESULT AsyncIoFacet::serveAsync(const char* method, const std::string& arguments, const Outputs& outputs,
                                 const Body& body) {
    return serveGroup(method, arguments, outputs,
                      [&]() -> HRESULT { return group().sinks().isEmpty() ? CONNECT_E_NOCONNECTION : body(); });
}

template <typename SourceOf>
HRESULT AsyncIoFacet::startRead(DWORD count, const OPCHANDLE* handles, DWORD transaction, DWORD* cancelId,
                                HRESULT** errors, const SourceOf& sourceOf) {
    std::vector<SourcedItem> items;
    const HRESULT result = forEachItem(count, handles, errors, [&](DWORD i, const GroupItem& item) -> HRESULT {
        if ((item.item->accessRights() & OPC_READABLE) == 0) return OPC_E_BADRIGHTS;
        items.emplace_back(item, sourceOf(i));
        return S_OK;
    });
    if (items.empty()) return result;
    *cancelId = group().transactions().start(transaction, [&group = group(), items = std::move(items)] {
        return readAll(group, CallbackKind::readComplete, items);
    });
    return result;
}

template <typename WorkOf>
HRESULT AsyncIoFacet::startWrite(DWORD count, const OPCHANDLE* handles, DWORD transaction, DWORD* cancelId,
                                 HRESULT** errors, const WorkOf& workOf) {
    std::vector<std::pair<OPCHANDLE, ItemWrite>> writes;
    const HRESULT result = forEachItem(count, handles, errors, [&](DWORD i, const GroupItem& item) -> HRESULT {
        if ((item.item->accessRights() & OPC_WRITEABLE) == 0) return OPC_E_BADRIGHTS;
        writes.emplace_back(item.clientHandle, workOf(i, item));
        return S_OK;
    });
    if (writes.empty()) return result;
    *cancelId = group().transactions().start(transaction, [writes = std::move(writes)] { return writeAll(writes); });
    return result;
}

HRESULT AsyncIoFacet::startRefresh(ReadSource source, DWORD transaction, DWORD* cancelId) {
    std::vector<SourcedItem> items;
    for (GroupItem& item : group().activeItems()) items.emplace_back(std::move(item), source);
    if (!group().settings().active || items.empty()) return E_FAIL;
    *cancelId = group().transactions().start(transaction, [&group = group(), items = std::move(items)] {
        return readAll(group, CallbackKind::dataChange, items);
    });
    return S_OK;
}

HRESULT AsyncIoFacet::Read(DWORD count, OPCHANDLE* handles, DWORD transaction, DWORD* cancelId, HRESULT** errors) {
    return serveAsync("IOPCAsyncIO2::Read", note("count", count, "transaction", transaction),
                      outputs(out(cancelId), array(errors, count)), [&] {
                          return startRead(count, handles, transaction, cancelId, errors,
                                           [](DWORD) { return ReadSource::device(); });
                      });
}

HRESULT AsyncIoFacet::Write(DWORD count, OPCHANDLE* handles, VARIANT* values, DWORD transaction, DWORD* cancelId,
                            HRESULT** errors) {
    return serveAsync(
        "IOPCAsyncIO2::Write", note("count", count, "transaction", transaction),
        outputs(out(cancelId), array(errors, count)), [&]() -> HRESULT {
            if (!values) return E_INVALIDARG;
            const LCID locale = group().settings().locale;
            return startWrite(count, handles, transaction, cancelId, errors, [&](DWORD i, const GroupItem& item) {
                return
                    [item = item.item, value = Value(values[i]), locale] { return item->write(value.get(), locale); };
            });
        });
}

HRESULT AsyncIoFacet::Refresh2(OPCDATASOURCE source, DWORD transaction, DWORD* cancelId) {
    return serveAsync("IOPCAsyncIO2::Refresh2", note("source", source, "transaction", transaction),
                      outputs(out(cancelId)), [&]() -> HRESULT {
                          if (source != OPC_DS_CACHE && source != OPC_DS_DEVICE) return E_INVALIDARG;
                          return startRefresh(ReadSource::of(source), transaction, cancelId);
                      });
}

HRESULT AsyncIoFacet::Cancel2(DWORD cancelId) {
    return serveGroup("IOPCAsyncIO2::Cancel2", note("cancel", cancelId), outputs(),
                      [&] { return group().transactions().cancel(cancelId); });
}

HRESULT AsyncIoFacet::SetEnable(BOOL enable) {
    return serveAsync("IOPCAsyncIO2::SetEnable", note("enable", enable), outputs(), [&]() -> HRESULT {
        group().changeSettings([&](GroupSettings& settings) { settings.callbacksEnabled = enable != FALSE; });
        return S_OK;
    });
}

HRESULT AsyncIoFacet::GetEnable(BOOL* enable) {
    return serveAsync("IOPCAsyncIO2::GetEnable", note(), outputs(out(enable)), [&]() -> HRESULT {
        *enable = group().settings().callbacksEnabled ? TRUE : FALSE;
        return S_OK;
    });
}

HRESULT AsyncIoFacet::ReadMaxAge(DWORD count, OPCHANDLE* handles, DWORD* maximumAges, DWORD transaction,
                                 DWORD* cancelId, HRESULT** errors) {
    return serveAsync("IOPCAsyncIO3::ReadMaxAge",
                      note("count", count, "maxage", maximumAges, "transaction", transaction),
                      outputs(out(cancelId), array(errors, count)), [&]() -> HRESULT {
                          if (!maximumAges) return E_INVALIDARG;
                          return startRead(count, handles, transaction, cancelId, errors,
                                           [&](DWORD i) { return ReadSource::upToAge(maximumAges[i]); });
                      });
}

HRESULT AsyncIoFacet::WriteVQT(DWORD count, OPCHANDLE* handles, OPCITEMVQT* values, DWORD transaction, DWORD* cancelId,
                               HRESULT** errors) {
    return serveAsync(
        "IOPCAsyncIO3::WriteVQT", note("count", count, "transaction", transaction),
        outputs(out(cancelId), array(errors, count)), [&]() -> HRESULT {
            if (!values) return E_INVALIDARG;
            const LCID locale = group().settings().locale;
            return startWrite(count, handles, transaction, cancelId, errors, [&](DWORD i, const GroupItem& item) {
                return [item = item.item, written = values[i], value = Value(values[i].vDataValue), locale]() mutable {
                    written.vDataValue = value.get();
                    return writeVqt(*item, written, locale);
                };
            });
        });
}

HRESULT AsyncIoFacet::RefreshMaxAge(DWORD maximumAge, DWORD transaction, DWORD* cancelId) {
    return serveAsync("IOPCAsyncIO3::RefreshMaxAge", note("maxage", maximumAge, "transaction", transaction),
                      outputs(out(cancelId)),
                      [&] { return startRefresh(ReadSource::upToAge(maximumAge), transaction, cancelId); });
}

}  // namespace Korvex::Simulation
