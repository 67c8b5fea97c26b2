#include "core/MainItemCache.h"

#include <chrono>
#include <future>

#include <gtest/gtest.h>

namespace OpxOpc {
namespace {

constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);

std::vector<OpxItemIdentifier> named(std::initializer_list<const OLECHAR*> names) {
    std::vector<OpxItemIdentifier> items;
    for (const OLECHAR* name : names) {
        items.emplace_back();
        items.back().itemName = name;
    }
    return items;
}

// Resolves `items` and answers for the server: handle 1000 + slot, type Int32, an error where given.
ResolvedItems resolve(MainItemCache& cache, std::vector<OpxItemIdentifier>& items,
                      const std::vector<std::int32_t>& errors = {}) {
    ResolvedItems resolved(items.size());
    MainItemCache::NewItems added;
    MainItemCache::AwaitedItems awaited;
    cache.resolve(items, resolved, added, awaited);
    for (OpxItemIdentifier& item : added.items) {
        item.serverHandle = 1000 + item.clientHandle;
        item.dataType = Opx::VType::Int32;
    }
    cache.accept(added, errors, items, resolved);
    added.endAddition();
    EXPECT_EQ(cache.await(awaited, items, resolved), S_OK);
    return resolved;
}

TEST(MainItemCache, AddsAnItemOnceAndFindsItAgainByHintAndByName) {
    MainItemCache cache;
    auto items = named({OLESTR("a"), OLESTR("b")});
    EXPECT_EQ(resolve(cache, items).serverHandles, (std::vector<std::uint32_t>{1001, 1002}));
    EXPECT_EQ(items[0].dataType, Opx::VType::Int32);

    for (const std::uint32_t hint : {items[1].serverHandle, 0u, 1u, 77u}) {
        SCOPED_TRACE(hint);
        auto again = named({OLESTR("b")});
        again[0].serverHandle = hint;
        ResolvedItems resolved(1);
        MainItemCache::NewItems added;
        MainItemCache::AwaitedItems awaited;
        cache.resolve(again, resolved, added, awaited);
        EXPECT_TRUE(added.empty() && awaited.empty());
        EXPECT_EQ(resolved.serverHandles[0], 1002u);
        EXPECT_EQ(again[0].serverHandle, 2u);
        EXPECT_EQ(again[0].dataType, Opx::VType::Int32);
        EXPECT_TRUE(resolved.anyValid);
    }
}

TEST(MainItemCache, ARequestedTypeStaysWhereOneWasGiven) {
    MainItemCache cache;
    auto items = named({OLESTR("a")});
    items[0].dataType = Opx::VType::String;
    resolve(cache, items);
    EXPECT_EQ(items[0].dataType, Opx::VType::String);
    resolve(cache, items);
    EXPECT_EQ(items[0].dataType, Opx::VType::String);
}

TEST(MainItemCache, NamesDifferInCaseAndThePathDoesNotCount) {
    MainItemCache cache;
    auto items = named({OLESTR("a"), OLESTR("A"), OLESTR("c")});
    resolve(cache, items);
    auto again = named({OLESTR("A")});
    again[0].itemPath = OLESTR("elsewhere");
    EXPECT_EQ(resolve(cache, again).serverHandles[0], 1002u);
}

TEST(MainItemCache, ARefusedItemLeavesNoTraceAndItsSlotGoesToTheNextNewItem) {
    MainItemCache cache;
    auto items = named({OLESTR("good"), OLESTR("bad"), OLESTR("worse")});
    const auto resolved = resolve(cache, items, {0, kUnknownItemId, hresult(0xC0040008u)});
    EXPECT_EQ(resolved.errors, (std::vector<std::int32_t>{0, kUnknownItemId, hresult(0xC0040008u)}));
    EXPECT_TRUE(resolved.anyFailed());

    auto next = named({OLESTR("new"), OLESTR("bad"), OLESTR("newer")});
    resolve(cache, next);
    EXPECT_EQ(next[0].serverHandle, 2u);  // the slot freed first
    EXPECT_EQ(next[1].serverHandle, 3u);
    EXPECT_EQ(next[2].serverHandle, 4u);
}

TEST(MainItemCache, AnItemThatTheSameThreadIsAddingIsUnknown) {
    MainItemCache cache;
    auto twice = named({OLESTR("a"), OLESTR("a")});
    ResolvedItems resolved(2);
    MainItemCache::NewItems added;
    MainItemCache::AwaitedItems awaited;
    cache.resolve(twice, resolved, added, awaited);
    EXPECT_EQ(added.items.size(), 1u);
    EXPECT_EQ(resolved.errors[1], kUnknownItemId);

    auto meanwhile = named({OLESTR("a")});
    ResolvedItems other(1);
    MainItemCache::NewItems none;
    cache.resolve(meanwhile, other, none, awaited);
    EXPECT_TRUE(none.empty() && awaited.empty());
    EXPECT_EQ(other.errors[0], kUnknownItemId);
    EXPECT_FALSE(other.anyValid);

    cache.drop(added, E_FAIL);
    auto afterwards = named({OLESTR("a")});
    EXPECT_EQ(resolve(cache, afterwards).errors[0], 0);
}

// What another thread's addition comes to, an item of its request that it does not wait for included.
TEST(MainItemCache, AnItemThatAnotherThreadIsAddingIsWaitedFor) {
    struct Case {
        const char* what;
        void (*end)(MainItemCache&, MainItemCache::NewItems&, std::vector<OpxItemIdentifier>&, ResolvedItems&);
        HRESULT result;
        std::int32_t error;
    };
    const Case cases[] = {
        {"accepted", [](auto& cache, auto& added, auto& items, auto& of) { cache.accept(added, {}, items, of); }, S_OK,
         S_OK},
        {"refused", [](auto& cache, auto& added, auto& items, auto& of) { cache.accept(added, {E_FAIL}, items, of); },
         S_OK, E_FAIL},
        {"failed", [](auto& cache, auto& added, auto&, auto&) { cache.drop(added, E_ACCESSDENIED); }, E_ACCESSDENIED,
         S_OK},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        MainItemCache cache;
        auto items = named({OLESTR("a")});
        ResolvedItems resolved(1);
        MainItemCache::NewItems added;
        MainItemCache::AwaitedItems none;
        cache.resolve(items, resolved, added, none);
        added.items[0].serverHandle = 1001;

        ResolvedItems other(1);
        auto waiting = std::async(std::launch::async, [&] {
            auto same = named({OLESTR("a")});
            MainItemCache::NewItems nothing;
            MainItemCache::AwaitedItems awaited;
            cache.resolve(same, other, nothing, awaited);
            EXPECT_TRUE(nothing.empty());
            return cache.await(awaited, same, other);
        });
        EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        each.end(cache, added, items, resolved);
        added.endAddition();
        EXPECT_EQ(waiting.get(), each.result);
        EXPECT_EQ(other.errors[0], each.error);
        EXPECT_EQ(other.anyValid, each.result == S_OK && each.error == S_OK);
        EXPECT_EQ(other.serverHandles[0], other.anyValid ? 1001u : 0u);
    }
}

TEST(MainItemCache, AnItemThatGetsNoHandleHasThatOfNoOther) {
    MainItemCache cache;
    auto items = named({OLESTR("a")});
    ResolvedItems resolved(1);
    MainItemCache::NewItems added;
    MainItemCache::AwaitedItems awaited;
    cache.resolve(items, resolved, added, awaited);
    cache.accept(added, {}, items, resolved);
    EXPECT_EQ(resolved.serverHandles[0], 0xFFFFFFFFu);
}

TEST(MainItemCache, AnErrorListShorterThanTheRequestAcceptsTheRest) {
    MainItemCache cache;
    auto items = named({OLESTR("a"), OLESTR("b")});
    const auto resolved = resolve(cache, items, {kUnknownItemId});
    EXPECT_EQ(resolved.errors, (std::vector<std::int32_t>{kUnknownItemId, 0}));
}

}  // namespace
}  // namespace OpxOpc
