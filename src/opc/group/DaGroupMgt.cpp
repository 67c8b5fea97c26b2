#include "opc/group/DaGroupMgt.h"

#include <utility>

#include "opc/ServerArrays.h"
#include "opc/callbacks/DeliveredItem.h"
#include "opc/callbacks/KeptSinks.h"
#include "opc/callbacks/ValueText.h"
#include "opc/callbacks/disconnectSink.h"
#include "opc/group/DaGroupMgtPrivate.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::ComPtr;
using Korvex::Com::TaskArray;

namespace {

// The changes to a group's state that one call asks for; null leaves a state as it is.
struct StateChange {
    DWORD* updateRate = nullptr;
    BOOL* active = nullptr;
    FLOAT* percentDeadband = nullptr;
};

HRESULT changeState(const TraceScope& scope, DaGroupMgtPrivate& group, const StateChange& change) {
    if (!group.available) return scope.refuse("[hr=E_FAIL] - group is not available in server", E_FAIL);
    const auto stateMgt = group.interfaces.borrow<IOPCGroupStateMgt>();
    if (!stateMgt) return scope.refuse("[hr=E_NOINTERFACE] - IOPCGroupStateMgt is not available", E_NOINTERFACE);

    DWORD revisedRate = group.updateRate;
    const HRESULT hr = tracedCall("IOPCGroupStateMgt::SetState", [&] {
        return stateMgt->SetState(change.updateRate, &revisedRate, change.active, nullptr, change.percentDeadband,
                                  nullptr, nullptr);
    });
    if (failed(hr)) {
        LibT::lError("Error: IOPCGroupStateMgt::SetState FAILED [hr=0x%lx]", hr);
        return scope.leave(hr);
    }
    group.updateRate = revisedRate;
    return scope.leave(hr);
}

// S_OK, or why items cannot be added or removed.
HRESULT checkItems(const TraceScope& scope, const DaGroupMgtPrivate& group, const std::vector<OpxItemIdentifier>& items,
                   const BorrowedInterface<IOPCItemMgt>& itemMgt) {
    if (items.empty()) return scope.refuse("[E_INVALIDARG] - itemIdentifier array size = 0", E_INVALIDARG);
    if (!group.available) return scope.refuse("[E_FAIL] - Group not available", E_FAIL);
    if (!itemMgt) return scope.refuse("[E_NOINTERFACE] - IOPCItemMgt not available", E_NOINTERFACE);
    return S_OK;
}

// S_OK, or why a call with server handles cannot be made. `operation` names it in the exit line.
HRESULT checkLists(const char* operation, const TraceScope& scope, const DaGroupMgtPrivate& group,
                   std::size_t handleCount, std::size_t valueCount) {
    if (handleCount == 0) return scope.refuseAs(operation, "[E_INVALIDARG] - handle array size = 0", E_INVALIDARG);
    if (handleCount != valueCount) {
        return scope.refuseAs(operation, "[E_INVALIDARG] - handle array size different than value array size",
                              E_INVALIDARG);
    }
    if (!group.available) return scope.refuseAs(operation, "[E_FAIL] - Group not available", E_FAIL);
    return S_OK;
}

std::vector<OPCITEMDEF> defineItems(const std::vector<OpxItemIdentifier>& items, OLECHAR* noAccessPath) {
    LibT::lDetail("Add %d items", items.size());
    std::vector<OPCITEMDEF> definitions(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const OpxItemIdentifier& item = items[i];
        LibT::lDetail("  Item[%d] %ls DT=%d CH=%d", i, item.itemName, item.dataType, item.clientHandle);
        OPCITEMDEF& definition = definitions[i];
        definition.szAccessPath = noAccessPath;
        definition.szItemID = const_cast<LPWSTR>(item.itemName.c_str());
        definition.bActive = item.active ? TRUE : FALSE;
        definition.hClient = item.clientHandle;
        definition.vtRequestedDataType = requestedVarType(item.dataType);
    }
    return definitions;
}

void takeAddedItem(const OPCITEMRESULT& result, bool validateOnly, OpxItemIdentifier& item) {
    if (!validateOnly) item.serverHandle = result.hServer;
    item.accessRights = static_cast<std::int32_t>(result.dwAccessRights);
    const bool wantsCanonical = item.dataType == Opx::VType::Empty || item.dataType == Opx::VType::Unknown;
    if (wantsCanonical) item.dataType = OpxVariant::typeFromVarType(result.vtCanonicalDataType);
}

void takeAddedItems(const TaskArray<OPCITEMRESULT>& results, const ItemCodes& codes, bool validateOnly,
                    std::vector<OpxItemIdentifier>& items) {
    LibT::lDetail("Add %d items returned", items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const HRESULT code = results ? codeAt(codes, i) : E_FAIL;
        if (failed(code)) {
            LibT::lError("  Item[%d] error==0x%lx %ls - IOPCItemMgt::AddItems FAILED", i, code, items[i].itemName);
            continue;
        }
        LibT::lDetail("  Item[%d] SH=%d AR=%d VarinatDT=%d", i, results[i].hServer, results[i].dwAccessRights,
                      results[i].vtCanonicalDataType);
        takeAddedItem(results[i], validateOnly, items[i]);
    }
}

void traceWrite(const std::vector<std::uint32_t>& handles, const std::vector<OpxVariant>& values) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("Write %d items", handles.size());
    for (std::size_t i = 0; i < handles.size(); ++i) {
        LibT::lDetail("  Item[%d] %d DT=%d Value=%ls", i, handles[i], values[i].type(), valueText(values[i]));
    }
}

// Takes a sink back from a server that no longer answers.
HRESULT giveSinkUp(ComPtr<OpxOPCDataCallback>& sink) {
    try {
        const HRESULT hr = disconnectSink(sink.get());
        sink.release();
        return hr;
    } catch (...) {
        LibT::lError("Error: DaGroupMgt::disconnectCallback - Error at releasing callback object");
        return E_FAIL;
    }
}

}  // namespace

DaGroupMgt::DaGroupMgt(OpxString name, std::uint32_t updateRate, bool active, std::uint32_t clientHandle,
                       float percentDeadband)
    : d_(std::make_unique<DaGroupMgtPrivate>()) {
    LibT::lCtor("Ctor DaGroupMgt");
    d_->name = std::move(name);
    d_->updateRate = updateRate;
    d_->active = active;
    d_->clientHandle = clientHandle;
    d_->percentDeadband = percentDeadband;
}

DaGroupMgt::~DaGroupMgt() {
    LibT::lCtor("--> Dtor DaGroupMgt");
    clear();
    d_.reset();
    LibT::lCtor("<-- Dtor DaGroupMgt");
}

const OpxString& DaGroupMgt::name() const noexcept {
    return d_->name;
}
std::uint32_t DaGroupMgt::updateRate() const noexcept {
    return d_->updateRate;
}
bool DaGroupMgt::active() const noexcept {
    return d_->active;
}
float DaGroupMgt::percentDeadband() const noexcept {
    return d_->percentDeadband;
}
std::uint32_t DaGroupMgt::clientHandle() const noexcept {
    return d_->clientHandle;
}
std::uint32_t DaGroupMgt::serverHandle() const noexcept {
    return d_->serverHandle;
}

void DaGroupMgt::noteCreated(std::uint32_t serverHandle) {
    d_->serverHandle = serverHandle;
    d_->created = true;
}

bool DaGroupMgt::wasCreated() const noexcept {
    return d_->created;
}

HRESULT DaGroupMgt::initialize(IOPCItemMgt* itemMgt, std::uint32_t revisedUpdateRate, std::uint32_t serverHandle,
                               LCID localeId) {
    const TraceScope scope("DaGroupMgt::initialize");
    d_->updateRate = revisedUpdateRate;
    d_->serverHandle = serverHandle;
    d_->io.locale(localeId);
    return scope.leave(d_->SetIOPCItemMgt(itemMgt));
}

HRESULT DaGroupMgt::clear() {
    disconnectCallback();
    silence();  // where the server could not be asked to give the sink up
    const HRESULT hr = d_->ReleaseOPCGroupInterfaces();
    auto advice = d_->advice();
    advice.advised = false;
    d_->exchangeAdvice(std::move(advice));
    return hr;
}

void DaGroupMgt::silence() {
    if (const auto sink = d_->advice().sink) sink->detach();
}

HRESULT DaGroupMgt::setActive(bool active) {
    const TraceScope scope("DaGroupMgt::setActive");
    BOOL wanted = active ? TRUE : FALSE;
    const HRESULT hr = changeState(scope, *d_, {nullptr, &wanted, nullptr});
    if (succeeded(hr)) d_->active = active;
    return hr;
}

HRESULT DaGroupMgt::setDeadband(float percentDeadband) {
    const TraceScope scope("DaGroupMgt::setDeadband");
    FLOAT wanted = percentDeadband;
    const HRESULT hr = changeState(scope, *d_, {nullptr, nullptr, &wanted});
    if (succeeded(hr)) d_->percentDeadband = percentDeadband;
    return hr;
}

HRESULT DaGroupMgt::setUpdateRate(std::uint32_t updateRate) {
    const TraceScope scope("DaGroupMgt::setUpdateRate");
    DWORD wanted = updateRate;
    return changeState(scope, *d_, {&wanted, nullptr, nullptr});
}

HRESULT DaGroupMgt::setState(bool active, float percentDeadband, std::uint32_t updateRate) {
    const TraceScope scope("DaGroupMgt::setState");
    DWORD wantedRate = updateRate;
    BOOL wantedActive = active ? TRUE : FALSE;
    FLOAT wantedDeadband = percentDeadband;
    const HRESULT hr = changeState(scope, *d_, {&wantedRate, &wantedActive, &wantedDeadband});
    if (succeeded(hr)) {
        d_->active = active;
        d_->percentDeadband = percentDeadband;
    }
    return hr;
}

HRESULT DaGroupMgt::addItems(std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors,
                             bool validateOnly) {
    const TraceScope scope("DaGroupMgt::addItems");
    errors.clear();
    const auto itemMgt = d_->interfaces.borrow<IOPCItemMgt>();
    HRESULT hr = checkItems(scope, *d_, items, itemMgt);
    if (failed(hr)) return hr;

    const auto count = static_cast<DWORD>(items.size());
    OLECHAR noAccessPath[1] = {};
    auto definitions = defineItems(items, noAccessPath);
    TaskArray<OPCITEMRESULT> results(count);
    ItemCodes codes(count);
    if (validateOnly) {
        hr = tracedCall("IOPCItemMgt::ValidateItems", [&] {
            return itemMgt->ValidateItems(count, definitions.data(), FALSE, results.put(), codes.put());
        });
        if (failed(hr)) LibT::lError("Error: IOPCItemMgt::ValidateItems FAILED [hr=0x%lx]", hr);
    } else {
        hr = tracedCall("IOPCItemMgt::AddItems",
                        [&] { return itemMgt->AddItems(count, definitions.data(), results.put(), codes.put()); });
        if (failed(hr)) LibT::lError("Error: IOPCItemMgt::AddItems FAILED [hr=0x%lx]", hr);
    }
    if (failed(hr)) return scope.leave(hr);

    takeAddedItems(results, codes, validateOnly, items);
    if (!results) {
        errors.assign(count, E_FAIL);
        return scope.leave(S_FALSE);
    }
    copyCodes(hr, codes, count, errors);
    return scope.leave(hr);
}

HRESULT DaGroupMgt::findItems(const std::vector<OpxString>& names, std::vector<bool>& areItems) {
    const TraceScope scope("DaGroupMgt::findItems");
    areItems.assign(names.size(), false);
    if (!d_->available) return scope.refuse("[E_FAIL] - Group not available", E_FAIL);
    const auto itemMgt = d_->interfaces.borrow<IOPCItemMgt>();
    if (!itemMgt) return scope.refuse("[E_NOINTERFACE] - IOPCItemMgt not available", E_NOINTERFACE);

    const auto count = static_cast<DWORD>(names.size());
    OLECHAR noAccessPath[1] = {};
    std::vector<OPCITEMDEF> definitions(count);
    for (DWORD i = 0; i < count; ++i) {
        definitions[i].szAccessPath = noAccessPath;
        definitions[i].szItemID = const_cast<LPWSTR>(names[i].c_str());
    }
    TaskArray<OPCITEMRESULT> results(count);
    ItemCodes codes(count);
    const HRESULT hr = tracedCall("IOPCItemMgt::ValidateItems", [&] {
        return itemMgt->ValidateItems(count, definitions.data(), FALSE, results.put(), codes.put());
    });
    const bool isTold = results && (hr == S_OK || (hr == S_FALSE && codes));
    for (DWORD i = 0; isTold && i < count; ++i) areItems[i] = succeeded(codeAt(codes, i));
    return scope.leave(hr);
}

HRESULT DaGroupMgt::removeItems(std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors) {
    const TraceScope scope("DaGroupMgt::removeItems");
    errors.clear();
    const auto itemMgt = d_->interfaces.borrow<IOPCItemMgt>();
    HRESULT hr = checkItems(scope, *d_, items, itemMgt);
    if (failed(hr)) return hr;

    const auto count = static_cast<DWORD>(items.size());
    std::vector<OPCHANDLE> handles;
    for (const OpxItemIdentifier& item : items) handles.push_back(item.serverHandle);
    ItemCodes codes(count);
    hr = tracedCall("IOPCItemMgt::RemoveItems",
                    [&] { return itemMgt->RemoveItems(count, handles.data(), codes.put()); });
    if (failed(hr)) {
        LibT::lError("Error: IOPCItemMgt::RemoveItems FAILED [hr=0x%lx]", hr);
        return scope.leave(hr);
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        items[i].serverHandle = 0;
        if (succeeded(codeAt(codes, i))) continue;
        LibT::lError("  Item[%d] error==0x%lx - IOPCItemMgt::RemoveItems FAILED", i, codes[i]);
        hr = S_FALSE;
    }
    copyCodes(hr, codes, count, errors);
    return scope.leave(hr);
}

HRESULT DaGroupMgt::read(std::uint32_t maxAge, const std::vector<std::uint32_t>& handles,
                         const std::vector<Opx::VType>& types, std::vector<OpxItemValue>& values,
                         std::vector<std::int32_t>& errors) {
    const TraceScope scope("DaGroupMgt::read (handles)");
    values.clear();
    errors.clear();
    const HRESULT hr = checkLists("DaGroupMgt::read", scope, *d_, handles.size(), handles.size());
    if (failed(hr)) return hr;
    return scope.leaveAs("DaGroupMgt::read", d_->io.read(maxAge, handles, types, values, errors));
}

HRESULT DaGroupMgt::readAsync(std::uint32_t transactionId, std::uint32_t maxAge,
                              const std::vector<std::uint32_t>& handles, std::vector<std::int32_t>& errors) {
    const TraceScope scope("DaGroupMgt::readAsync (handles)");
    errors.clear();
    const HRESULT hr = checkLists("DaGroupMgt::readAsync", scope, *d_, handles.size(), handles.size());
    if (failed(hr)) return hr;
    return scope.leaveAs("DaGroupMgt::readAsync", d_->io.readAsync(transactionId, maxAge, handles, errors));
}

HRESULT DaGroupMgt::write(const std::vector<std::uint32_t>& handles, const std::vector<OpxVariant>& values,
                          const std::vector<Opx::VType>& types, std::vector<std::int32_t>& errors) {
    const TraceScope scope("DaGroupMgt::write (handles)");
    errors.clear();
    const HRESULT hr = checkLists("DaGroupMgt::write", scope, *d_, handles.size(), values.size());
    if (failed(hr)) return hr;
    traceWrite(handles, values);
    return scope.leaveAs("DaGroupMgt::write", d_->io.write(handles, values, types, errors));
}

HRESULT DaGroupMgt::writeAsync(std::uint32_t transactionId, const std::vector<std::uint32_t>& handles,
                               const std::vector<OpxVariant>& values, const std::vector<Opx::VType>& types,
                               std::vector<std::int32_t>& errors) {
    const TraceScope scope("DaGroupMgt::writeAsync (handles)");
    errors.clear();
    const HRESULT hr = checkLists("DaGroupMgt::writeAsync", scope, *d_, handles.size(), values.size());
    if (failed(hr)) return hr;
    traceWrite(handles, values);
    return scope.leaveAs("DaGroupMgt::writeAsync", d_->io.writeAsync(transactionId, handles, values, types, errors));
}

HRESULT DaGroupMgt::connectCallback(std::shared_ptr<OpxDataCallback> callback) {
    const TraceScope scope("DaGroupMgt::connectCallback");
    if (d_->advice().advised) return E_FAIL;
    const auto point = d_->interfaces.borrowDataPoint();
    if (!point) return scope.refuse("[hr=E_NOINTERFACE] - IConnectionPoint not valid", E_NOINTERFACE);

    DaGroupMgtPrivate::Advice advice;
    advice.sink = ComPtr<OpxOPCDataCallback>(new OpxOPCDataCallback(std::move(callback), d_->io.locale()));
    const HRESULT hr =
        tracedCall("IConnectionPoint::Advise", [&] { return point->Advise(advice.sink.get(), &advice.cookie); });
    advice.advised = succeeded(hr);
    if (failed(hr)) {
        LibT::lError("Error: Group IConnectionPoint::Advise FAILED [hr=0x%lx]", hr);
        keepForever(advice.sink.get());
    }
    d_->exchangeAdvice(std::move(advice));
    return scope.leave(hr);
}

HRESULT DaGroupMgt::disconnectCallback() {
    if (!d_->advice().advised) return E_FAIL;
    const TraceScope scope("DaGroupMgt::disconnectCallback");
    const auto point = d_->interfaces.borrowDataPoint();
    if (!point) return scope.refuse("[hr=E_NOINTERFACE] - IConnectionPoint not valid", E_NOINTERFACE);

    auto advice = d_->exchangeAdvice({});
    if (!advice.advised) return scope.leave(E_FAIL);
    advice.sink->detach();
    HRESULT hr = tracedCall("IConnectionPoint::Unadvise", [&] { return point->Unadvise(advice.cookie); });
    if (failed(hr)) hr = giveSinkUp(advice.sink);
    return scope.leave(hr);
}

std::uint32_t DaGroupMgt::registerTransaction(std::shared_ptr<ComAsyncTransaction> transaction) {
    const auto advice = d_->advice();
    return advice.advised ? advice.sink->registerTransaction(std::move(transaction)) : 0;
}

void DaGroupMgt::removeTransaction(std::uint32_t key) {
    if (const auto advice = d_->advice(); advice.advised) advice.sink->removeTransaction(key);
}

}  // namespace OpxOpc
