#include "threads/OpxThread.h"

#include <utility>

#include "opc/apartment/ApartmentMode.h"

namespace OpxOpc {
namespace {

OpxThread::Maker& maker() {
    static OpxThread::Maker replacement;
    return replacement;
}

std::thread makeThread(std::function<void()> body) {
    return maker() ? maker()(std::move(body)) : std::thread(std::move(body));
}

}  // namespace

OpxThread::~OpxThread() {
    if (isOwnThread())
        thread_.detach();
    else
        joinHandle();
}

void OpxThread::create(std::shared_ptr<void> keptAlive) {
    if (running_.exchange(true)) return;
    joinHandle();
    changed_.change([this]() REQUIRES(changed_) { order_ = Order::Stay; });
    const Korvex::ScopedLock guard(lock_);
    try {
        thread_ = makeThread([this, keptAlive = std::move(keptAlive)] { body(); });
    } catch (...) {
        running_ = false;
        throw;
    }
}

void OpxThread::start() {
    create();
    changed_.change([this]() REQUIRES(changed_) { order_ = Order::Go; });
}

void OpxThread::body() {
    bool goes = false;
    const auto isOrdered = [&]() REQUIRES(changed_) {
        goes = order_ == Order::Go;
        return order_ != Order::Stay;
    };
    changed_.wait(isOrdered, Signal::kForever, Signal::Messages::Leave);
    if (goes) run();
    changed_.change([this] { running_ = false; });
}

void OpxThread::wait() {
    if (isOwnThread()) return;
    changed_.change([this]() REQUIRES(changed_) {
        if (order_ == Order::Stay) order_ = Order::Leave;
    });
    // Joining alone would not take the calls that the thread may wait for.
    if (ApartmentMode::isSingleThreaded()) changed_.wait([this] { return !running_; });
    joinHandle();
}

std::thread::id OpxThread::id() const {
    const Korvex::ScopedLock guard(lock_);
    return thread_.get_id();
}

bool OpxThread::isOwnThread() const {
    return id() == std::this_thread::get_id();
}

void OpxThread::joinHandle() {
    std::thread ended;
    {
        const Korvex::ScopedLock guard(lock_);
        ended.swap(thread_);
    }
    if (ended.joinable()) ended.join();
}

void OpxThread::replaceMaker(Maker replacement) {
    maker() = std::move(replacement);
}

}  // namespace OpxOpc
