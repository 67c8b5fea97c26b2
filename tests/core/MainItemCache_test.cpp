#include "core/MainItemCache.h"

#include <chrono>
#include <future>

#include <gtest/gtest.h>

#include "tests/support/SimulationSteps.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::itemsNamed;

constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);

// What a thread resolves.
struct Request {
    Request(MainItemCache& cache, const std::vector<std::string>& names, std::uint32_t hint = 0)
        : items(itemsNamed(names)), resolved(items.size()) {
        items[0].serverHandle = hint;
        cache.resolve(items, resolved, added, awaited);
    }

    std::vector<OpxItemIdentifier> items;
    ResolvedItems resolved;
    MainItemCache::NewItems added;
    MainItemCache::AwaitedItems awaited;
};

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
    auto items = itemsNamed({"a", "b"});
    EXPECT_EQ(resolve(cache, items).serverHandles, (std::vector<std::uint32_t>{1001, 1002}));
    EXPECT_EQ(items[0].dataType, Opx::VType::Int32);

    for (const std::uint32_t hint : {items[1].serverHandle, 0u, 1u, 77u}) {
        SCOPED_TRACE(hint);
        const Request again(cache, {"b"}, hint);
        EXPECT_TRUE(again.added.empty() && again.awaited.empty());
        EXPECT_EQ(again.resolved.serverHandles[0], 1002u);
        EXPECT_EQ(again.items[0].serverHandle, 2u);
        EXPECT_EQ(again.items[0].dataType, Opx::VType::Int32);
        EXPECT_TRUE(again.resolved.anyValid);
    }
}

TEST(MainItemCache, ARequestedTypeStaysWhereOneWasGiven) {
    MainItemCache cache;
    auto items = itemsNamed({"a"});
    items[0].dataType = Opx::VType::String;
    resolve(cache, items);
    EXPECT_EQ(items[0].dataType, Opx::VType::String);
    resolve(cache, items);
    EXPECT_EQ(items[0].dataType, Opx::VType::String);
}

TEST(MainItemCache, NamesDifferInCaseAndThePathDoesNotCount) {
    MainItemCache cache;
    auto items = itemsNamed({"a", "A", "c"});
    resolve(cache, items);
    auto again = itemsNamed({"A"});
    again[0].itemPath = OLESTR("elsewhere");
    EXPECT_EQ(resolve(cache, again).serverHandles[0], 1002u);
}

TEST(MainItemCache, ARefusedItemLeavesNoTraceAndItsSlotGoesToTheNextNewItem) {
    MainItemCache cache;
    auto items = itemsNamed({"good", "bad", "worse"});
    const auto resolved = resolve(cache, items, {0, kUnknownItemId, hresult(0xC0040008u)});
    EXPECT_EQ(resolved.errors, (std::vector<std::int32_t>{0, kUnknownItemId, hresult(0xC0040008u)}));
    EXPECT_TRUE(resolved.anyFailed());

    auto next = itemsNamed({"new", "bad", "newer"});
    resolve(cache, next);
    EXPECT_EQ(next[0].serverHandle, 2u);  // the slot freed first
    EXPECT_EQ(next[1].serverHandle, 3u);
    EXPECT_EQ(next[2].serverHandle, 4u);
}

TEST(MainItemCache, AnItemThatTheSameThreadIsAddingIsUnknown) {
    MainItemCache cache;
    Request twice(cache, {"a", "a"});
    EXPECT_EQ(twice.added.items.size(), 1u);
    EXPECT_EQ(twice.resolved.errors[1], kUnknownItemId);
    const Request meanwhile(cache, {"a"});
    EXPECT_TRUE(meanwhile.added.empty() && meanwhile.awaited.empty());
    EXPECT_EQ(meanwhile.resolved.errors[0], kUnknownItemId);
    EXPECT_FALSE(meanwhile.resolved.anyValid);
    cache.drop(twice.added, E_FAIL);
    auto afterwards = itemsNamed({"a"});
    EXPECT_EQ(resolve(cache, afterwards).errors[0], 0);
}

// What another thread's addition comes to, an item of its request that it does not wait for included.
TEST(MainItemCache, AnItemThatAnotherThreadIsAddingIsWaitedFor) {
    struct Case {
        void (*end)(MainItemCache&, Request&);
        HRESULT result;
        std::int32_t error;
    };
    const Case cases[] = {
        {[](auto& cache, auto& own) { cache.accept(own.added, {}, own.items, own.resolved); }, S_OK, S_OK},
        {[](auto& cache, auto& own) { cache.accept(own.added, {E_FAIL}, own.items, own.resolved); }, S_OK, E_FAIL},
        {[](auto& cache, auto& own) { cache.drop(own.added, E_ACCESSDENIED); }, E_ACCESSDENIED, S_OK}};
    for (const Case& each : cases) {
        MainItemCache cache;
        Request own(cache, {"a"});
        own.added.items[0].serverHandle = 1001;
        ResolvedItems other(1);
        auto waiting = std::async(std::launch::async, [&] {
            Request same(cache, {"a"});
            EXPECT_TRUE(same.added.empty());
            const HRESULT hr = cache.await(same.awaited, same.items, same.resolved);
            other = same.resolved;
            return hr;
        });
        EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        each.end(cache, own);
        own.added.endAddition();
        EXPECT_EQ(waiting.get(), each.result);
        EXPECT_EQ(other.errors[0], each.error);
        EXPECT_EQ(other.anyValid, each.result == S_OK && each.error == S_OK);
        EXPECT_EQ(other.serverHandles[0], other.anyValid ? 1001u : 0u);
    }
}

TEST(MainItemCache, AnItemThatGetsNoHandleHasThatOfNoOther) {
    MainItemCache cache;
    Request one(cache, {"a"});
    cache.accept(one.added, {}, one.items, one.resolved);
    EXPECT_EQ(one.resolved.serverHandles[0], 0xFFFFFFFFu);
}

TEST(MainItemCache, AnErrorListShorterThanTheRequestAcceptsTheRest) {
    MainItemCache cache;
    auto items = itemsNamed({"a", "b"});
    const auto resolved = resolve(cache, items, {kUnknownItemId});
    EXPECT_EQ(resolved.errors, (std::vector<std::int32_t>{kUnknownItemId, 0}));
}

}  // namespace
}  // namespace OpxOpc
