// The handlers of one event.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "com/Mutex.h"
#include "threads/Clock.h"
#include "trace/LibT.h"

namespace Korvex::OPC::OpcDaClient {

// Handlers are called in the order of their registration from a snapshot of the list, with no lock
// held: a handler may add and remove handlers, which counts from the next event on. A handler that
// throws keeps the later ones from being called, and leaves a line in the trace, at most one a minute.
template <typename Handler>
class HandlerList {
public:
    // Takes note of `handler`; the token takes it back. An empty handler is ignored and has token 0.
    std::uint64_t add(Handler handler) {
        if (!handler) return 0;
        const ScopedLock guard(lock_);
        handlers_.emplace_back(++lastToken_, std::make_shared<Registered>(std::move(handler)));
        return lastToken_;
    }

    // An unknown token is ignored.
    void remove(std::uint64_t token) {
        const ScopedLock guard(lock_);
        std::erase_if(handlers_, [token](const Entry& entry) { return entry.first == token; });
    }

    void clear() {
        const ScopedLock guard(lock_);
        handlers_.clear();
    }

    bool empty() const {
        const ScopedLock guard(lock_);
        return handlers_.empty();
    }

    // `event` names it in the trace.
    template <typename... Args>
    void invoke(const char* event, const Args&... args) const {
        for (const Entry& entry : snapshot()) call(*entry.second, event, args...);
    }

private:
    static constexpr std::int64_t kTraceInterval = 60'000;

    // Shared with the snapshots: a handler with state of its own exists once.
    struct Registered {
        explicit Registered(Handler taken) : handler(std::move(taken)) {}

        const Handler handler;
        std::optional<std::int64_t> lastTraced;  // under the list's lock
    };
    using Entry = std::pair<std::uint64_t, std::shared_ptr<Registered>>;

    template <typename... Args>
    void call(Registered& registered, const char* event, const Args&... args) const {
        try {
            registered.handler(args...);
        } catch (const std::exception& exception) {
            traceThrown(registered, event, exception.what());
            throw;
        } catch (...) {
            traceThrown(registered, event, "of an unknown kind");
            throw;
        }
    }

    void traceThrown(Registered& registered, const char* event, const char* what) const noexcept {
        const std::int64_t now = OpxOpc::Clock::current().now();
        {
            const ScopedLock guard(lock_);
            std::optional<std::int64_t>& last = registered.lastTraced;
            const bool isRecent = last && now >= *last && now - *last < kTraceInterval;
            if (isRecent) return;
            last = now;
        }
        OpxOpc::LibT::lError("Error: MCPP::DaServerMgt::%s - A handler has thrown an exception: %s", event, what);
    }

    std::vector<Entry> snapshot() const {
        const ScopedLock guard(lock_);
        return handlers_;
    }

    mutable Mutex lock_;
    std::vector<Entry> handlers_ GUARDED_BY(lock_);
    std::uint64_t lastToken_ GUARDED_BY(lock_) = 0;
};

}  // namespace Korvex::OPC::OpcDaClient
