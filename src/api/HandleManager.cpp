#include "api/HandleManager.h"

namespace Korvex::OPC::OpcDaClient {

std::uint32_t HandleManager::Pool::get() {
    const ScopedLock guard(lock_);
    if (toUse_.empty()) return next_++;
    const std::uint32_t handle = toUse_.front();
    toUse_.pop_front();
    return handle;
}

void HandleManager::Pool::giveBack(std::uint32_t handle) {
    const ScopedLock guard(lock_);
    toUse_.push_back(handle);
}

std::uint32_t HandleManager::GetSubscriptionHandle() {
    return m_SubscriptionHandles.get();
}

void HandleManager::RemoveSubscriptionHandle(std::uint32_t handle) {
    m_SubscriptionHandles.giveBack(handle);
}

std::uint32_t HandleManager::GetReadAsyncHandle() {
    return m_ReadAsyncHandles.get();
}

void HandleManager::RemoveReadAsyncHandle(std::uint32_t handle) {
    m_ReadAsyncHandles.giveBack(handle);
}

std::uint32_t HandleManager::GetWriteAsyncHandle() {
    return m_WriteAsyncHandles.get();
}

void HandleManager::RemoveWriteAsyncHandle(std::uint32_t handle) {
    m_WriteAsyncHandles.giveBack(handle);
}

}  // namespace Korvex::OPC::OpcDaClient
