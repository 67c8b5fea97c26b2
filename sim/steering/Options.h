// How the server presents itself; what commands change beside faults.
#pragma once

#include <vector>

#include "com/Mutex.h"
#include "com/opc_interfaces.h"

namespace Korvex::Simulation {

struct Options {
    OPCSERVERSTATE state = OPC_STATUS_RUNNING;
    OPCNAMESPACETYPE organization = OPC_NS_HIERARCHIAL;
    // English (two), German, French, Italian, Spanish; the system's, the user's and the neutral one.
    std::vector<LCID> locales = {1033, 1031, 2057, 1036, 1040, 3082, 0x800, 0x400, 0};
    bool zeroHandles = false;     // a new group's first item gets server handle 0
    bool blobs = false;           // items are added with blobs
    bool deliversInside = false;  // SetState calls the sinks itself before it returns
    bool asksToLeave = false;     // whoever advises a shutdown sink is told to leave at once
    DWORD browseLimit = 0;        // elements that one call of Browse returns at most; 0 is no limit
};

// The options in use; each caller gets a copy.
class CurrentOptions {
public:
    Options get() const {
        const ScopedLock lock(mutex_);
        return options_;
    }
    template <typename Change>
    void change(const Change& change) {
        const ScopedLock lock(mutex_);
        change(options_);
    }
    void reset() {
        change([](Options& options) { options = Options(); });
    }

private:
    mutable Mutex mutex_;
    Options options_ GUARDED_BY(mutex_);
};

}  // namespace Korvex::Simulation
