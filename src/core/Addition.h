// The adding of new items to the server, while others wait for it.
#pragma once

#include <memory>
#include <thread>

namespace OpxOpc {

class CallGate;

// Belongs to the thread that begins it. A request of another thread that needs one of its items waits for
// its end instead of adding the item once more.
//
// A server may call the adding thread back meanwhile, and the handler may come to stand still itself. A
// wait that could not end then is given up.
class Addition {
public:
    // Begins.
    Addition() = default;
    Addition(const Addition&) = delete;
    Addition& operator=(const Addition&) = delete;

    // By the thread that began it.
    void end() noexcept;

    // Whether the calling thread began it.
    bool isOwn() const noexcept { return thread_ == std::this_thread::get_id(); }

    // Waits for the end, without a lock of the caller's; a thread of a single-threaded apartment takes calls
    // meanwhile. False if this thread would wait for itself, or for one that waits for it.
    bool wait() const;

    // While it stands, the calling thread waits at a gate, for the thread that has it; or, where the gate is
    // closed, with that one for every call in progress, also for those that wait for what this thread adds.
    class AtGate {
    public:
        explicit AtGate(const CallGate& gate);
        ~AtGate();
        AtGate(const AtGate&) = delete;
        AtGate& operator=(const AtGate&) = delete;
    };
    // While it stands, the calling thread waits for the end of another.
    class AtThread {
    public:
        explicit AtThread(std::thread::id thread);
        ~AtThread();
        AtThread(const AtThread&) = delete;
        AtThread& operator=(const AtThread&) = delete;
    };
    // A gate has been closed.
    static void gateClosed();

private:
    bool isHopeless() const;

    const std::thread::id thread_ = std::this_thread::get_id();
    bool ended_ = false;
};

}  // namespace OpxOpc
