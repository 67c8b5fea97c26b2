#include "opc/OpxThread.h"

#include <chrono>
#include <utility>

#include "opc/ApartmentMode.h"
#include "opc/waiting.h"

namespace OpxOpc {
namespace {

constexpr std::chrono::milliseconds kStep{10};

}  // namespace

OpxThread::~OpxThread() {
    if (isOwnThread())
        thread_.detach();
    else
        joinHandle();
}

void OpxThread::start(std::shared_ptr<void> keptAlive) {
    if (running_.exchange(true)) return;
    joinHandle();
    const std::lock_guard guard(lock_);
    try {
        thread_ = std::thread([this, keptAlive = std::move(keptAlive)] {
            run();
            running_ = false;
        });
    } catch (...) {
        running_ = false;
        throw;
    }
}

void OpxThread::wait() {
    if (isOwnThread()) return;
    while (ApartmentMode::isSingleThreaded() && running_) sleepTakingCalls(kStep);
    joinHandle();
}

bool OpxThread::isOwnThread() const {
    const std::lock_guard guard(lock_);
    return thread_.get_id() == std::this_thread::get_id();
}

void OpxThread::joinHandle() {
    std::thread ended;
    {
        const std::lock_guard guard(lock_);
        ended.swap(thread_);
    }
    if (ended.joinable()) ended.join();
}

}  // namespace OpxOpc
