#include "tests/sim/Client.h"

#include <algorithm>

namespace Korvex::Simulation {
namespace {

std::vector<Told> items(DWORD count, const OPCHANDLE* clients, const VARIANT* values, const WORD* qualities,
                        const FILETIME* times, const HRESULT* errors) {
    std::vector<Told> told;
    for (DWORD i = 0; clients && i < count; ++i)
        told.push_back({clients[i], Value(values[i]), qualities[i], times[i], errors[i]});
    return told;
}

}  // namespace

HRESULT Sink::OnDataChange(DWORD transaction, OPCHANDLE group, HRESULT quality, HRESULT error, DWORD count,
                           OPCHANDLE* clients, VARIANT* values, WORD* qualities, FILETIME* times, HRESULT* errors) {
    return record("change", transaction, group, quality, error, items(count, clients, values, qualities, times, errors),
                  count);
}

HRESULT Sink::OnReadComplete(DWORD transaction, OPCHANDLE group, HRESULT quality, HRESULT error, DWORD count,
                             OPCHANDLE* clients, VARIANT* values, WORD* qualities, FILETIME* times, HRESULT* errors) {
    return record("read", transaction, group, quality, error, items(count, clients, values, qualities, times, errors),
                  count);
}

HRESULT Sink::OnWriteComplete(DWORD transaction, OPCHANDLE group, HRESULT error, DWORD count, OPCHANDLE* clients,
                              HRESULT* errors) {
    std::vector<Told> told;
    for (DWORD i = 0; clients && i < count; ++i) told.push_back({clients[i], Value(), 0, FILETIME{}, errors[i]});
    return record("write", transaction, group, S_OK, error, std::move(told), count);
}

HRESULT Sink::OnCancelComplete(DWORD transaction, OPCHANDLE group) {
    return record("cancel", transaction, group, S_OK, S_OK, {}, 0);
}

Sink::Event Sink::wait(const std::string& kind, std::size_t nth, std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, patience, [&] { return countLocked(kind) >= nth; })) return {};
    for (const Event& event : events_)
        if (event.kind == kind && --nth == 0) return event;
    return {};
}

std::size_t Sink::count(const std::string& kind) {
    const std::lock_guard lock(mutex_);
    return countLocked(kind);
}

HRESULT Sink::record(const char* kind, DWORD transaction, OPCHANDLE group, HRESULT quality, HRESULT error,
                     std::vector<Told> items, DWORD count) {
    onEvent();
    const std::lock_guard lock(mutex_);
    events_.push_back({kind, transaction, group, quality, error, count, std::move(items)});
    changed_.notify_all();
    return S_OK;
}

std::size_t Sink::countLocked(const std::string& kind) const {
    return static_cast<std::size_t>(
        std::count_if(events_.begin(), events_.end(), [&](const Event& event) { return event.kind == kind; }));
}

OPCHANDLE ClientGroup::add(const OpxString& id, VARTYPE type) const {
    OPCITEMRESULT result{};
    EXPECT_EQ(tryAdd(id, type, result), S_OK) << toUtf8(id);
    Com::TaskArray<HRESULT> errors(1);
    OPCHANDLE client = result.hServer + 5000;
    EXPECT_EQ(items->SetClientHandles(1, &result.hServer, &client, errors.put()), S_OK);
    return result.hServer;
}

HRESULT ClientGroup::tryAdd(const OpxString& id, VARTYPE type, OPCITEMRESULT& result) const {
    OpxString text = id;
    OPCITEMDEF definition{};
    definition.szItemID = text.data();
    definition.bActive = TRUE;
    definition.vtRequestedDataType = type;
    Com::TaskArray<OPCITEMRESULT> results(1);
    Com::TaskArray<HRESULT> errors(1);
    const HRESULT overall = items->AddItems(1, &definition, results.put(), errors.put());
    if (failed(overall)) return overall;
    EXPECT_EQ(overall, failed(errors[0]) ? S_FALSE : S_OK);
    result = results[0];
    CoTaskMemFree(result.pBlob);
    return errors[0];
}

std::vector<Told> ClientGroup::read(OPCDATASOURCE source, std::vector<OPCHANDLE> handles) const {
    const auto count = static_cast<DWORD>(handles.size());
    OPCITEMSTATE* states = nullptr;
    Com::TaskArray<HRESULT> errors(count);
    const HRESULT overall = as<IOPCSyncIO>()->Read(source, count, handles.data(), &states, errors.put());
    if (failed(overall)) return {count, Told{0, Value(), 0, FILETIME{}, overall}};
    std::vector<Told> told;
    for (DWORD i = 0; i < count; ++i) {
        told.push_back(
            {states[i].hClient, Value(states[i].vDataValue), states[i].wQuality, states[i].ftTimeStamp, errors[i]});
        VariantClear(&states[i].vDataValue);
    }
    CoTaskMemFree(states);
    return told;
}

HRESULT ClientGroup::write(OPCHANDLE handle, Value value) const {
    Com::TaskArray<HRESULT> errors(1);
    const HRESULT overall = as<IOPCSyncIO>()->Write(1, &handle, value.address(), errors.put());
    return failed(overall) ? overall : errors[0];
}

Com::ComPtr<Sink> ClientGroup::advise(const std::function<void()>& onEvent) const {
    Com::ComPtr<IConnectionPoint> point;
    EXPECT_EQ(as<IConnectionPointContainer>()->FindConnectionPoint(IID_IOPCDataCallback, point.put()), S_OK);
    auto sink = makeObject<Sink>();
    sink->onEvent = onEvent;
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(sink.get(), &cookie), S_OK);
    return sink;
}

SimulationTest::SimulationTest() {
    control_.reset();
    EXPECT_EQ(
        CoCreateInstance(CLSID_KorvexSimulation, nullptr, CLSCTX_INPROC_SERVER, IID_IOPCServer, server_.putVoid()),
        S_OK);
}

ClientGroup SimulationTest::addGroup(const OpxString& name, DWORD rate, bool active, float deadband,
                                     LCID locale) const {
    ClientGroup group;
    group.added = server_->AddGroup(name.c_str(), active ? TRUE : FALSE, rate, 77, nullptr, &deadband, locale,
                                    &group.serverHandle, &group.rate, IID_IOPCItemMgt, group.items.putUnknown());
    return group;
}

std::vector<OpxString> namesOf(IEnumString* enumerator) {
    std::vector<OpxString> names;
    LPOLESTR name = nullptr;
    while (enumerator->Next(1, &name, nullptr) == S_OK) {
        const Com::TaskString owner(name);
        names.emplace_back(name);
    }
    return names;
}

}  // namespace Korvex::Simulation
