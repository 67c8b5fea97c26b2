#include "sim/group/Transactions.h"

#include <future>
#include <memory>
#include <optional>

#include "sim/Simulation.h"
#include "sim/group/Group.h"

namespace Korvex::Simulation {
namespace {

// Turns a number of the client's into one that is not.
constexpr DWORD kForeign = 0x40000000;

// How long a call waits for a completion that shall come before it returns: the client may not be
// able to take it earlier.
constexpr std::chrono::seconds kEarlyPatience{2};

}  // namespace

DWORD Transactions::start(DWORD transaction, Operation operation) {
    DWORD cancelId = 0;
    {
        const ScopedLock lock(mutex_);
        cancelId = ++lastCancelId_;
        waiting_.emplace(cancelId, transaction);
    }
    const Completion mode = simulation().completions.mode();
    const auto done = std::make_shared<std::promise<void>>();
    const std::future<void> completed = done->get_future();
    thread_.post([weak = group_.weak_from_this(), cancelId, mode, operation = std::move(operation), done] {
        if (const auto group = weak.lock()) group->transactions().run(cancelId, operation, mode);
        done->set_value();
    });
    if (mode == Completion::early) completed.wait_for(kEarlyPatience);
    return cancelId;
}

HRESULT Transactions::cancel(DWORD cancelId) {
    DWORD transaction = 0;
    {
        const ScopedLock lock(mutex_);
        const auto found = waiting_.find(cancelId);
        if (found == waiting_.end()) return E_FAIL;
        transaction = found->second;
        waiting_.erase(found);
    }
    group_.publisher().post([weak = group_.weak_from_this(), transaction] {
        if (const auto group = weak.lock()) callSinksOfCancelled(*group, transaction);
    });
    return S_OK;
}

void Transactions::run(DWORD cancelId, const Operation& operation, Completion mode) {
    simulation().completions.waitWhileHeld([this] { return group_.isRemoved(); });
    DWORD transaction = 0;
    {
        const ScopedLock lock(mutex_);
        const auto found = waiting_.find(cancelId);
        if (found == waiting_.end()) return;
        transaction = found->second;
        waiting_.erase(found);
    }
    if (group_.isRemoved()) return;
    Callback callback = operation();
    callback.transaction = transaction;
    complete(std::move(callback), mode);
}

void Transactions::complete(Callback callback, Completion mode) {
    if (mode == Completion::dropped) return;
    if (mode == Completion::unknownTransaction) callback.transaction ^= kForeign;
    if (mode == Completion::unknownHandle && !callback.items.empty()) callback.items.front().clientHandle ^= kForeign;
    callback.withoutArrays = mode == Completion::nullArrays;
    callSinks(group_, callback);
    if (mode == Completion::doubled) callSinks(group_, callback);
}

}  // namespace Korvex::Simulation
