#include "core/Addition.h"

#include <map>
#include <vector>

#include "opc/apartment/Signal.h"

namespace OpxOpc {
namespace {

constexpr int kLongestChain = 100;  // of threads that wait for each other; a longer one goes round in a circle

// What keeps a thread that adds items from going on: one of the two.
struct Obstacle {
    const Addition* addition = nullptr;
    const std::atomic<int>* gate = nullptr;
};

// Never destroyed: connections may end as late as the process.
struct Waiting {
    Signal changed;                                              // guards the obstacles and the ends of all additions
    std::map<std::thread::id, std::vector<Obstacle>> obstacles;  // the innermost one last
};

Waiting& waiting() {
    static Waiting& one = *new Waiting;
    return one;
}

// The calling thread's additions under way.
thread_local int ownAdditions = 0;

// False where nobody can be waiting for this thread.
bool meet(const Obstacle& obstacle) {
    if (ownAdditions == 0) return false;
    waiting().changed.change([&] { waiting().obstacles[std::this_thread::get_id()].push_back(obstacle); });
    return true;
}

void pass() {
    waiting().changed.change([] {
        const auto own = waiting().obstacles.find(std::this_thread::get_id());
        own->second.pop_back();
        if (own->second.empty()) waiting().obstacles.erase(own);
    });
}

}  // namespace

Addition::Addition() {
    ++ownAdditions;
}

void Addition::end() noexcept {
    waiting().changed.change([this] {
        if (ended_) return;
        ended_ = true;
        --ownAdditions;
    });
}

bool Addition::wait() const {
    bool ended = false;
    const auto isOver = [&] {
        ended = ended_;
        return ended || isHopeless();
    };
    if (waiting().changed.look(isOver)) return ended;
    const bool noted = meet({.addition = this});
    waiting().changed.wait(isOver);
    if (noted) pass();
    return ended;
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

Addition::AtGate::AtGate(const std::atomic<int>& closed) : noted_(meet({.gate = &closed})) {}

Addition::AtGate::~AtGate() {
    if (noted_) pass();
}

void Addition::gateClosed() {
    waiting().changed.change([] {});
}

}  // namespace OpxOpc
