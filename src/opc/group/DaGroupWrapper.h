// A subscription's group, as it outlives the server that it is on.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemValue.h>

#include "com/Mutex.h"
#include "com/com.h"
#include "opc/group/DaGroupMgt.h"
#include "opc/group/ItemStore.h"

namespace OpxOpc {

// Keeps what was asked of a group: its settings, its callback and, if wanted, its items. While the group
// exists on a server, operations go there and are kept when they succeed; otherwise they are kept alone
// and the answer is S_FALSE. A new server gets all of it by createGroup, DaServerMgt::addGroup and
// recoverGroup.
//
// Any thread may call. No lock is held while the server is called, but by recoverGroup. What a call has
// to do with the group stays safe when the group is taken away meanwhile.
class DaGroupWrapper {
public:
    // Whether an operation may go to the server. A call that began while the connection was lost must not:
    // the group of the dead server may still be here.
    enum class Reach { Server, KeptStateOnly };

    // With `createNow` the group is made, for DaServerMgt::addGroup. `keepItems` is set where the group
    // will be recovered.
    DaGroupWrapper(bool createNow, bool keepItems, OpxString name, std::uint32_t updateRate, bool active,
                   std::uint32_t clientHandle, float percentDeadband);
    ~DaGroupWrapper();
    DaGroupWrapper(const DaGroupWrapper&) = delete;
    DaGroupWrapper& operator=(const DaGroupWrapper&) = delete;

    std::uint32_t clientHandle() const noexcept;

    // Makes the group from the kept settings, asking for the rate that was asked for at first. E_FAIL if
    // there is one.
    HRESULT createGroup();

    // Null while there is none.
    std::shared_ptr<DaGroupMgt> group() const;
    // The same, and the wrapper is without a group.
    std::shared_ptr<DaGroupMgt> takeGroup();
    // The same when the server is lost.
    std::shared_ptr<DaGroupMgt> loseGroup();
    // False when there is no group, or a change came too late for it because it was replaced meanwhile:
    // the group has to be made again.
    bool isWhole() const;

    HRESULT setActive(bool active, Reach reach);
    HRESULT setDeadband(float percentDeadband, Reach reach);
    HRESULT setUpdateRate(std::uint32_t updateRate, Reach reach);
    HRESULT setState(bool active, float percentDeadband, std::uint32_t updateRate, Reach reach);
    // The group's revised rate, or the kept one.
    std::uint32_t updateRate(Reach reach) const;

    HRESULT connectCallback(std::shared_ptr<OpxDataCallback> callback, Reach reach);
    HRESULT disconnectCallback(Reach reach);

    // Adds items; those that are kept get a local handle, by which removeItems finds them again.
    HRESULT addItems(std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors, bool validateOnly,
                     Reach reach);
    HRESULT removeItems(std::vector<OpxItemIdentifier>& items, std::vector<std::int32_t>& errors, Reach reach);

    // Connects the kept callback to the new group and adds the kept items to it.
    HRESULT recoverGroup();

    // Appends the client handles of the items and returns the group's.
    std::uint32_t collectHandles(std::vector<std::uint32_t>& clientHandles) const;

    // Fills the lists with one empty value of bad quality and the code 0 an item, which tells the client that the
    // items have no good value any more. Returns the group's client handle.
    std::uint32_t getQualityBadData(std::vector<std::uint32_t>& clientHandles, std::vector<OpxItemValue>& values,
                                    std::vector<std::int32_t>& errors) const;

    // The items that a recovery did not get onto the server, in the same form with the codes; each once a
    // recovery and code.
    std::uint32_t takeRefusedItems(std::vector<std::uint32_t>& clientHandles, std::vector<OpxItemValue>& values,
                                   std::vector<std::int32_t>& errors);

    // The subscription ends, or has ended: its loss is not reported any more, and it is not made again.
    void end() noexcept;
    bool isEnded() const noexcept;
    // The server failed to end it: nothing is delivered for it any more all the same.
    void retire();

private:
    using Items = std::vector<OpxItemIdentifier>;
    using Codes = std::vector<std::int32_t>;

    // The value that was asked for last; a change that began before the one that is kept comes too late.
    template <typename T>
    struct Setting {
        T value;
        std::uint64_t keptChange = 0;

        void keep(T wanted, std::uint64_t change) {
            if (change < keptChange) return;
            value = wanted;
            keptChange = change;
        }
    };
    struct Settings {
        Setting<std::uint32_t> updateRate;
        Setting<bool> active;
        Setting<float> percentDeadband;
    };
    // An item that is not recovered, but whose loss is reported.
    struct UnkeptItem {
        std::uint32_t serverHandle;
        std::uint32_t clientHandle;
    };

    void makeGroup() REQUIRES(lock_);
    std::shared_ptr<DaGroupMgt> groupFor(Reach reach) const;
    std::uint64_t beginChange();
    void noteChange(const std::shared_ptr<DaGroupMgt>& toldGroup) REQUIRES(lock_);
    template <typename Call, typename Keep>
    HRESULT change(Reach reach, Call&& callGroup, Keep&& keep);

    void keep(Items& added, const Codes& errors, const std::shared_ptr<DaGroupMgt>& group);
    HRESULT removeKept(Items& items, Codes& errors, Reach reach);
    std::vector<ItemStore::Item> findKept(Items& items) const REQUIRES(lock_);
    HRESULT removeUnkept(Items& items, Codes& errors, Reach reach);
    HRESULT recover();
    HRESULT addKeptItems(DaGroupMgt& group) REQUIRES(lock_);

    const OpxString name_;
    const std::uint32_t clientHandle_;
    const bool keepItems_;
    std::atomic<bool> ended_ = false;

    // Recursive: a server that calls back while the items are added again may lead here once more.
    mutable Korvex::RecursiveMutex lock_;
    Settings settings_ GUARDED_BY(lock_);
    std::uint64_t lastChange_ GUARDED_BY(lock_) = 0;
    std::shared_ptr<OpxDataCallback> callback_ GUARDED_BY(lock_);
    std::shared_ptr<DaGroupMgt> group_ GUARDED_BY(lock_);
    bool filled_ GUARDED_BY(lock_) = false;        // the group has the callback and the items
    bool missedChange_ GUARDED_BY(lock_) = false;  // the group does not know of a change that is kept
    ItemStore items_ GUARDED_BY(lock_);
    std::vector<UnkeptItem> unkeptItems_ GUARDED_BY(lock_);  // on the server, where items are not kept
};

}  // namespace OpxOpc
