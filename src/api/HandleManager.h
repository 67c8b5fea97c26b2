// The internal handles that stand for subscriptions and asynchronous calls towards the engine.
#pragma once

#include <cstdint>
#include <deque>

#include "com/Mutex.h"

namespace Korvex::OPC::OpcDaClient {

// Three independent pools. The first handle of each is 0; a handle that was given back is issued again
// after those that were given back before it. A handle that is given back is not tested: one that
// comes twice, or that was never issued, is issued all the same. Any thread may call any method.
class HandleManager {
public:
    std::uint32_t GetSubscriptionHandle();
    void RemoveSubscriptionHandle(std::uint32_t handle);

    std::uint32_t GetReadAsyncHandle();
    void RemoveReadAsyncHandle(std::uint32_t handle);

    std::uint32_t GetWriteAsyncHandle();
    void RemoveWriteAsyncHandle(std::uint32_t handle);

private:
    class Pool {
    public:
        std::uint32_t get();
        void giveBack(std::uint32_t handle);

    private:
        Mutex lock_;
        std::deque<std::uint32_t> toUse_ GUARDED_BY(lock_);
        std::uint32_t next_ GUARDED_BY(lock_) = 0;
    };

    Pool m_SubscriptionHandles;
    Pool m_ReadAsyncHandles;
    Pool m_WriteAsyncHandles;
};

}  // namespace Korvex::OPC::OpcDaClient
