#include "api/HandleManager.h"

namespace Korvex::OPC::OpcDaClient {

std::uint32_t HandleManager::get(std::mutex& lock, Handles& toUse, std::uint32_t& next) {
    const std::lock_guard guard(lock);
    if (toUse.empty()) return next++;
    const std::uint32_t handle = toUse.front();
    toUse.pop_front();
    return handle;
}

void HandleManager::remove(std::mutex& lock, Handles& toUse, std::uint32_t handle) {
    const std::lock_guard guard(lock);
    toUse.push_back(handle);
}

std::uint32_t HandleManager::GetSubscriptionHandle() {
    return get(m_SubscriptionHandlesToUseSyncRoot, m_SubscriptionHandlesToUse, m_NextNewSubscriptionHandle);
}

void HandleManager::RemoveSubscriptionHandle(std::uint32_t handle) {
    remove(m_SubscriptionHandlesToUseSyncRoot, m_SubscriptionHandlesToUse, handle);
}

std::uint32_t HandleManager::GetReadAsyncHandle() {
    return get(m_ReadAsyncHandlesToUseSyncRoot, m_ReadAsyncHandlesToUse, m_NextReadAsyncHandle);
}

void HandleManager::RemoveReadAsyncHandle(std::uint32_t handle) {
    remove(m_ReadAsyncHandlesToUseSyncRoot, m_ReadAsyncHandlesToUse, handle);
}

std::uint32_t HandleManager::GetWriteAsyncHandle() {
    return get(m_WriteAsyncHandlesToUseSyncRoot, m_WriteAsyncHandlesToUse, m_NextWriteAsyncHandle);
}

void HandleManager::RemoveWriteAsyncHandle(std::uint32_t handle) {
    remove(m_WriteAsyncHandlesToUseSyncRoot, m_WriteAsyncHandlesToUse, handle);
}

}  // namespace Korvex::OPC::OpcDaClient
