// The lock of a connection and the count of the calls in progress on it.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "opc/apartment/Signal.h"

namespace OpxOpc {

// The lock decides about calls and the connection's state in one step, and is not held while a call
// does its work; the count tells whoever takes the connection away when the work is done.
//
// A thread can be inside a call and call again, from a handler that the server has called meanwhile.
// Its own calls are never waited for: neither by itself, nor, while it stands at the lock, by others,
// who would otherwise wait for each other for ever. What such a call uses it therefore has to share.
// Nor do the calls of others that wait for what it adds keep anybody waiting: they are told to give up.
//
// In a single-threaded apartment a thread that waits here goes on taking calls.
class CAPABILITY("gate") CallGate {
public:
    CallGate() = default;
    CallGate(const CallGate&) = delete;
    CallGate& operator=(const CallGate&) = delete;

    // Recursive.
    void lock() ACQUIRE();
    void unlock() RELEASE();

    // A call of this thread begins, under the lock, and ends, without it.
    void enter() REQUIRES(this);
    void leave() noexcept;

    // Under the lock, which keeps new calls out: returns as soon as no other thread's call is in progress,
    // or false after `limit`.
    bool waitUntilQuiet(Signal::Duration limit = Signal::kForever) REQUIRES(this);

    // Whether somebody waits, without a limit, for every call in progress.
    bool isClosed() const noexcept { return closed_ != 0; }
    // Who has the lock, if anybody.
    std::thread::id owner() const;

private:
    // A thread's calls in progress. They stand here and not in the thread's own storage: MinGW gives that back
    // before the destructors run that stand in it.
    struct ThreadCalls {
        std::thread::id thread;
        std::uint32_t count;
    };

    bool take(std::thread::id thread) REQUIRES(changed_);
    std::uint32_t& callsOf(std::thread::id thread) REQUIRES(changed_);
    std::uint32_t setAside(std::thread::id thread) noexcept REQUIRES(changed_);

    Signal changed_;
    std::thread::id owner_ GUARDED_BY(changed_);
    std::uint32_t depth_ GUARDED_BY(changed_) = 0;         // of the owner's locking; 0 when the gate is open
    std::vector<ThreadCalls> calls_ GUARDED_BY(changed_);  // one entry a thread that has some
    std::atomic<int> closed_ = 0;
};

}  // namespace OpxOpc
