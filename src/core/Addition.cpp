#include "core/Addition.h"

#include <map>
#include <vector>

#include "core/CallGate.h"
#include "opc/apartment/Signal.h"

namespace OpxOpc {
namespace {

constexpr int kLongestChain = 100;  // of threads that wait for each other; a longer one goes round in a circle

// The reason why a thread cannot go on: one of the three.
struct Obstacle {
    const Addition* addition = nullptr;
    const CallGate* gate = nullptr;
    std::thread::id thread = {};
};

// Never destroyed: connections may end as late as the process.
struct Waiting {
    Signal changed;  // guards the ends of all additions too
    std::map<std::thread::id, std::vector<Obstacle>> obstacles GUARDED_BY(changed);  // the innermost one last
};

Waiting& waiting() {
    static Waiting& one = *new Waiting;
    return one;
}

void meet(const Obstacle& obstacle) {
    waiting().changed.change(
        [&]() REQUIRES(waiting().changed) { waiting().obstacles[std::this_thread::get_id()].push_back(obstacle); });
}

void pass() {
    waiting().changed.change([]() REQUIRES(waiting().changed) {
        const auto own = waiting().obstacles.find(std::this_thread::get_id());
        own->second.pop_back();
        if (own->second.empty()) waiting().obstacles.erase(own);
    });
}

}  // namespace

void Addition::end() noexcept {
    waiting().changed.change([this] { ended_ = true; });
}

bool Addition::wait() const {
    bool ended = false;
    const auto isOver = [&]() REQUIRES(waiting().changed) {
        ended = ended_;
        return ended || isHopeless();
    };
    if (waiting().changed.look(isOver)) return ended;
    meet({.addition = this});
    waiting().changed.wait(isOver);
    pass();
    return ended;
}

// Follows what the adding thread waits for, and so on.
bool Addition::isHopeless() const REQUIRES(waiting().changed) {
    const auto self = std::this_thread::get_id();
    const Addition* addition = this;
    std::thread::id thread;
    for (int i = 0; i < kLongestChain; ++i) {
        if (addition && addition->ended_) return false;
        if (addition) thread = addition->thread_;
        if (thread == self) return true;
        const auto standing = waiting().obstacles.find(thread);
        if (standing == waiting().obstacles.end()) return false;
        const Obstacle& obstacle = standing->second.back();
        if (obstacle.gate && obstacle.gate->isClosed()) return true;
        addition = obstacle.addition;
        thread = obstacle.gate ? obstacle.gate->owner() : obstacle.thread;
    }
    return true;
}

Addition::AtGate::AtGate(const CallGate& gate) {
    meet({.gate = &gate});
}

Addition::AtGate::~AtGate() {
    pass();
}

Addition::AtThread::AtThread(std::thread::id thread) {
    meet({.thread = thread});
}

Addition::AtThread::~AtThread() {
    pass();
}

void Addition::gateClosed() {
    waiting().changed.change([] {});
}

}  // namespace OpxOpc
