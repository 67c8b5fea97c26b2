#include "api/HandleManager.h"

#include <algorithm>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

struct Pool {
    const char* name;
    std::uint32_t (HandleManager::*get)();
    void (HandleManager::*remove)(std::uint32_t);
};
constexpr Pool kPools[] = {
    {"subscriptions", &HandleManager::GetSubscriptionHandle, &HandleManager::RemoveSubscriptionHandle},
    {"reads", &HandleManager::GetReadAsyncHandle, &HandleManager::RemoveReadAsyncHandle},
    {"writes", &HandleManager::GetWriteAsyncHandle, &HandleManager::RemoveWriteAsyncHandle},
};

TEST(HandleManager, EachPoolReusesTheHandleThatWasFreedLongestAgo) {
    HandleManager handles;
    for (const Pool& pool : kPools) {
        SCOPED_TRACE(pool.name);
        const auto get = [&] { return (handles.*pool.get)(); };
        for (std::uint32_t expected = 0; expected < 4; ++expected) EXPECT_EQ(get(), expected);
        for (const std::uint32_t freed : {2U, 0U, 3U}) (handles.*pool.remove)(freed);
        for (const std::uint32_t expected : {2U, 0U, 3U, 4U}) EXPECT_EQ(get(), expected);
    }
}

TEST(HandleManager, WhatIsGivenBackIsNotTested) {
    HandleManager handles;
    for (const std::uint32_t freed : {77U, 77U}) handles.RemoveSubscriptionHandle(freed);
    for (const std::uint32_t expected : {77U, 77U, 0U}) EXPECT_EQ(handles.GetSubscriptionHandle(), expected);
}

TEST(HandleManager, ThreadsNeverHoldTheSameHandle) {
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kHandles = 500;
    HandleManager handles;
    std::vector<std::vector<std::uint32_t>> held(kThreads);
    std::vector<std::thread> threads;
    for (auto& own : held) {
        threads.emplace_back([&] {
            for (std::size_t i = 0; i < kHandles; ++i) {
                handles.RemoveReadAsyncHandle(handles.GetReadAsyncHandle());
                own.push_back(handles.GetReadAsyncHandle());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::vector<std::uint32_t> all;
    for (const auto& own : held) all.insert(all.end(), own.begin(), own.end());
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
