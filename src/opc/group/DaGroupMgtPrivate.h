// The state of a group, with its interfaces and what goes through them.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "com/opc_interfaces.h"
#include "opc/callbacks/OpxOPCDataCallback.h"
#include "opc/group/GroupInterfaces.h"
#include "opc/group/GroupIo.h"

namespace OpxOpc {

struct DaGroupMgtPrivate {
    // Keeps the group's interfaces and makes the group available.
    HRESULT SetIOPCItemMgt(IOPCItemMgt* itemMgt);
    // Makes the group unavailable. Answers the code of the last revocation, S_OK in a multi-threaded
    // apartment.
    HRESULT ReleaseOPCGroupInterfaces();

    // The callback's sink and how the server knows it.
    struct Advice {
        Korvex::Com::ComPtr<OpxOPCDataCallback> sink;
        DWORD cookie = 0;
        bool advised = false;
    };
    Advice advice() const {
        const Korvex::ScopedLock guard(adviceLock_);
        return advice_;
    }
    Advice exchangeAdvice(Advice replacement) {
        const Korvex::ScopedLock guard(adviceLock_);
        return std::exchange(advice_, std::move(replacement));
    }

    GroupInterfaces interfaces;
    GroupIo io{interfaces};
    OpxString name;
    std::atomic<std::uint32_t> updateRate = 0;
    std::atomic<bool> active = false;
    std::atomic<float> percentDeadband = 0;
    std::uint32_t clientHandle = 0;
    std::uint32_t serverHandle = 0;
    bool created = false;
    std::atomic<bool> available = false;

private:
    mutable Korvex::Mutex adviceLock_;  // held for moments only
    Advice advice_ GUARDED_BY(adviceLock_);
};

}  // namespace OpxOpc
