// What data access 2.0 servers of odd manners list.
#include "opc/browse/BranchLister.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "com/ComObject.h"
#include "com/owners.h"
#include "opc/rpc_errors.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::BranchLister;
using OpxOpc::ListedElement;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);
constexpr HRESULT kServerFault = hresult(0x80010105u);

// An element without an ID has none that the server could tell.
struct Leaf {
    OpxString name;
    OpxString id;
};
struct Branch {
    OpxString name;
    OpxString id;
    std::vector<Branch> branches;
    std::vector<Leaf> leaves;
};

class NameEnumerator final : public Com::ComObject<IEnumString> {
public:
    NameEnumerator(std::vector<OpxString> names, bool endless) : names_(std::move(names)), endless_(endless) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, LPOLESTR* out, ULONG* fetched) override {
        for (*fetched = 0; *fetched < count && next_ < names_.size(); ++*fetched) {
            out[*fetched] = Com::copyToTaskMemory(names_[next_++]);
            if (endless_ && next_ == names_.size()) next_ = 0;
        }
        return *fetched == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumString**) override { return E_NOTIMPL; }

private:
    const std::vector<OpxString> names_;
    const bool endless_;
    std::size_t next_ = 0;
};

// Lives on the stack of its test, as do its properties.
class OddSpace final : public IOPCBrowseServerAddressSpace {
public:
    Branch root;
    bool findsIds = false;                 // a move to an ID leads to the first branch that has it
    HRESULT unknownBranch = E_INVALIDARG;  // the answer to a move that is none
    HRESULT withoutId = E_INVALIDARG;
    bool givesPositionsId = false;  // as every branch's
    bool endless = false;
    std::size_t idsAsked = 0;
    std::map<OPCBROWSEDIRECTION, int> moves;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE QueryOrganization(OPCNAMESPACETYPE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BrowseAccessPaths(LPCWSTR, LPENUMSTRING*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE ChangeBrowsePosition(OPCBROWSEDIRECTION direction, LPCWSTR target) override {
        ++moves[direction];
        if (direction == OPC_BROWSE_UP) {
            if (way_.empty()) return E_FAIL;
            way_.pop_back();
            return S_OK;
        }
        if (direction == OPC_BROWSE_DOWN) {
            for (const Branch& branch : here().branches) {
                if (branch.name != target) continue;
                way_.push_back(&branch);
                return S_OK;
            }
            return unknownBranch;
        }
        std::vector<const Branch*> way;
        if (*target && (!findsIds || !find(root, target, way))) return unknownBranch;
        way_ = std::move(way);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE BrowseOPCItemIDs(OPCBROWSETYPE type, LPCWSTR, VARTYPE, DWORD,
                                               LPENUMSTRING* names) override {
        std::vector<OpxString> found;
        if (type == OPC_BRANCH)
            for (const Branch& branch : here().branches) found.push_back(branch.name);
        else
            for (const Leaf& leaf : here().leaves) found.push_back(leaf.name);
        *names = new NameEnumerator(std::move(found), endless);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetItemID(LPWSTR name, LPWSTR* itemId) override {
        ++idsAsked;
        *itemId = nullptr;
        OpxString id = givesPositionsId ? here().id : OpxString();
        for (const Branch& branch : givesPositionsId ? std::vector<Branch>() : here().branches)
            if (branch.name == name) id = branch.id;
        for (const Leaf& leaf : here().leaves)
            if (leaf.name == name) id = leaf.id;
        if (id.empty()) return withoutId;
        *itemId = Com::copyToTaskMemory(id);
        return S_OK;
    }

private:
    const Branch& here() const { return way_.empty() ? root : *way_.back(); }
    static bool find(const Branch& above, const OpxString& id, std::vector<const Branch*>& way) {
        for (const Branch& branch : above.branches) {
            way.push_back(&branch);
            if (branch.id == id || find(branch, id, way)) return true;
            way.pop_back();
        }
        return false;
    }

    std::vector<const Branch*> way_;
};

class OddProperties final : public IOPCItemProperties {
public:
    std::set<OpxString> items;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE QueryAvailableProperties(LPWSTR item, DWORD*, DWORD**, LPWSTR**, VARTYPE**) override {
        return items.contains(item) ? S_OK : kUnknownItemId;
    }
    HRESULT STDMETHODCALLTYPE GetItemProperties(LPWSTR, DWORD, DWORD*, VARIANT**, HRESULT**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE LookupItemIDs(LPWSTR, DWORD, DWORD*, LPWSTR**, HRESULT**) override { return E_NOTIMPL; }
};

class BranchListerTest : public ::testing::Test {
protected:
    // "Name=ID", with "/" for a branch and "*" for an item.
    std::vector<std::string> list(const OpxString& itemName = {}) {
        std::vector<ListedElement> elements;
        result = lister.list(space, properties, itemName, itemTest, elements);
        std::vector<std::string> texts;
        for (const ListedElement& element : elements) {
            texts.push_back(toUtf8(element.name) + "=" + toUtf8(element.itemName) + (element.hasChildren ? "/" : "") +
                            (element.isItem ? "*" : ""));
        }
        return failed(result) ? std::vector<std::string>() : texts;
    }

    OddSpace space;
    OddProperties properties;
    BranchLister lister;
    OpxOpc::ItemTest itemTest;
    HRESULT result = S_OK;
};

// ---- Names of ours -------------------------------------------------------------------------------

TEST_F(BranchListerTest, ANameOfOursIsNoOtherElements) {
    space.root.branches = {{OLESTR("A"), {}, {{OLESTR("B"), {}, {}, {{OLESTR("inner"), OLESTR("1")}}}}, {}},
                           {OLESTR("A/B"), {}, {}, {{OLESTR("outer"), OLESTR("2")}}}};
    EXPECT_THAT(list(), ElementsAre("A=A/", "A/B=A/B/"));
    EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=A/B~2/"));
    EXPECT_THAT(list(OLESTR("A/B")), ElementsAre("outer=2*"));
    EXPECT_THAT(list(OLESTR("A/B~2")), ElementsAre("inner=1*"));
    EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=A/B~2/")) << "it stays";
    space.root.branches[0].branches.push_back({OLESTR("B~2"), {}, {}, {}});
    EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=A/B~2/", "B~2=A/B~2~2/"));
}

TEST_F(BranchListerTest, AnIdThatANameOfOursHasTakenIsNotGivenToItsBranch) {
    space.root.branches = {{OLESTR("A"), {}, {{OLESTR("B"), {}, {}, {{OLESTR("inner"), OLESTR("1")}}}}, {}},
                           {OLESTR("C"), {}, {{OLESTR("D"), OLESTR("A/B"), {}, {{OLESTR("outer"), OLESTR("2")}}}}, {}}};
    list();
    EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=A/B/"));
    EXPECT_THAT(list(OLESTR("C")), ElementsAre("D=C/D/"));
    EXPECT_THAT(list(OLESTR("C/D")), ElementsAre("outer=2*"));
    EXPECT_THAT(list(OLESTR("A/B")), ElementsAre("inner=1*"));
}

TEST_F(BranchListerTest, ANameOfOursIsNoItems) {
    space.root.branches = {
        {OLESTR("A"), {}, {{OLESTR("B"), {}, {}, {}}, {OLESTR("C"), {}, {}, {}}}, {{OLESTR("x"), OLESTR("A/B")}}}};
    itemTest = [](const std::vector<OpxString>& names, std::vector<bool>& areItems) {
        areItems.clear();
        for (const OpxString& name : names) areItems.push_back(name == OLESTR("A/C"));
        return S_OK;
    };
    list();
    EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=A/B~2/", "C=A/C~2/", "x=A/B*"));
}

TEST_F(BranchListerTest, RepeatedIdsLeadToTheirOwnBranches) {
    for (const bool findsIds : {false, true}) {
        SCOPED_TRACE(findsIds);
        const auto area = [](const OLECHAR* name, const OLECHAR* item) {
            return Branch{name, name, {{OLESTR("Pumps"), OLESTR("Pumps"), {}, {{item, item}}}}, {}};
        };
        space.findsIds = findsIds;
        space.root.branches = {area(OLESTR("North"), OLESTR("P1")), area(OLESTR("South"), OLESTR("P2"))};
        list();
        EXPECT_THAT(list(OLESTR("North")), ElementsAre("Pumps=Pumps/"));
        EXPECT_THAT(list(OLESTR("South")), ElementsAre("Pumps=South/Pumps/"));
        EXPECT_THAT(list(OLESTR("Pumps")), ElementsAre("P1=P1*"));
        EXPECT_THAT(list(OLESTR("South/Pumps")), ElementsAre("P2=P2*"));
    }
}

TEST_F(BranchListerTest, AnItemListedInASecondPlaceIsTheSameItem) {
    const Branch plant = {OLESTR("Plant"), OLESTR("Plant"), {{OLESTR("Unit"), OLESTR("Plant.Unit"), {}, {}}}, {}};
    const Branch area = {OLESTR("Area"), OLESTR("Area"), {}, {}};
    space.root.branches = {plant, area, {OLESTR("Favorites"), OLESTR("Favorites"), {plant, area}, {}}};
    const auto& favorites = space.root.branches[2];
    itemTest = [](const std::vector<OpxString>& names, std::vector<bool>& areItems) {
        areItems.clear();
        for (const OpxString& name : names) areItems.push_back(name == OLESTR("Plant"));
        return S_OK;
    };
    for (int round = 0; round < 2; ++round) {
        EXPECT_THAT(list(), ElementsAre("Plant=Plant/*", "Area=Area/", "Favorites=Favorites/"));
        EXPECT_THAT(list(OLESTR("Favorites")), ElementsAre("Plant=Plant/*", "Area=Favorites/Area/"));
        EXPECT_THAT(list(OLESTR("Plant")), ElementsAre("Unit=Plant.Unit/"));
    }
    itemTest = nullptr;
    EXPECT_THAT(list(OLESTR("Favorites")), ElementsAre("Plant=Favorites/Plant/", "Area=Favorites/Area/"));
    space.root.branches[2].leaves = {{OLESTR("Plant"), favorites.branches[0].id}};
    EXPECT_THAT(list(OLESTR("Favorites")), ElementsAre("Plant=Plant/*", "Area=Favorites/Area/")) << "its own leaf";
}

TEST_F(BranchListerTest, AnItemBelowItselfIsKnownByItsId) {
    itemTest = [](const std::vector<OpxString>& names, std::vector<bool>& areItems) {
        areItems.assign(names.size(), true);
        return S_OK;
    };
    Branch inner = {OLESTR("A"), OLESTR("A"), {}, {}};
    for (int depth = 0; depth < 2; ++depth) inner.branches = {{OLESTR("B"), OLESTR("B"), {inner}, {}}};
    space.root.branches = {inner};
    for (const bool fromRoot : {false, true}) {
        space.findsIds = true;
        if (fromRoot) list();
        EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=B/*"));
        EXPECT_THAT(list(OLESTR("B")), ElementsAre("A=A/*"));
    }
}

TEST_F(BranchListerTest, ABranchKnownFromElsewhereKeepsItsId) {
    space.findsIds = true;
    space.root.branches = {
        {OLESTR("A"), OLESTR("A"), {{OLESTR("B"), OLESTR("A.B"), {{OLESTR("C"), OLESTR("A.B.C"), {}, {}}}, {}}}, {}}};
    for (int round = 0; round < 2; ++round) {
        EXPECT_THAT(list(OLESTR("A.B")), ElementsAre("C=A.B.C/"));
        EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=A.B/"));
        EXPECT_THAT(list(), ElementsAre("A=A/"));
    }
    space.findsIds = false;
    EXPECT_THAT(list(OLESTR("A.B.C")), IsEmpty());
    EXPECT_EQ(result, S_OK) << "the way from the root is known by now";
}

TEST_F(BranchListerTest, ABranchBelowItselfEndsNoRoutes) {
    space.findsIds = true;
    const Branch inner = {OLESTR("t"), OLESTR("T"), {{OLESTR("s"), OLESTR("S"), {}, {}}}, {}};
    const Branch s = {OLESTR("s"), OLESTR("S"), {{OLESTR("p"), OLESTR("P"), {inner}, {}}}, {}};
    space.root.branches = {s, {OLESTR("t"), OLESTR("T"), {s}, {}}};
    for (const OLECHAR* each : {OLESTR("S"), OLESTR("T"), OLESTR("P"), OLESTR("S"), OLESTR("T"), OLESTR("")})
        list(each);
    space.findsIds = false;
    for (const OLECHAR* each : {OLESTR("S"), OLESTR("T"), OLESTR("P")}) {
        list(each);
        EXPECT_EQ(result, S_OK) << toUtf8(each);
    }
}

TEST_F(BranchListerTest, ANameOfOursIsNotTheBeginningOfItsOwnRoute) {
    space.findsIds = true;
    const Branch x = {OLESTR("Z"), OLESTR("X"), {{OLESTR("Y"), {}, {}, {}}}, {}};
    space.root.branches = {{OLESTR("start"), OLESTR("X/Y"), {x}, {}}};
    EXPECT_THAT(list(OLESTR("X/Y")), ElementsAre("Z=X/"));
    EXPECT_THAT(list(OLESTR("X")), ElementsAre("Y=X/Y~2/"));
}

TEST_F(BranchListerTest, ABranchWithoutANameSpoilsNoRoute) {
    space.root.branches = {{{}, {}, {}, {}},
                           {OLESTR("A"), {}, {{OLESTR("B"), {}, {}, {{OLESTR("x"), OLESTR("1")}}}}, {}}};
    EXPECT_THAT(list(), ElementsAre("=~2/", "A=A/"));
    EXPECT_THAT(list(), SizeIs(2));
    EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=A/B/"));
    EXPECT_THAT(list(OLESTR("A/B")), ElementsAre("x=1*"));
}

// ---- IDs of the position -------------------------------------------------------------------------

TEST_F(BranchListerTest, TheBrowsedBranchsOwnIdIsNoneOfTheBranchesBelow) {
    space.givesPositionsId = true;
    space.findsIds = true;
    Branch a = {OLESTR("A"), OLESTR("A"), {}, {}};
    for (const OLECHAR* name : {OLESTR("B"), OLESTR("C")})
        a.branches.push_back({name, OLESTR("A"), {}, {{name, name}}});
    space.root.branches = {a};
    for (int round = 0; round < 3; ++round) {
        EXPECT_THAT(list(), ElementsAre("A=A/"));
        EXPECT_THAT(list(OLESTR("A")), ElementsAre("B=A/B/", "C=A/C/"));
        EXPECT_THAT(list(OLESTR("A/C")), ElementsAre("C=C*"));
    }
    space.root.id = OLESTR("Root");
    space.root.branches.push_back({OLESTR("D"), {}, {}, {}});
    EXPECT_THAT(list(), ElementsAre("A=A/", "D=D/")) << "an ID that several have";
}

TEST_F(BranchListerTest, ManyBranchesWithTheBrowsedOnesIdAreListedInTimeOfTheirNumber) {
    space.givesPositionsId = true;
    space.findsIds = true;
    space.root.branches = {{OLESTR("A"), OLESTR("A"), {}, {}}};
    auto& below = space.root.branches[0].branches;
    for (int i = 0; i < 40960; ++i) below.push_back({fromUtf8(std::to_string(i)), {}, {}, {}});
    for (int round = 0; round < 3; ++round) {
        const auto listed = list(OLESTR("A"));
        ASSERT_THAT(listed, SizeIs(40960));
        EXPECT_EQ(listed.back(), "40959=A/40959/");
    }
    space.moves.clear();
    EXPECT_THAT(list(OLESTR("A/40959")), IsEmpty());
    EXPECT_THAT(space.moves, ElementsAre(Pair(OPC_BROWSE_DOWN, 1), Pair(OPC_BROWSE_TO, 1))) << "routes do not grow";
}

// ---- Answers -------------------------------------------------------------------------------------

TEST_F(BranchListerTest, SuccessWithoutAMoveIsNoMove) {
    space.unknownBranch = S_FALSE;
    space.root.branches = {{OLESTR("A"), {}, {{OLESTR("B"), {}, {}, {{OLESTR("x"), OLESTR("1")}}}}, {}}};
    list(OLESTR("No.Such"));
    EXPECT_EQ(result, kUnknownItemId);
    properties.items = {OLESTR("1")};
    EXPECT_THAT(list(OLESTR("1")), IsEmpty());
    EXPECT_EQ(result, S_OK);

    list();
    list(OLESTR("A"));
    EXPECT_THAT(list(OLESTR("A/B")), ElementsAre("x=1*"));
    space.root.branches[0].branches[0].name = OLESTR("Renamed");
    list(OLESTR("A/B"));
    EXPECT_EQ(result, kUnknownItemId) << "a step of the way that is no move";
}

TEST_F(BranchListerTest, AFaultOfOneCallIsNotTheServersEnd) {
    space.withoutId = kServerFault;
    space.root.branches = {{OLESTR("A"), {}, {}, {{OLESTR("x"), OLESTR("1")}}}, {OLESTR("B"), OLESTR("B"), {}, {}}};
    EXPECT_THAT(list(), ElementsAre("A=A/", "B=B/"));
    space.unknownBranch = kServerFault;
    EXPECT_THAT(list(OLESTR("A")), ElementsAre("x=1*"));
    for (const std::uint32_t end : {0x800706BAu, 0x800706BEu, 0x800706BFu, 0x80010108u, 0x80010012u, 0x80010007u}) {
        EXPECT_TRUE(OpxOpc::isRpcError(hresult(end)));
    }
    for (const std::uint32_t one : {0x80010105u, 0x800706F7u, 0x8001000Eu, 0x80010104u, 0x80004005u, 0x800706C6u,
                                    0x800706E9u, 0x800706EAu, 0x800706EBu}) {
        EXPECT_FALSE(OpxOpc::isRpcError(hresult(one)));
    }
}

TEST_F(BranchListerTest, BranchesThatAreItemsTooAreFoundInOneQuestion) {
    space.root.branches = {{OLESTR("A"), OLESTR("A"), {}, {}}, {OLESTR("B"), OLESTR("B"), {}, {}}};
    int questions = 0;
    HRESULT answer = S_OK;
    itemTest = [&](const std::vector<OpxString>& names, std::vector<bool>& areItems) {
        ++questions;
        EXPECT_THAT(names, ElementsAre(OLESTR("A"), OLESTR("B")));
        areItems = {false, true};
        return answer;
    };
    EXPECT_THAT(list(), ElementsAre("A=A/", "B=B/*"));
    EXPECT_EQ(questions, 1);
    answer = E_FAIL;
    EXPECT_THAT(list(), ElementsAre("A=A/", "B=B/"));
    answer = hresult(0x800706BAu);
    list();
    EXPECT_EQ(result, answer);
}

TEST_F(BranchListerTest, TheNamesOfAFlatServerAreItsItemIds) {
    space.root.leaves = {{OLESTR("Tag.1"), {}}, {OLESTR("Tag.2"), {}}};
    std::vector<ListedElement> elements;
    EXPECT_EQ(lister.listFlat(space, elements), S_OK);
    ASSERT_EQ(elements.size(), 2u);
    EXPECT_EQ(toUtf8(elements[1].itemName), "Tag.2");
    EXPECT_TRUE(elements[1].isItem);
    EXPECT_EQ(space.idsAsked, 0u);
}

TEST_F(BranchListerTest, AListingWithoutAnEndIsGivenUp) {
    space.endless = true;
    space.root.leaves = {{OLESTR("x"), OLESTR("1")}};
    std::vector<ListedElement> elements;
    BranchLister bounded(1000);
    EXPECT_EQ(bounded.list(space, properties, OpxString(), itemTest, elements), E_FAIL);
    EXPECT_EQ(bounded.listFlat(space, elements), E_FAIL);
    EXPECT_EQ(space.idsAsked, 0u);
}

}  // namespace
}  // namespace Korvex::Testing
