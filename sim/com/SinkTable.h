// The sinks that clients have advised on one connection point.
#pragma once

#include <map>
#include <vector>

#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "sim/steering/Census.h"

namespace Korvex::Simulation {

template <typename Sink>
class SinkTable {
public:
    explicit SinkTable(Census::Counter& counter) noexcept : counter_(counter) {}
    ~SinkTable() { clear(); }

    DWORD add(Com::ComPtr<Sink> sink) {
        const ScopedLock lock(mutex_);
        sinks_.emplace(++lastCookie_, std::move(sink));
        ++counter_;
        return lastCookie_;
    }

    // Gives the sink back, so that it is released where no lock is held; none for an unknown cookie.
    Com::ComPtr<Sink> remove(DWORD cookie) {
        const ScopedLock lock(mutex_);
        const auto found = sinks_.find(cookie);
        if (found == sinks_.end()) return nullptr;
        Com::ComPtr<Sink> sink = std::move(found->second);
        sinks_.erase(found);
        --counter_;
        return sink;
    }

    void clear() {
        std::map<DWORD, Com::ComPtr<Sink>> sinks;
        const ScopedLock lock(mutex_);
        sinks.swap(sinks_);
        counter_ -= static_cast<int>(sinks.size());
    }

    bool isEmpty() const {
        const ScopedLock lock(mutex_);
        return sinks_.empty();
    }

    // The sinks as they are now, for calls that are made without a lock.
    std::map<DWORD, Com::ComPtr<Sink>> snapshot() const {
        const ScopedLock lock(mutex_);
        return sinks_;
    }

private:
    Census::Counter& counter_;
    mutable Mutex mutex_;
    std::map<DWORD, Com::ComPtr<Sink>> sinks_ GUARDED_BY(mutex_);
    DWORD lastCookie_ GUARDED_BY(mutex_) = 0;
};

}  // namespace Korvex::Simulation
