// A group's asynchronous operations, from the call that starts one to its completion.
#pragma once

#include <functional>
#include <map>

#include "com/Mutex.h"
#include "sim/TaskThread.h"
#include "sim/group/callbacks.h"
#include "sim/steering/CompletionFaults.h"

namespace Korvex::Simulation {

class Transactions {
public:
    // Does the work and says what to tell the client.
    using Operation = std::function<Callback()>;

    explicit Transactions(Group& group) noexcept : group_(group) {}

    // Queues an operation, to be completed as is commanded now; returns the number with which it can
    // be cancelled.
    DWORD start(DWORD transaction, Operation operation);
    // E_FAIL if the operation has begun or there was none.
    HRESULT cancel(DWORD cancelId);
    void stop() { thread_.stop(); }

private:
    void run(DWORD cancelId, const Operation& operation, Completion mode);
    void complete(Callback callback, Completion mode);

    Group& group_;
    Mutex mutex_;
    std::map<DWORD, DWORD> waiting_ GUARDED_BY(mutex_);  // cancel number to the client's transaction
    DWORD lastCancelId_ GUARDED_BY(mutex_) = 0;
    TaskThread thread_;
};

}  // namespace Korvex::Simulation
