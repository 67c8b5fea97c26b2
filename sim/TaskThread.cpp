#include "sim/TaskThread.h"

#include <map>
#include <thread>

#include "com/Mutex.h"
#include "com/com.h"

namespace Korvex::Simulation {

struct TaskThread::State {
    Mutex mutex;
    Condition changed;
    std::multimap<Clock::time_point, Task> tasks GUARDED_BY(mutex);
    bool running GUARDED_BY(mutex) = false;
    bool stopped GUARDED_BY(mutex) = false;
};

TaskThread::TaskThread() : state_(std::make_shared<State>()) {}

TaskThread::~TaskThread() {
    stop();
}

void TaskThread::postAt(Clock::time_point time, Task task) {
    const ScopedLock lock(state_->mutex);
    if (state_->stopped) return;
    state_->tasks.emplace(time, std::move(task));
    state_->changed.notifyOne();
    if (state_->running) return;
    state_->running = true;
    std::thread(&TaskThread::run, state_).detach();
}

void TaskThread::stop() {
    std::multimap<Clock::time_point, Task> discarded;
    const ScopedLock lock(state_->mutex);
    state_->stopped = true;
    discarded.swap(state_->tasks);
    state_->changed.notifyOne();
}

void TaskThread::run(const std::shared_ptr<State>& state) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    ScopedLock lock(state->mutex);
    while (!state->stopped) {
        if (state->tasks.empty()) {
            state->changed.wait(state->mutex);
            continue;
        }
        const auto first = state->tasks.begin();
        if (const auto time = first->first; time > Clock::now()) {
            state->changed.waitUntil(state->mutex, time);
            continue;
        }
        {
            // Gone before the lock is taken again: what it holds may stop this very thread.
            const Task task = std::move(state->tasks.extract(first).mapped());
            lock.unlock();
            task();
        }
        lock.lock();
    }
    lock.unlock();
    CoUninitialize();
}

}  // namespace Korvex::Simulation
