// Walks through address spaces that no server in its right mind has.
#include "tools/opcda/AddressSpaceWalk.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace Korvex::Tool {
namespace {

using OPC::OpcDaClient::NullableText;
using Element = AddressSpaceWalk::Element;
using ::testing::ElementsAre;

Element element(const std::string& name, bool hasChildren) {
    Element made;
    made.Name(name);
    made.ItemName(name);
    made.HasChildren(hasChildren);
    return made;
}

struct Recorder final : AddressSpaceWalk::Visitor {
    std::vector<std::string> entered;
    std::size_t deepest = 0;
    std::size_t left = 0;

    void enter(const Element& each, std::size_t depth) override {
        entered.push_back(toUtf8(each.Name().valueOrEmpty()));
        deepest = std::max(deepest, depth);
    }
    void leave() override { ++left; }
};

AddressSpaceWalk walk(AddressSpaceWalk::Browse browse, std::size_t maxDepth, Recorder& recorder) {
    return {std::move(browse),
            maxDepth,
            recorder,
            {[](std::size_t) {}, [](const std::string&, const std::string& why) { ADD_FAILURE() << why; },
             [] { return false; }}};
}

TEST(AddressSpaceWalk, AnAddressSpaceThatGrowsEverDeeperIsLeftAtTheDepth) {
    Recorder recorder;
    const auto deeper = [](const std::string& itemName, NullableText&) {
        return std::vector<Element>{element(std::to_string(itemName.empty() ? 1 : std::stoi(itemName) + 1), true)};
    };
    auto toDepth = walk(deeper, 20000, recorder);
    toDepth.below("");
    EXPECT_EQ(recorder.entered.size(), 20000u);
    EXPECT_EQ(recorder.deepest, 19999u);
    EXPECT_EQ(recorder.left, 20000u);
    EXPECT_TRUE(toDepth.reachedDepth());
}

TEST(AddressSpaceWalk, EveryElementIsLeftAfterWhatLiesBelowIt) {
    Recorder recorder;
    auto shallow = walk(
        [](const std::string& itemName, NullableText&) -> std::vector<Element> {
            if (itemName.empty()) return {element("a", true), element("d", false)};
            return {element("b", false), element("a", true), element("c", false)};  // below itself
        },
        2, recorder);
    shallow.below("");
    EXPECT_THAT(recorder.entered, ElementsAre("a", "b", "a", "c", "d"));
    EXPECT_EQ(recorder.left, 5u);
    EXPECT_FALSE(shallow.reachedDepth());
}

TEST(AddressSpaceWalk, APageThatBringsNothingNewIsTheLast) {
    Recorder recorder;
    int pages = 0;
    const std::vector<std::vector<Element>> answers = {
        {element("a", false)}, {element("a", false), element("b", false)}, {element("b", false)}};
    auto endless = walk(
        [&](const std::string&, NullableText& continuationPoint) {
            continuationPoint = "on";
            return answers[std::min<std::size_t>(pages++, 2)];
        },
        1, recorder);
    endless.below("");
    EXPECT_EQ(pages, 3);
    EXPECT_THAT(recorder.entered, ElementsAre("a", "a", "b"));
}

}  // namespace
}  // namespace Korvex::Tool
