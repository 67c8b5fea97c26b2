// Browsing by whichever interfaces a server has.
#include <algorithm>
#include <string>
#include <vector>

#include "opc/browse/BrowsePages.h"
#include "tests/opc/group/GroupFixture.h"
#include "tests/support/expected_lines.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::BrowseFilter;
using OpxOpc::BrowseRequest;
using OpxOpc::OpxBrowseElement;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::vector<std::string> expected(const std::string& name) {
    return linesOf("opc/expected.trace", name);
}

constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);
constexpr HRESULT kInvalidContinuationPoint = hresult(0xC0040403u);
constexpr HRESULT kServerGone = hresult(0x800706BAu);

// "Level=Analog.Level item branch"
std::string describe(const OpxBrowseElement& element) {
    return toUtf8(element.name) + "=" + toUtf8(element.itemName) + (element.isItem ? " item" : "") +
           (element.hasChildren ? " branch" : "");
}

struct Page {
    HRESULT hr = S_OK;
    std::vector<OpxBrowseElement> elements;
    OpxString point;
    bool more = false;

    std::vector<std::string> texts() const {
        std::vector<std::string> result;
        for (const OpxBrowseElement& element : elements) result.push_back(describe(element));
        return result;
    }
};

class BrowseTest : public SimulationFixture {
protected:
    void use(int profile, const char* organisation = "hierarchical") {
        if (c.server.isConnected()) c.server.disconnectOPCServer();
        sim.profile(profile);
        sim.execute(std::string("organisation ") + organisation);
        ASSERT_EQ(c.connect(), S_OK);
    }

    Page browse(const OLECHAR* itemName = OLESTR(""), std::uint32_t most = 0, BrowseFilter filter = BrowseFilter::All,
                const OpxString& point = {}) {
        const OpxString name = itemName;
        const BrowseRequest request = {name, most, filter, {ids, all, values}, group};
        Page page;
        page.point = point;
        page.more = true;
        page.elements.resize(3);  // must not be seen again
        page.hr = c.server.browse(request, page.point, page.elements, page.more);
        return page;
    }

    std::vector<std::string> inPages(const OLECHAR* itemName, std::uint32_t most, BrowseFilter filter) {
        std::vector<std::string> result;
        Page page;
        do {
            page = browse(itemName, most, filter, page.point);
            EXPECT_EQ(page.hr, S_OK);
            EXPECT_TRUE(most == 0 || page.elements.size() <= most);
            EXPECT_EQ(page.more, !page.point.empty());
            for (std::string& text : page.texts()) result.push_back(std::move(text));
        } while (!page.point.empty() && result.size() < 5000);
        return result;
    }

    std::vector<std::uint32_t> ids;
    bool all = false;
    bool values = false;
    OpxOpc::DaGroupMgt* group = nullptr;
    Connection c;
};

std::vector<std::string> sorted(std::vector<std::string> texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
}

// ---- What is found -------------------------------------------------------------------------------

TEST_F(BrowseTest, EveryKindOfServerShowsTheSameElementsInPagesOfEverySize) {
    sim.execute("load 30");
    for (const char* organisation : {"hierarchical", "flat"}) {
        for (const OLECHAR* branch : {OLESTR(""), OLESTR("Analog"), OLESTR("Analog.Level"), OLESTR("Load")}) {
            for (const BrowseFilter filter : {BrowseFilter::All, BrowseFilter::Branch, BrowseFilter::Item}) {
                if (std::string(organisation) == "flat" && *branch != 0) continue;
                SCOPED_TRACE(std::string(organisation) + " '" + toUtf8(branch) + "' " +
                             std::to_string(static_cast<int>(filter)));
                use(3, organisation);
                const auto whole = inPages(branch, 0, filter);
                for (const int profile : {2, 3}) {
                    use(profile, organisation);
                    for (const std::uint32_t size : {0u, 1u, 2u, 5u}) {
                        EXPECT_EQ(sorted(inPages(branch, size, filter)), sorted(whole)) << profile << " " << size;
                    }
                }
            }
        }
    }
}

TEST_F(BrowseTest, BranchesComeBeforeLeavesAndOneThatIsBothComesOnce) {
    use(2);
    EXPECT_THAT(browse(OLESTR("Analog")).texts(),
                ElementsAre("Level=Analog.Level item branch", "Temperature=Analog.Temperature item branch"));
    EXPECT_EQ(browse(OLESTR("Analog.Level")).texts(), expected("BranchesComeBeforeLeavesAndOneThatIsBothComesOnce"));
    for (const auto& line : sim.journal("IOPCBrowseServerAddressSpace::BrowseOPCItemIDs")) {
        EXPECT_THAT(line, HasSubstr("filter= datatype=0 rights=0"));
    }
}

TEST_F(BrowseTest, AFlatServerHasNoBranchesAndIsNeverMoved) {
    use(2, "flat");
    EXPECT_THAT(browse(OLESTR(""), 0, BrowseFilter::Branch).texts(), IsEmpty());
    EXPECT_EQ(browse(OLESTR("Constant.Int32")).hr, S_OK);
    EXPECT_EQ(browse(OLESTR("Constant")).hr, kUnknownItemId);
    const Page items = browse();
    EXPECT_GT(items.elements.size(), 50u);
    EXPECT_EQ(describe(items.elements.at(0)),
              toUtf8(items.elements[0].name) + "=" + toUtf8(items.elements[0].name) + " item");
    EXPECT_THAT(sim.journal("IOPCBrowseServerAddressSpace::ChangeBrowsePosition"), IsEmpty());
}

TEST_F(BrowseTest, AServerThatDoesNotTellItsOrganisationIsHierarchicalWhateverTheOneBeforeItWas) {
    use(2, "flat");
    sim.fault("IOPCBrowseServerAddressSpace::QueryOrganization", E_NOTIMPL);
    use(2);
    EXPECT_THAT(browse(OLESTR("Analog"), 0, BrowseFilter::Branch).texts(),
                ElementsAre("Level=Analog.Level item branch", "Temperature=Analog.Temperature item branch"));
}

TEST_F(BrowseTest, ABranchThatIsAnItemIsOneThoughItIsNotListedAmongTheLeaves) {
    use(2);
    ASSERT_EQ(c.server.addGroup(&c.group), S_OK);
    group = &c.group;
    sim.fault("IOPCBrowseServerAddressSpace::BrowseOPCItemIDs", S_FALSE, 2);
    trace.clear();
    EXPECT_THAT(browse(OLESTR("Analog"), 0, BrowseFilter::Item).texts(),
                ElementsAre("Level=Analog.Level item branch", "Temperature=Analog.Temperature item branch"));
    EXPECT_EQ(sim.journal("IOPCItemMgt::ValidateItems").size(), 1u);
    EXPECT_EQ(describe(browse().elements.at(0)), "Access=Access branch");
    EXPECT_THAT(trace.textsWith("FAILED"), IsEmpty()) << "that a branch is no item is no error";
}

TEST_F(BrowseTest, WhatIsNoElementIsRefusedAndAnItemHasNothingBelowIt) {
    for (const int profile : {2, 3}) {
        SCOPED_TRACE(profile);
        use(profile);
        EXPECT_EQ(browse(OLESTR("No.Such.Branch")).hr, kUnknownItemId);
        const Page leaf = browse(OLESTR("Constant.Int32"));
        EXPECT_EQ(leaf.hr, S_OK);
        EXPECT_THAT(leaf.texts(), IsEmpty());
        EXPECT_FALSE(leaf.more);
    }
}

// ---- The position of an older server -------------------------------------------------------------

TEST_F(BrowseTest, AServerThatCannotMoveToAnIdIsClimbedAndDescended) {
    use(2);
    const auto level = browse(OLESTR("Analog.Level")).texts();
    browse();
    browse(OLESTR("Analog"));  // from here on the way to Analog.Level is known
    sim.clearJournal();
    sim.fault("IOPCBrowseServerAddressSpace::ChangeBrowsePosition", E_FAIL, 1);
    EXPECT_EQ(browse(OLESTR("Analog.Level")).texts(), level);
    EXPECT_THAT(
        sim.journal("IOPCBrowseServerAddressSpace::ChangeBrowsePosition"),
        ElementsAre(HasSubstr("direction=3 target=Analog.Level "), HasSubstr("direction=1 "), HasSubstr("direction=1 "),
                    HasSubstr("direction=2 target=Analog "), HasSubstr("direction=2 target=Level ")));

    // To the root there is always a way; an ID that was never listed has none.
    sim.fault("IOPCBrowseServerAddressSpace::ChangeBrowsePosition", E_FAIL, 1);
    EXPECT_EQ(browse().hr, S_OK);
    sim.fault("IOPCBrowseServerAddressSpace::ChangeBrowsePosition", E_FAIL, 1);
    EXPECT_EQ(browse(OLESTR("Signal")).hr, S_OK);
    use(2);
    sim.fault("IOPCBrowseServerAddressSpace::ChangeBrowsePosition", E_FAIL, 1);
    EXPECT_EQ(browse(OLESTR("Signal")).hr, kUnknownItemId) << "the ways are forgotten with their server";
}

TEST_F(BrowseTest, WithoutItemIdsLeavesGoByTheirNamesAndBranchesByTheirPaths) {
    use(2);
    sim.fault("IOPCBrowseServerAddressSpace::GetItemID", E_NOTIMPL);
    EXPECT_EQ(browse(OLESTR("Analog")).texts(), expected("WithoutItemIdsLeavesGoByTheirNamesAndBranchesByTheirPaths"));
    sim.clearJournal();
    EXPECT_THAT(browse(OLESTR("Analog/Level"), 0, BrowseFilter::Item).texts(),
                ElementsAre("High=High item", "Low=Low item", "Units=Units item"));
    EXPECT_THAT(sim.journal("IOPCBrowseServerAddressSpace::ChangeBrowsePosition"),
                ElementsAre(HasSubstr("direction=3 target=Analog "), HasSubstr("direction=2 target=Level ")))
        << "a name of ours means nothing to the server";
}

TEST_F(BrowseTest, AServerThatIsGoneIsNotAskedForTheOtherNames) {
    use(2);
    for (const int nth : {1, 3}) {
        sim.clearJournal();
        sim.fault("IOPCBrowseServerAddressSpace::GetItemID", kServerGone, nth);
        const Page lost = browse(OLESTR("Analog"));
        EXPECT_EQ(lost.hr, kServerGone);
        EXPECT_THAT(lost.elements, IsEmpty());
        EXPECT_EQ(sim.journal("IOPCBrowseServerAddressSpace::GetItemID").size(), static_cast<std::size_t>(nth));
    }
    EXPECT_THAT(browse(OLESTR("Analog")).texts(), ::testing::Contains("Level=Analog.Level item branch"));
}

// ---- Pages of an older server --------------------------------------------------------------------

TEST_F(BrowseTest, AContinuationPointServesItsOwnBrowseOnce) {
    use(2);
    const Page first = browse(OLESTR("Analog.Level"), 1);
    ASSERT_TRUE(first.more);
    const Page misused = browse(OLESTR("Analog.Level"), 1, BrowseFilter::Item, first.point);
    EXPECT_EQ(misused.hr, kInvalidContinuationPoint);
    EXPECT_EQ(misused.point, first.point);
    EXPECT_FALSE(misused.more);
    EXPECT_THAT(misused.elements, IsEmpty());
    EXPECT_EQ(browse(OLESTR("Analog"), 1, BrowseFilter::All, first.point).hr, kInvalidContinuationPoint);
    EXPECT_EQ(browse(OLESTR("Analog.Level"), 0, BrowseFilter::All, first.point).elements.size(), 2u);
    EXPECT_EQ(browse(OLESTR("Analog.Level"), 0, BrowseFilter::All, first.point).hr, kInvalidContinuationPoint);
    EXPECT_EQ(browse(OLESTR("Analog.Level"), 0, BrowseFilter::All, OLESTR("nonsense")).hr, kInvalidContinuationPoint);
}

TEST_F(BrowseTest, AContinuationPointDoesNotOutliveItsConnection) {
    use(2);
    const Page first = browse(OLESTR("Analog.Level"), 1);
    use(2);
    const Page next = browse(OLESTR("Analog.Level"), 1);
    EXPECT_EQ(browse(OLESTR("Analog.Level"), 0, BrowseFilter::All, first.point).hr, kInvalidContinuationPoint);
    EXPECT_EQ(browse(OLESTR("Analog.Level"), 0, BrowseFilter::All, next.point).elements.size(), 2u);
}

TEST_F(BrowseTest, APageThatCouldNotBeDeliveredCanBeAskedForAgain) {
    use(2);
    const Page first = browse(OLESTR("Analog.Level"), 1);
    all = true;
    sim.fault("IOPCItemProperties::QueryAvailableProperties", kServerGone, 2);
    const Page lost = browse(OLESTR("Analog.Level"), 2, BrowseFilter::All, first.point);
    EXPECT_EQ(lost.hr, kServerGone);
    EXPECT_EQ(lost.point, first.point);
    EXPECT_THAT(lost.elements, IsEmpty());
    EXPECT_EQ(browse(OLESTR("Analog.Level"), 2, BrowseFilter::All, first.point).elements.size(), 2u);
}

TEST(BrowsePages, AreBoundedByTheElementsThatTheyKeep) {
    OpxOpc::BrowsePages pages(10);
    const auto keep = [&](std::size_t elements) {
        return pages.keep({OLESTR("Branch"), BrowseFilter::All, std::vector<OpxOpc::ListedElement>(elements), 0});
    };
    const auto take = [&](const OpxString& token) {
        return pages.take(token, OLESTR("Branch"), BrowseFilter::All).has_value();
    };
    std::vector<OpxString> small;
    for (int i = 0; i < 10; ++i) small.push_back(keep(1));
    const OpxString another = keep(2);
    EXPECT_FALSE(take(small[0]));
    EXPECT_FALSE(take(small[1]));
    EXPECT_TRUE(take(small[2])) << "the others are kept";
    const OpxString large = keep(1000);
    EXPECT_FALSE(take(another));
    EXPECT_TRUE(take(large)) << "the newest is kept, however large";
    EXPECT_TRUE(take(keep(10))) << "what was taken does not count any more";
}

// ---- What servers do wrong -----------------------------------------------------------------------

TEST_F(BrowseTest, FailuresLeaveNoElements) {
    const struct {
        int profile;
        const char* method;
        HRESULT code;
        HRESULT expected;
    } rows[] = {
        {3, "IOPCBrowse::Browse", kServerGone, kServerGone},
        {3, "IOPCBrowse::Browse", kInvalidContinuationPoint, kInvalidContinuationPoint},
        {2, "IOPCBrowseServerAddressSpace::ChangeBrowsePosition", kServerGone, kServerGone},
        {2, "IOPCBrowseServerAddressSpace::BrowseOPCItemIDs", E_ACCESSDENIED, E_ACCESSDENIED},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.method);
        use(row.profile);
        trace.clear();
        sim.fault(row.method, row.code);
        const Page page = browse(OLESTR("Analog"));
        EXPECT_EQ(page.hr, row.expected);
        EXPECT_THAT(page.elements, IsEmpty());
        EXPECT_FALSE(page.more);
        EXPECT_TRUE(trace.hasInOrder({"--> DaServerMgtPrivate::browse", std::string("CALL ") + row.method,
                                      std::string("DONE ") + row.method + " [hr=" + hex(row.code) + "]",
                                      "<-- DaServerMgtPrivate::browse [hr=" + hex(row.expected) + "]"}))
            << trace.dump();
        sim.reset();
    }
}

TEST_F(BrowseTest, AnswersWithoutArraysAreNoElements) {
    use(2);
    sim.answer("IOPCBrowseServerAddressSpace::BrowseOPCItemIDs", "null");
    EXPECT_EQ(browse().hr, S_OK);
    EXPECT_THAT(browse().elements, IsEmpty());
    use(3);
    sim.answer("IOPCBrowse::Browse", "null-values");
    const Page page = browse();
    EXPECT_EQ(page.hr, E_FAIL);
    EXPECT_FALSE(page.more);
}

TEST_F(BrowseTest, AServerThatIsNotThereIsToldApart) {
    EXPECT_EQ(browse().hr, E_FAIL);
    EXPECT_TRUE(trace.has("<-- DaServerMgtPrivate::browse [hr=E_FAIL] - server not connected"));
    sim.refuse("IOPCBrowseServerAddressSpace");
    use(2);
    EXPECT_EQ(browse().hr, E_NOINTERFACE);
}

}  // namespace
}  // namespace Korvex::Testing
