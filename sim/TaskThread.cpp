#include "sim/TaskThread.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "com/com.h"

namespace Korvex::Simulation {

struct TaskThread::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::multimap<Clock::time_point, Task> tasks;
    bool running = false;
    bool stopped = false;
};

TaskThread::TaskThread() : state_(std::make_shared<State>()) {}

TaskThread::~TaskThread() {
    stop();
}

void TaskThread::postAt(Clock::time_point time, Task task) {
    const std::lock_guard lock(state_->mutex);
    if (state_->stopped) return;
    state_->tasks.emplace(time, std::move(task));
    state_->changed.notify_one();
    if (state_->running) return;
    state_->running = true;
    std::thread(&TaskThread::run, state_).detach();
}

void TaskThread::stop() {
    std::multimap<Clock::time_point, Task> discarded;
    const std::lock_guard lock(state_->mutex);
    state_->stopped = true;
    discarded.swap(state_->tasks);
    state_->changed.notify_one();
}

void TaskThread::run(const std::shared_ptr<State>& state) {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    std::unique_lock lock(state->mutex);
    while (!state->stopped) {
        if (state->tasks.empty()) {
            state->changed.wait(lock);
            continue;
        }
        const auto first = state->tasks.begin();
        if (const auto time = first->first; time > Clock::now()) {
            state->changed.wait_until(lock, time);
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
