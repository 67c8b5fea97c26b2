// One client's view of the simulation: its groups and its locale.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "com/Mutex.h"
#include "sim/com/SinkTable.h"
#include "sim/group/GroupObject.h"
#include "sim/group/GroupSettings.h"

namespace Korvex::Simulation {

// Safe for all threads.
class Server : public std::enable_shared_from_this<Server> {
public:
    Server();

    // Makes a group and hands out one of its interfaces; an empty name becomes a unique one.
    // `prepare` is called with the group before anybody else sees it.
    HRESULT addGroup(GroupSettings settings, REFIID riid, Com::ComPtr<IUnknown>& object,
                     const std::function<void(Group&)>& prepare);
    // OPC_S_INUSE when clients still hold the group, unless they are to be ignored.
    HRESULT removeGroup(OPCHANDLE handle, bool force);
    HRESULT renameGroup(Group& group, const OpxString& name);
    Com::ComPtr<GroupObject> groupByName(OpxStringView name) const;
    std::vector<Com::ComPtr<GroupObject>> groups() const;

    // Removes all groups and forgets the sinks: the server's object is gone.
    void close();

    LCID locale() const noexcept { return locale_; }
    void setLocale(LCID locale) noexcept { locale_ = locale; }

    FILETIME startTime() const noexcept { return startTime_; }
    FILETIME lastUpdate() const noexcept;
    // A callback is being made.
    void noteUpdate() noexcept;

    SinkTable<IOPCShutdown>& shutdownSinks() noexcept { return shutdownSinks_; }
    // Asks the clients to leave; the reason may be null.
    void requestShutdown(LPCWSTR reason);

private:
    bool isNameTaken(OpxStringView name) const REQUIRES(mutex_);
    OpxString unusedName() const REQUIRES(mutex_);

    const FILETIME startTime_;
    std::atomic<std::uint64_t> lastUpdate_{0};
    std::atomic<LCID> locale_;
    SinkTable<IOPCShutdown> shutdownSinks_;

    mutable Mutex mutex_;
    std::vector<Com::ComPtr<GroupObject>> groups_ GUARDED_BY(mutex_);
};

}  // namespace Korvex::Simulation
