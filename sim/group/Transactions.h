// A group's asynchronous operations, from the call that starts one to its completion.
#pragma once

#include <functional>
#include <map>
#include <mutex>

#include "sim/TaskThread.h"
#include "sim/group/callbacks.h"

namespace Korvex::Simulation {

class Transactions {
public:
    // Does the work and says what to tell the client.
    using Operation = std::function<Callback()>;

    explicit Transactions(Group& group) noexcept : group_(group) {}

    // Queues an operation; returns the number with which it can be cancelled.
    DWORD start(DWORD transaction, Operation operation);
    // E_FAIL if the operation has begun or there was none.
    HRESULT cancel(DWORD cancelId);
    void stop() { thread_.stop(); }

private:
    void run(DWORD cancelId, const Operation& operation);
    void complete(Callback callback);

    Group& group_;
    std::mutex mutex_;
    std::map<DWORD, DWORD> waiting_;  // cancel number to the client's transaction
    DWORD lastCancelId_ = 0;
    TaskThread thread_;
};

}  // namespace Korvex::Simulation
