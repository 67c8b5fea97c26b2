// A thread that carries out tasks at their time.
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace Korvex::Simulation {

// The thread starts with the first task. It is never joined: a client may block in a callback for
// ever, or release the thread's owner from within one. Tasks therefore keep alive what they use.
class TaskThread {
public:
    using Clock = std::chrono::steady_clock;
    using Task = std::function<void()>;

    TaskThread();
    TaskThread(const TaskThread&) = delete;
    TaskThread& operator=(const TaskThread&) = delete;
    ~TaskThread();

    void post(Task task) { postAt(Clock::now(), std::move(task)); }
    // Tasks of the same time run in the order in which they were posted.
    void postAt(Clock::time_point time, Task task);

    // Discards the tasks that wait; the thread ends when the running one has returned.
    void stop();

private:
    struct State;
    static void run(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state_;
};

}  // namespace Korvex::Simulation
