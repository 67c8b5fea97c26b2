// Browsing by whichever interfaces a server has.
#include <algorithm>
#include <string>
#include <vector>

#include "opc/browse/BrowsePages.h"
#include "tests/opc/group/GroupFixture.h"
#include "tests/support/SimulationSteps.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::BrowseFilter;
using Filters = std::map<std::string, BrowseFilter>;

const Filters kFilters = {{"all", BrowseFilter::All}, {"branch", BrowseFilter::Branch}, {"item", BrowseFilter::Item}};

class BrowseTest : public SimulationFixture {
protected:
    struct Page {
        HRESULT hr = S_OK;
        std::vector<std::string> texts;
        OpxString point;
        bool more = true;
    };

    BrowseTest() {
        addSimulationSteps(steps, sim, trace);
        steps.addSilent("use", [this](const Step& step) {
            use(step.number(0), step.names.size() > 1 ? step.names[1] : "hierarchical");
        });
        steps.addSilent("withgroup", [this](const Step&) {
            EXPECT_EQ(c.server.addGroup(&c.group), S_OK);
            group = &c.group;
        });
        steps.add("browse", [this](const Step& step) { return browse(step); });
        // "3 Analog" for each move: its direction and its target, if there is one.
        steps.add("moves", [this](const Step&) {
            std::string moves;
            for (const std::string& call : sim.journal("IOPCBrowseServerAddressSpace::ChangeBrowsePosition")) {
                std::istringstream words(call);
                std::string direction, target;
                words >> direction >> direction >> target;
                target.erase(0, std::string("target=").size());
                moves += (moves.empty() ? "" : ", ") + direction.substr(std::string("direction=").size()) +
                         (target.empty() ? "" : " " + target);
            }
            return moves;
        });
    }

    void use(std::uint32_t profile, const std::string& organisation) {
        if (c.server.isConnected()) c.server.disconnectOPCServer();
        sim.profile(static_cast<int>(profile));
        sim.execute("organisation " + organisation);
        ASSERT_EQ(c.connect(), S_OK);
    }
    Page browse(const OpxString& branch, std::uint32_t most, BrowseFilter filter, const OpxString& point = {}) {
        Page page;
        page.point = point;
        std::vector<OpxOpc::OpxBrowseElement> elements(3);  // must not be seen again
        page.hr = c.server.browse({branch, most, filter, {{}, all, false}, group}, page.point, elements, page.more);
        for (const auto& each : elements)
            page.texts.push_back(toUtf8(each.name) + "=" + toUtf8(each.itemName) + (each.hasChildren ? "/" : "") +
                                 (each.isItem ? "*" : ""));
        return page;
    }
    std::string browse(const Step& step) {
        const OpxString point = fromUtf8(step.setting("point").value_or(""));
        all = step.numberOf("all", 0) != 0;
        const Page page =
            browse(step.name(), step.numberOf("most", 0), kFilters.at(step.setting("filter").value_or("all")),
                   point == OLESTR("kept") ? kept : point);
        if (step.setting("keep")) kept = page.point;
        std::string answer = told(page.hr);
        for (const std::string& text : page.texts) answer += " " + text;
        if (page.more) answer += " ...";
        EXPECT_TRUE(failed(page.hr) || page.more == !page.point.empty());
        return failed(page.hr) && !kept.empty() && page.point == kept ? answer + " point kept" : answer;
    }
    // All elements of the pages of that size, in the order of their texts.
    std::vector<std::string> inPages(const OpxString& branch, std::uint32_t most, BrowseFilter filter) {
        std::vector<std::string> result;
        Page page;
        do {
            page = browse(branch, most, filter, page.point);
            EXPECT_EQ(page.hr, S_OK);
            EXPECT_TRUE(most == 0 || page.texts.size() <= most);
            EXPECT_EQ(page.more, !page.point.empty());
            result.insert(result.end(), page.texts.begin(), page.texts.end());
        } while (!page.point.empty() && result.size() < 5000);
        std::sort(result.begin(), result.end());
        return result;
    }

    Connection c;
    OpxOpc::DaGroupMgt* group = nullptr;
    bool all = false;
    OpxString kept;  // a continuation point
    Steps steps;
};

class Browsing : public BrowseTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(Browsing, IsAsItsSessionsTell) {
    steps.playAll(linesOf("opc/browse/sessions.txt", GetParam()));
}
INSTANTIATE_TEST_SUITE_P(Sessions, Browsing, ::testing::ValuesIn(sectionsOf("opc/browse/sessions.txt")), nameOfSection);

TEST_F(BrowseTest, EveryKindOfServerShowsTheSameElementsInPagesOfEverySize) {
    sim.execute("load 30");
    const std::pair<const char*, OpxString> branches[] = {{"hierarchical", OLESTR("")},
                                                          {"hierarchical", OLESTR("Analog")},
                                                          {"hierarchical", OLESTR("Analog.Level")},
                                                          {"hierarchical", OLESTR("Load")},
                                                          {"flat", OLESTR("")}};
    for (const auto& [organisation, branch] : branches) {
        for (const auto& [name, filter] : kFilters) {
            SCOPED_TRACE(organisation + (" '" + toUtf8(branch)) + "' " + name);
            use(3, organisation);
            const auto whole = inPages(branch, 0, filter);
            for (const std::uint32_t profile : {2u, 3u}) {
                use(profile, organisation);
                for (const std::uint32_t size : {0u, 1u, 2u, 5u})
                    EXPECT_EQ(inPages(branch, size, filter), whole) << profile << " " << size;
            }
        }
    }
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

}  // namespace
}  // namespace Korvex::Testing
