#include "core/MainItemCache.h"

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
    cache.resolve(items, resolved, added);
    for (OpxItemIdentifier& item : added.items) {
        item.serverHandle = 1000 + item.clientHandle;
        item.dataType = Opx::VType::Int32;
    }
    cache.accept(added, errors, items, resolved);
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
        cache.resolve(again, resolved, added);
        EXPECT_TRUE(added.empty());
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

TEST(MainItemCache, AnItemThatIsStillBeingAddedIsUnknown) {
    MainItemCache cache;
    auto twice = named({OLESTR("a"), OLESTR("a")});
    ResolvedItems resolved(2);
    MainItemCache::NewItems added;
    cache.resolve(twice, resolved, added);
    EXPECT_EQ(added.items.size(), 1u);
    EXPECT_EQ(resolved.errors[1], kUnknownItemId);

    auto meanwhile = named({OLESTR("a")});
    ResolvedItems other(1);
    MainItemCache::NewItems none;
    cache.resolve(meanwhile, other, none);
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(other.errors[0], kUnknownItemId);
    EXPECT_FALSE(other.anyValid);

    cache.drop(added);
    auto afterwards = named({OLESTR("a")});
    EXPECT_EQ(resolve(cache, afterwards).errors[0], 0);
}

TEST(MainItemCache, AnErrorListShorterThanTheRequestAcceptsTheRest) {
    MainItemCache cache;
    auto items = named({OLESTR("a"), OLESTR("b")});
    const auto resolved = resolve(cache, items, {kUnknownItemId});
    EXPECT_EQ(resolved.errors, (std::vector<std::int32_t>{kUnknownItemId, 0}));
}

}  // namespace
}  // namespace OpxOpc
