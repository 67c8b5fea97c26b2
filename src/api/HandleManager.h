// The internal handles that stand for subscriptions and asynchronous calls towards the engine.
#pragma once

#include <cstdint>
#include <deque>
#include <mutex>

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
    using Handles = std::deque<std::uint32_t>;

    static std::uint32_t get(std::mutex& lock, Handles& toUse, std::uint32_t& next);
    static void remove(std::mutex& lock, Handles& toUse, std::uint32_t handle);

    Handles m_SubscriptionHandlesToUse;
    std::mutex m_SubscriptionHandlesToUseSyncRoot;
    std::uint32_t m_NextNewSubscriptionHandle = 0;
    Handles m_ReadAsyncHandlesToUse;
    std::mutex m_ReadAsyncHandlesToUseSyncRoot;
    std::uint32_t m_NextReadAsyncHandle = 0;
    Handles m_WriteAsyncHandlesToUse;
    std::mutex m_WriteAsyncHandlesToUseSyncRoot;
    std::uint32_t m_NextWriteAsyncHandle = 0;
};

}  // namespace Korvex::OPC::OpcDaClient
