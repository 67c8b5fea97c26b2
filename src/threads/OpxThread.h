// A thread that can be started again when it has ended.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "com/Mutex.h"
#include "opc/apartment/Signal.h"

namespace OpxOpc {

// The body is `run` of the derived class, whose destructor has to wait. One thread at a time creates,
// starts and waits; the body may wait for itself, which is not waiting at all.
class OpxThread {
public:
    virtual ~OpxThread();
    OpxThread(const OpxThread&) = delete;
    OpxThread& operator=(const OpxThread&) = delete;

    // Creates the thread, which does nothing until it is started; throws std::system_error where the
    // system has none. Does nothing when there is one already. `keptAlive` is released after the body has
    // returned; it may be the last owner of this object.
    void create(std::shared_ptr<void> keptAlive = nullptr);

    // Lets the thread go, creating it where that was not done. Does nothing while it runs.
    void start();

    bool isRunning() const noexcept { return running_; }
    std::thread::id id() const;

    // Returns when the body has; at once on the thread itself, which ends by itself. A thread that was
    // created and not started ends without its body.
    void wait();

    // How threads are made; a test may put a system that has none in its place.
    using Maker = std::function<std::thread(std::function<void()>)>;
    static void replaceMaker(Maker maker);  // empty is the system's

protected:
    OpxThread() = default;

private:
    enum class Order { Stay, Go, Leave };

    virtual void run() = 0;

    void body();
    bool isOwnThread() const;
    void joinHandle();

    std::atomic<bool> running_ = false;  // created and not ended
    Signal changed_;                     // tells of the order, and of the end too
    Order order_ GUARDED_BY(changed_) = Order::Stay;
    mutable Korvex::Mutex lock_;  // guards the handle
    std::thread thread_ GUARDED_BY(lock_);
};

}  // namespace OpxOpc
