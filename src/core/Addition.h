// The adding of new items to the server, while others wait for it.
#pragma once

#include <atomic>
#include <memory>
#include <thread>

namespace OpxOpc {

// Belongs to the thread that begins it. A request of another thread that needs one of its items waits for
// its end instead of adding the item once more.
//
// A server may call the adding thread back meanwhile, and the handler may come to stand still itself. A
// wait that could not end then is given up.
class Addition {
public:
    // Begins.
    Addition();
    Addition(const Addition&) = delete;
    Addition& operator=(const Addition&) = delete;

    // By the thread that began it.
    void end() noexcept;

    // Whether the calling thread began it.
    bool isOwn() const noexcept { return thread_ == std::this_thread::get_id(); }

    // Waits for the end, without a lock of the caller's; a thread of a single-threaded apartment takes calls
    // meanwhile. False if this thread would wait for itself, or for one that waits for it.
    bool wait() const;

    // While it stands, the calling thread waits at a gate. As long as that is `closed` (not 0), the gate
    // waits in turn for every call in progress, also for those that wait for what this thread adds.
    class AtGate {
    public:
        explicit AtGate(const std::atomic<int>& closed);
        ~AtGate();
        AtGate(const AtGate&) = delete;
        AtGate& operator=(const AtGate&) = delete;

    private:
        const bool noted_;
    };
    // A gate has been closed.
    static void gateClosed();

private:
    bool isHopeless() const;

    const std::thread::id thread_ = std::this_thread::get_id();
    bool ended_ = false;
};

}  // namespace OpxOpc
