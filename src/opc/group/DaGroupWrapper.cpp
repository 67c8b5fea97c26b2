#include "opc/group/DaGroupWrapper.h"

#include <algorithm>
#include <set>
#include <utility>

#include "opc/callbacks/DeliveredItem.h"
#include "trace/TraceScope.h"
#include "values/codeAt.h"

namespace OpxOpc {
namespace {

using Codes = std::vector<std::int32_t>;

constexpr std::int32_t kBadQuality = 0x00;

// `code` is what came of adding the item again. A server may accept an item in name only.
void noteRefusal(KeptItem& item, std::int32_t code) {
    if (item.isOnServer()) {
        item.refusal = S_OK;
        return;
    }
    if (code >= 0) code = E_FAIL;
    if (code != item.refusal) item.refusalTold = false;
    item.refusal = code;
}

std::vector<OpxItemValue> badValues(std::size_t count) {
    OpxItemValue bad;
    bad.quality = kBadQuality;
    return std::vector<OpxItemValue>(count, bad);
}

bool anyFailed(const Codes& codes) {
    return std::any_of(codes.begin(), codes.end(), [](std::int32_t code) { return code < 0; });
}

// Removes those of the items that the server has. `codes` gets one an item, 0 for the others. The answer
// is a failure, or S_FALSE when the server refused some.
HRESULT removeOnServer(DaGroupMgt& group, const std::vector<ItemStore::Item>& items, Codes& codes) {
    std::vector<OpxItemIdentifier> request;
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (!items[i] || !items[i]->isOnServer()) continue;
        request.push_back(items[i]->identifier);
        positions.push_back(i);
    }
    if (request.empty()) return S_OK;
    Codes answers;
    const HRESULT hr = group.removeItems(request, answers);
    for (std::size_t n = 0; n < positions.size(); ++n) codes[positions[n]] = codeAt(answers, n);
    return hr;
}

}  // namespace

DaGroupWrapper::DaGroupWrapper(bool createNow, bool keepItems, OpxString name, std::uint32_t updateRate, bool active,
                               std::uint32_t clientHandle, float percentDeadband)
    : name_(std::move(name)),
      clientHandle_(clientHandle),
      keepItems_(keepItems),
      settings_{{updateRate}, {active}, {percentDeadband}} {
    LibT::lCtor("Ctor DaGroupWrapper");
    if (!createNow) return;
    makeGroup();
    filled_ = true;
}

DaGroupWrapper::~DaGroupWrapper() {
    LibT::lCtor("--> Dtor DaGroupWrapper");
    group_.reset();
    LibT::lCtor("<-- Dtor DaGroupWrapper");
}

std::uint32_t DaGroupWrapper::clientHandle() const noexcept {
    return clientHandle_;
}

// ---- The group

HRESULT DaGroupWrapper::createGroup() {
    const TraceScope scope("DaGroupWrapper::createGroup");
    const Korvex::ScopedLock guard(lock_);
    if (group_) return scope.refuse("- group pointer still valid [hr=E_FAIL]", E_FAIL);
    makeGroup();
    return scope.leaveOk();
}

void DaGroupWrapper::makeGroup() {
    group_ = std::make_shared<DaGroupMgt>(name_, settings_.updateRate.value, settings_.active.value, clientHandle_,
                                          settings_.percentDeadband.value);
    filled_ = false;
    missedChange_ = false;
}

std::shared_ptr<DaGroupMgt> DaGroupWrapper::group() const {
    const Korvex::ScopedLock guard(lock_);
    return group_;
}

std::shared_ptr<DaGroupMgt> DaGroupWrapper::takeGroup() {
    const Korvex::ScopedLock guard(lock_);
    return std::exchange(group_, nullptr);
}

std::shared_ptr<DaGroupMgt> DaGroupWrapper::loseGroup() {
    const Korvex::ScopedLock guard(lock_);
    for (const ItemStore::Item& item : items_.namedItems()) item->refusalTold = false;
    return takeGroup();
}

bool DaGroupWrapper::isWhole() const {
    const Korvex::ScopedLock guard(lock_);
    return group_ && filled_ && !missedChange_;
}

std::shared_ptr<DaGroupMgt> DaGroupWrapper::groupFor(Reach reach) const {
    return reach == Reach::Server ? group() : nullptr;
}

// A change was kept. The group that it was made for may have been replaced during the call.
void DaGroupWrapper::noteChange(const std::shared_ptr<DaGroupMgt>& toldGroup) {
    if (group_ != toldGroup) missedChange_ = true;
}

// ---- Settings

std::uint64_t DaGroupWrapper::beginChange() {
    const Korvex::ScopedLock guard(lock_);
    return ++lastChange_;
}

template <typename Call, typename Keep>
HRESULT DaGroupWrapper::change(Reach reach, Call&& callGroup, Keep&& keep) {
    // A handler that the server calls meanwhile may make another change, which counts.
    const std::uint64_t number = beginChange();
    const auto group = groupFor(reach);
    const HRESULT hr = group ? callGroup(*group) : S_FALSE;
    if (failed(hr)) return hr;
    const Korvex::ScopedLock guard(lock_);
    keep(settings_, number);
    noteChange(group);
    return hr;
}

HRESULT DaGroupWrapper::setActive(bool active, Reach reach) {
    return change(
        reach, [&](DaGroupMgt& group) { return group.setActive(active); },
        [&](Settings& settings, std::uint64_t number) { settings.active.keep(active, number); });
}

HRESULT DaGroupWrapper::setDeadband(float percentDeadband, Reach reach) {
    return change(
        reach, [&](DaGroupMgt& group) { return group.setDeadband(percentDeadband); },
        [&](Settings& settings, std::uint64_t number) { settings.percentDeadband.keep(percentDeadband, number); });
}

HRESULT DaGroupWrapper::setUpdateRate(std::uint32_t updateRate, Reach reach) {
    return change(
        reach, [&](DaGroupMgt& group) { return group.setUpdateRate(updateRate); },
        [&](Settings& settings, std::uint64_t number) { settings.updateRate.keep(updateRate, number); });
}

HRESULT DaGroupWrapper::setState(bool active, float percentDeadband, std::uint32_t updateRate, Reach reach) {
    return change(
        reach, [&](DaGroupMgt& group) { return group.setState(active, percentDeadband, updateRate); },
        [&](Settings& settings, std::uint64_t number) {
            settings.updateRate.keep(updateRate, number);
            settings.active.keep(active, number);
            settings.percentDeadband.keep(percentDeadband, number);
        });
}

std::uint32_t DaGroupWrapper::updateRate(Reach reach) const {
    const Korvex::ScopedLock guard(lock_);
    const auto group = groupFor(reach);
    return group ? group->updateRate() : settings_.updateRate.value;
}

// ---- The callback

HRESULT DaGroupWrapper::connectCallback(std::shared_ptr<OpxDataCallback> callback, Reach reach) {
    std::shared_ptr<DaGroupMgt> group;
    {
        const Korvex::ScopedLock guard(lock_);
        callback_ = callback;
        group = groupFor(reach);
        noteChange(group);
    }
    return group ? group->connectCallback(std::move(callback)) : S_FALSE;
}

HRESULT DaGroupWrapper::disconnectCallback(Reach reach) {
    std::shared_ptr<DaGroupMgt> group;
    {
        const Korvex::ScopedLock guard(lock_);
        callback_.reset();
        group = groupFor(reach);
        noteChange(group);
    }
    return group ? group->disconnectCallback() : S_FALSE;
}

void DaGroupWrapper::end() noexcept {
    ended_ = true;
}

bool DaGroupWrapper::isEnded() const noexcept {
    return ended_;
}

void DaGroupWrapper::retire() {
    end();
    std::shared_ptr<DaGroupMgt> group;
    {
        const Korvex::ScopedLock guard(lock_);
        callback_.reset();
        group = group_;
    }
    if (!group) return;
    group->silence();
    group->disconnectCallback();
}

// ---- The items

HRESULT DaGroupWrapper::addItems(std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors,
                                 bool validateOnly, Reach reach) {
    const TraceScope scope("DaGroupWrapper::addItems");
    errors.clear();
    const auto group = groupFor(reach);
    if (validateOnly) return scope.leave(group ? group->addItems(items, errors, true) : S_OK);
    if (!group) {
        keep(items, errors, group);
        return scope.leave(S_OK);
    }
    // Where the server hands out no handle, that of an earlier use must not pass for one.
    Items added = items;
    for (OpxItemIdentifier& item : added) item.serverHandle = KeptItem::kNotOnServer;
    const HRESULT hr = group->addItems(added, errors, false);
    if (failed(hr)) return scope.leave(hr);
    keep(added, errors, group);
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (codeAt(errors, i) >= 0) items[i] = std::move(added[i]);
    }
    return scope.leave(hr);
}

void DaGroupWrapper::keep(Items& added, const Codes& errors, const std::shared_ptr<DaGroupMgt>& group) {
    const Korvex::ScopedLock guard(lock_);
    const bool onServer = group && group == group_;
    for (std::size_t i = 0; i < added.size(); ++i) {
        if (codeAt(errors, i) < 0) continue;
        if (!keepItems_) {
            if (group) unkeptItems_.push_back({added[i].serverHandle, added[i].clientHandle});
            continue;
        }
        OpxItemIdentifier kept = added[i];
        if (kept.dataType == Opx::VType::Unknown) kept.dataType = Opx::VType::Empty;
        if (!onServer) kept.serverHandle = KeptItem::kNotOnServer;
        added[i].serverHandle = items_.add(std::move(kept));
    }
    noteChange(group);
}

HRESULT DaGroupWrapper::removeItems(std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors,
                                    Reach reach) {
    const TraceScope scope("DaGroupWrapper::removeItems");
    errors.clear();
    return scope.leave(keepItems_ ? removeKept(items, errors, reach) : removeUnkept(items, errors, reach));
}

HRESULT DaGroupWrapper::removeKept(Items& items, Codes& errors, Reach reach) {
    Korvex::ScopedLock guard(lock_);
    const auto group = groupFor(reach);
    const auto found = findKept(items);
    guard.unlock();

    Codes codes(items.size());
    HRESULT hr = group ? removeOnServer(*group, found, codes) : S_OK;
    if (failed(hr)) return hr;

    guard.lock();
    for (std::size_t i = 0; i < items.size(); ++i) {
        // Named twice, or removed by another call meanwhile, it is as unknown as one never added.
        const bool removed = codes[i] >= 0 && found[i] && items_.remove(found[i]);
        if (!removed && codes[i] >= 0) codes[i] = OPC_E_INVALIDHANDLE;
    }
    noteChange(group);
    if (anyFailed(codes)) hr = S_FALSE;
    if (hr == S_FALSE) errors = std::move(codes);
    return hr;
}

// Null for an item that is not kept; the others get their local handles.
std::vector<ItemStore::Item> DaGroupWrapper::findKept(Items& items) const {
    std::vector<ItemStore::Item> found;
    for (OpxItemIdentifier& item : items) {
        found.push_back(items_.find(item));
        if (found.back()) item.serverHandle = found.back()->localHandle;
    }
    return found;
}

HRESULT DaGroupWrapper::removeUnkept(Items& items, Codes& errors, Reach reach) {
    const auto group = groupFor(reach);
    if (!group) return E_FAIL;
    std::vector<std::uint32_t> handles;
    for (const OpxItemIdentifier& item : items) handles.push_back(item.serverHandle);
    const HRESULT hr = group->removeItems(items, errors);
    if (failed(hr)) return hr;

    std::set<std::uint32_t> removed;
    for (std::size_t i = 0; i < handles.size(); ++i) {
        if (codeAt(errors, i) >= 0) removed.insert(handles[i]);
    }
    const Korvex::ScopedLock guard(lock_);
    std::erase_if(unkeptItems_, [&](const UnkeptItem& item) { return removed.count(item.serverHandle) != 0; });
    return hr;
}

// ---- Recovery

HRESULT DaGroupWrapper::recoverGroup() {
    const TraceScope scope("DaGroupWrapper::recoverGroup");
    try {
        return scope.leave(recover());
    } catch (...) {
        LibT::lError("Error: DaGroupWrapper::recoverGroup - unhandled exception **********");
        return scope.leave(E_FAIL);
    }
}

HRESULT DaGroupWrapper::recover() {
    Korvex::ScopedLock guard(lock_);
    const auto group = group_;
    const auto callback = callback_;
    guard.unlock();
    if (!group) return E_FAIL;
    if (callback) {
        if (const HRESULT hr = group->connectCallback(callback); failed(hr)) return hr;
    }

    // The items stay as they are until the server has all of them.
    guard.lock();
    const HRESULT hr = addKeptItems(*group);
    filled_ = succeeded(hr) && group_ == group;
    return hr;
}

HRESULT DaGroupWrapper::addKeptItems(DaGroupMgt& group) {
    const auto kept = items_.namedItems();
    Items request;
    for (const ItemStore::Item& item : kept) {
        // Before it is copied: the dead server's handle may be another item's on this one.
        item->identifier.serverHandle = KeptItem::kNotOnServer;
        request.push_back(item->identifier);
    }
    if (request.empty()) return S_OK;

    Codes errors;
    const HRESULT hr = group.addItems(request, errors, false);
    for (std::size_t i = 0; i < kept.size(); ++i) {
        const std::int32_t code = failed(hr) ? hr : codeAt(errors, i);
        if (code >= 0) kept[i]->identifier.serverHandle = request[i].serverHandle;
        noteRefusal(*kept[i], code);
    }
    return hr;
}

// ---- Reports

std::uint32_t DaGroupWrapper::collectHandles(std::vector<std::uint32_t>& clientHandles) const {
    if (ended_) return clientHandle_;
    const Korvex::ScopedLock guard(lock_);
    for (const ItemStore::Item& item : items_.namedItems()) clientHandles.push_back(item->identifier.clientHandle);
    for (const UnkeptItem& item : unkeptItems_) clientHandles.push_back(item.clientHandle);
    return clientHandle_;
}

std::uint32_t DaGroupWrapper::getQualityBadData(std::vector<std::uint32_t>& clientHandles,
                                                std::vector<OpxItemValue>& values,
                                                std::vector<std::int32_t>& errors) const {
    clientHandles.clear();
    const std::uint32_t group = collectHandles(clientHandles);
    values = badValues(clientHandles.size());
    errors.assign(clientHandles.size(), S_OK);
    return group;
}

std::uint32_t DaGroupWrapper::takeRefusedItems(std::vector<std::uint32_t>& clientHandles,
                                               std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) {
    clientHandles.clear();
    errors.clear();
    const Korvex::ScopedLock guard(lock_);
    for (const ItemStore::Item& item : items_.namedItems()) {
        if (item->isOnServer() || item->refusal >= 0 || std::exchange(item->refusalTold, true)) continue;
        clientHandles.push_back(item->identifier.clientHandle);
        errors.push_back(item->refusal);
    }
    values = badValues(clientHandles.size());
    return clientHandle_;
}

}  // namespace OpxOpc
