// A thread that can be started again when it has ended.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

namespace OpxOpc {

// The body is `run` of the derived class, whose destructor has to wait. One thread at a time starts
// and waits; the body may wait for itself, which is not waiting at all.
class OpxThread {
public:
    virtual ~OpxThread();
    OpxThread(const OpxThread&) = delete;
    OpxThread& operator=(const OpxThread&) = delete;

    // Does nothing while the thread runs. `keptAlive` is released after the body has returned; it may be
    // the last owner of this object.
    void start(std::shared_ptr<void> keptAlive = nullptr);

    bool isRunning() const noexcept { return running_; }

    // Returns when the body has; at once on the thread itself, which ends by itself. In a single-threaded
    // apartment the waiting thread goes on taking calls.
    void wait();

protected:
    OpxThread() = default;

private:
    virtual void run() = 0;

    bool isOwnThread() const;
    void joinHandle();

    std::atomic<bool> running_ = false;
    mutable std::mutex lock_;  // guards the handle
    std::thread thread_;
};

}  // namespace OpxOpc
