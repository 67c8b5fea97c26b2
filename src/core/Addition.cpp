#include "core/Addition.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <vector>

#include "opc/ApartmentMode.h"
#include "opc/waiting.h"

namespace OpxOpc {
namespace {

constexpr std::chrono::milliseconds kSlice{10};
constexpr int kLongestChain = 100;  // of threads that wait for each other; a longer one goes round in a circle

// What keeps a thread that adds items from going on: one of the two.
struct Obstacle {
    const Addition* addition = nullptr;
    const std::atomic<int>* gate = nullptr;
};

// Guards the obstacles and the ends of all additions. Never destroyed: connections may end as late as the
// process.
struct Waiting {
    std::mutex lock;
    std::condition_variable changed;
    std::map<std::thread::id, std::vector<Obstacle>> obstacles;  // the innermost one last
};

Waiting& waiting() {
    static Waiting& one = *new Waiting;
    return one;
}

// The calling thread's additions under way.
thread_local int ownAdditions = 0;

// Notes the obstacle, under the lock; false where nobody can be waiting for this thread.
bool meet(const Obstacle& obstacle) {
    if (ownAdditions == 0) return false;
    waiting().obstacles[std::this_thread::get_id()].push_back(obstacle);
    waiting().changed.notify_all();
    return true;
}

void pass() noexcept {
    const auto own = waiting().obstacles.find(std::this_thread::get_id());
    own->second.pop_back();
    if (own->second.empty()) waiting().obstacles.erase(own);
}

// Waits until `isOver`, which `changed` tells of; a single-threaded apartment takes calls meanwhile.
template <typename Predicate>
void waitTakingCalls(std::unique_lock<std::mutex>& guard, std::condition_variable& changed, const Predicate& isOver) {
    if (!ApartmentMode::isSingleThreaded()) return changed.wait(guard, isOver);
    while (!isOver()) {
        guard.unlock();
        sleepTakingCalls(kSlice);
        guard.lock();
    }
}

}  // namespace

Addition::Addition() {
    ++ownAdditions;
}

void Addition::end() noexcept {
    const std::lock_guard guard(waiting().lock);
    if (ended_) return;
    ended_ = true;
    --ownAdditions;
    waiting().changed.notify_all();
}

bool Addition::wait() const {
    std::unique_lock guard(waiting().lock);
    const auto isOver = [this] { return ended_ || isHopeless(); };
    if (isOver()) return ended_;
    const bool noted = meet({.addition = this});
    waitTakingCalls(guard, waiting().changed, isOver);
    if (noted) pass();
    return ended_;
}

// Follows what the adding thread waits for, and so on.
bool Addition::isHopeless() const {
    const Addition* at = this;
    for (int i = 0; i < kLongestChain; ++i) {
        if (at->ended_) return false;
        if (at->isOwn()) return true;
        const auto standing = waiting().obstacles.find(at->thread_);
        if (standing == waiting().obstacles.end()) return false;
        const Obstacle& obstacle = standing->second.back();
        if (obstacle.gate) return *obstacle.gate != 0;
        at = obstacle.addition;
    }
    return true;
}

Addition::AtGate::AtGate(const std::atomic<int>& closed) {
    if (ownAdditions == 0) return;
    const std::lock_guard guard(waiting().lock);
    noted_ = meet({.gate = &closed});
}

Addition::AtGate::~AtGate() {
    if (!noted_) return;
    const std::lock_guard guard(waiting().lock);
    pass();
}

void Addition::gateClosed() {
    const std::lock_guard guard(waiting().lock);
    waiting().changed.notify_all();
}

}  // namespace OpxOpc
