// A group: its settings, its items, and what happens to them in the background.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "com/Mutex.h"
#include "sim/com/SinkTable.h"
#include "sim/group/DataPublisher.h"
#include "sim/group/GroupItem.h"
#include "sim/group/GroupSettings.h"
#include "sim/group/Transactions.h"

namespace Korvex::Simulation {

class Server;

// Where a read takes its values from: the last scan at the group's rate, a scan now, the device, or
// the cache while it is young enough.
struct ReadSource {
    enum class Kind { cache, scan, device, age };
    Kind kind;
    DWORD maximumAge = 0;  // milliseconds, for Kind::age

    static ReadSource cache() { return {Kind::cache}; }
    static ReadSource scan() { return {Kind::scan}; }
    static ReadSource device() { return {Kind::device}; }
    static ReadSource upToAge(DWORD milliseconds) { return {Kind::age, milliseconds}; }
    static ReadSource of(OPCDATASOURCE source) { return source == OPC_DS_CACHE ? cache() : device(); }
};

// Safe for all threads. It outlives its COM object while a thread works for it.
class Group : public std::enable_shared_from_this<Group> {
public:
    Group(std::weak_ptr<Server> server, OPCHANDLE handle, GroupSettings settings);
    ~Group();

    OPCHANDLE handle() const noexcept { return handle_; }
    std::shared_ptr<Server> server() const { return server_.lock(); }
    GroupSettings settings() const;
    template <typename Change>
    void changeSettings(const Change& change) {
        {
            const ScopedLock lock(mutex_);
            change(settings_);
        }
        publisher_.wake();
    }

    // Ends updates and callbacks; methods of a removed group fail.
    void remove();
    bool isRemoved() const noexcept { return removed_; }

    // Held while items are added that a data change shall bring together.
    Mutex& addingItems() RETURN_CAPABILITY(addingItems_) { return addingItems_; }
    OPCHANDLE addItem(GroupItem item);
    bool removeItem(OPCHANDLE handle);
    std::optional<GroupItem> item(OPCHANDLE handle) const;
    std::map<OPCHANDLE, GroupItem> items() const;
    std::vector<GroupItem> activeItems() const;
    // OPC_E_INVALIDHANDLE, or what `change` answers.
    template <typename Change>
    HRESULT changeItem(OPCHANDLE handle, const Change& change) {
        HRESULT result = OPC_E_INVALIDHANDLE;
        {
            const ScopedLock lock(mutex_);
            const auto found = items_.find(handle);
            if (found != items_.end()) result = change(found->second);
        }
        publisher_.wake();
        return result;
    }

    // The item's sample in the type that the client asked for.
    Sample read(const GroupItem& item, ReadSource source) const;

    SinkTable<IOPCDataCallback>& sinks() noexcept { return sinks_; }
    DataPublisher& publisher() noexcept { return publisher_; }
    Transactions& transactions() noexcept { return transactions_; }

private:
    Sample take(const GroupItem& item, ReadSource source, const GroupSettings& settings) const;

    const std::weak_ptr<Server> server_;
    const OPCHANDLE handle_;

    Mutex addingItems_;
    mutable Mutex mutex_;
    GroupSettings settings_ GUARDED_BY(mutex_);
    std::map<OPCHANDLE, GroupItem> items_ GUARDED_BY(mutex_);
    OPCHANDLE nextItemHandle_ GUARDED_BY(mutex_);
    std::atomic<bool> removed_{false};

    SinkTable<IOPCDataCallback> sinks_;
    DataPublisher publisher_;
    Transactions transactions_;
};

}  // namespace Korvex::Simulation
