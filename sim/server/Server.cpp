#include "sim/server/Server.h"

#include <algorithm>
#include <string>
#include <utility>

#include "sim/FileTime.h"
#include "sim/Simulation.h"

namespace Korvex::Simulation {
namespace {

// Handles of different servers differ, so that a client that mixes them up is found out.
OPCHANDLE nextGroupHandle() {
    static std::atomic<OPCHANDLE> last{0};
    return ++last;
}

}  // namespace

Server::Server()
    : startTime_(now()), locale_(LOCALE_SYSTEM_DEFAULT), shutdownSinks_(simulation().census.shutdownSinks) {}

HRESULT Server::addGroup(GroupSettings settings, REFIID riid, Com::ComPtr<IUnknown>& object,
                         const std::function<void(Group&)>& prepare) {
    Com::ComPtr<GroupObject> made;
    const ScopedLock lock(mutex_);
    if (settings.name.empty()) settings.name = unusedName();
    if (isNameTaken(settings.name)) return OPC_E_DUPLICATENAME;
    made = makeObject<GroupObject>(std::make_shared<Group>(weak_from_this(), nextGroupHandle(), std::move(settings)));
    const HRESULT result = made->giveInterface(riid, object.putVoid());
    if (failed(result)) return result;
    prepare(made->group());
    groups_.push_back(made);
    return S_OK;
}

HRESULT Server::removeGroup(OPCHANDLE handle, bool force) {
    Com::ComPtr<GroupObject> removed;
    {
        const ScopedLock lock(mutex_);
        const auto found = std::find_if(groups_.begin(), groups_.end(),
                                        [&](const auto& each) { return each->group().handle() == handle; });
        if (found == groups_.end()) return OPC_E_INVALIDHANDLE;
        removed = std::move(*found);
        groups_.erase(found);
    }
    removed->group().remove();
    return removed.release() > 0 && !force ? OPC_S_INUSE : S_OK;
}

HRESULT Server::renameGroup(Group& group, const OpxString& name) {
    const ScopedLock lock(mutex_);
    if (isNameTaken(name)) return OPC_E_DUPLICATENAME;
    group.changeSettings([&](GroupSettings& settings) { settings.name = name; });
    return S_OK;
}

Com::ComPtr<GroupObject> Server::groupByName(OpxStringView name) const {
    const auto living = groups();
    const auto found = std::find_if(living.begin(), living.end(),
                                    [&](const auto& each) { return each->group().settings().name == name; });
    return found == living.end() ? nullptr : *found;
}

std::vector<Com::ComPtr<GroupObject>> Server::groups() const {
    const ScopedLock lock(mutex_);
    return groups_;
}

void Server::close() {
    std::vector<Com::ComPtr<GroupObject>> closed;
    {
        const ScopedLock lock(mutex_);
        closed.swap(groups_);
    }
    for (const auto& each : closed) each->group().remove();
    shutdownSinks_.clear();
}

FILETIME Server::lastUpdate() const noexcept {
    return fileTime(lastUpdate_);
}

void Server::noteUpdate() noexcept {
    lastUpdate_ = ticksOf(now());
}

void Server::requestShutdown(LPCWSTR reason) {
    for (const auto& [cookie, sink] : shutdownSinks_.snapshot()) sink->ShutdownRequest(reason);
}

bool Server::isNameTaken(OpxStringView name) const {
    return std::any_of(groups_.begin(), groups_.end(),
                       [&](const auto& each) { return each->group().settings().name == name; });
}

OpxString Server::unusedName() const {
    for (std::size_t number = groups_.size() + 1;; ++number) {
        OpxString name = OLESTR("Group") + fromUtf8(std::to_string(number));
        if (!isNameTaken(name)) return name;
    }
}

}  // namespace Korvex::Simulation
