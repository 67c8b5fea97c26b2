// What data access 2.0 servers of odd manners list.
#include "opc/browse/BranchLister.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "com/ComObject.h"
#include "com/owners.h"
#include "opc/rpc_errors.h"
#include "tests/support/SimulationSteps.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::BranchLister;
using OpxOpc::ListedElement;
constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);

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

// Reads "leaf=ID branch=ID{...} ..." up to the end of the branch.
void readSpace(std::istringstream& text, Branch& into) {
    std::string name;
    std::string id;
    std::string* part = &name;
    for (char c = ' '; text.get(c) && c != '}';) {
        if (c == '=') {
            part = &id;
        } else if (c != ' ' && c != '{') {
            part->push_back(c);
        }
        const bool isBranch = c == '{';
        const bool ends = c == ' ' || isBranch || text.peek() == '}' || text.peek() == EOF;
        if (!ends || (name.empty() && !isBranch)) continue;
        if (isBranch) {
            into.branches.push_back({fromUtf8(name), fromUtf8(id), {}, {}});
            readSpace(text, into.branches.back());
        } else {
            into.leaves.push_back({fromUtf8(name), fromUtf8(id)});
        }
        name.clear();
        id.clear();
        part = &name;
    }
}

class BranchListings : public ::testing::TestWithParam<std::string> {
protected:
    BranchListings() {
        steps.addSilent("space", [this](const Step& step) {
            space.root = {{}, space.root.id, {}, {}};
            std::istringstream text(step.text);
            readSpace(text, space.root);
        });
        steps.addSilent("root", [this](const Step& step) { space.root.id = step.name(); });
        steps.addSilent("findsids", [this](const Step& step) { space.findsIds = step.names.empty(); });
        steps.addSilent("givesposition", [this](const Step&) { space.givesPositionsId = true; });
        steps.addSilent("unknownbranch", [this](const Step& step) { space.unknownBranch = codeOf(step); });
        steps.addSilent("withoutid", [this](const Step& step) { space.withoutId = codeOf(step); });
        steps.addSilent("known", [this](const Step& step) { properties.items = {step.name()}; });
        steps.addSilent("items", [this](const Step& step) {
            itemTest = [this, names = step.names](const std::vector<OpxString>& asked, std::vector<bool>& areItems) {
                ++questions;
                areItems.clear();
                for (const OpxString& each : asked)
                    areItems.push_back(std::find(names.begin(), names.end(), toUtf8(each)) != names.end());
                return itemTestResult;
            };
        });
        steps.addSilent("untested", [this](const Step&) { itemTest = nullptr; });
        steps.addSilent("itemtest", [this](const Step& step) { itemTestResult = codeOf(step); });
        steps.add("questions", [this](const Step&) { return std::to_string(questions); });
        steps.add("list", [this](const Step& step) { return list(step.name()); });
    }

    // "Name=ID" of all elements, with "/" for a branch and "*" for an item.
    std::string list(const OpxString& itemName) {
        std::vector<ListedElement> elements;
        const HRESULT hr = lister.list(space, properties, itemName, itemTest, elements);
        if (failed(hr)) return hex(hr);
        std::string texts;
        for (const ListedElement& element : elements)
            texts += " " + toUtf8(element.name) + "=" + toUtf8(element.itemName) + (element.hasChildren ? "/" : "") +
                     (element.isItem ? "*" : "");
        return texts;
    }
    static HRESULT codeOf(const Step& step) {
        return hresult(static_cast<std::uint32_t>(std::stoul(step.text, nullptr, 16)));
    }

    OddSpace space;
    OddProperties properties;
    BranchLister lister;
    OpxOpc::ItemTest itemTest;
    int questions = 0;
    HRESULT itemTestResult = S_OK;
    Steps steps;
};

TEST_P(BranchListings, AreAsTheirStepsTell) {
    steps.playAll(linesOf("opc/browse/listings.txt", GetParam()));
}
INSTANTIATE_TEST_SUITE_P(OddServers, BranchListings, ::testing::ValuesIn(sectionsOf("opc/browse/listings.txt")),
                         nameOfSection);

TEST(BranchLister, ManyBranchesWithTheBrowsedOnesIdAreListedInTimeOfTheirNumber) {
    OddSpace space;
    OddProperties properties;
    BranchLister lister;
    space.givesPositionsId = true;
    space.findsIds = true;
    space.root.branches = {{OLESTR("A"), OLESTR("A"), {}, {}}};
    auto& below = space.root.branches[0].branches;
    for (int i = 0; i < 40960; ++i) below.push_back({fromUtf8(std::to_string(i)), {}, {}, {}});
    std::vector<ListedElement> listed;
    for (int round = 0; round < 3; ++round) {
        listed.clear();
        EXPECT_EQ(lister.list(space, properties, OLESTR("A"), nullptr, listed), S_OK);
        ASSERT_EQ(listed.size(), 40960u);
        EXPECT_EQ(toUtf8(listed.back().itemName), "A/40959");
    }
    space.moves.clear();
    listed.clear();
    EXPECT_EQ(lister.list(space, properties, OLESTR("A/40959"), nullptr, listed), S_OK);
    EXPECT_TRUE(listed.empty());
    EXPECT_EQ(space.moves, (std::map<OPCBROWSEDIRECTION, int>{{OPC_BROWSE_DOWN, 1}, {OPC_BROWSE_TO, 1}}))
        << "routes do not grow";
}

TEST(RpcErrors, AreTheServersEndAndNotAFaultOfOneCall) {
    for (const std::uint32_t end : {0x800706BAu, 0x800706BEu, 0x800706BFu, 0x80010108u, 0x80010012u, 0x80010007u})
        EXPECT_TRUE(OpxOpc::isRpcError(hresult(end)));
    for (const std::uint32_t one : {0x80010105u, 0x800706F7u, 0x8001000Eu, 0x80010104u, 0x80004005u, 0x800706C6u,
                                    0x800706E9u, 0x800706EAu, 0x800706EBu})
        EXPECT_FALSE(OpxOpc::isRpcError(hresult(one)));
}

TEST(BranchLister, TakesTheNamesOfAFlatServerForItemIdsAndGivesUpAListingWithoutAnEnd) {
    OddSpace space;
    OddProperties properties;
    space.root.leaves = {{OLESTR("Tag.1"), {}}, {OLESTR("Tag.2"), {}}};
    std::vector<ListedElement> elements;
    BranchLister bounded(1000);
    EXPECT_EQ(bounded.listFlat(space, elements), S_OK);
    ASSERT_EQ(elements.size(), 2u);
    EXPECT_EQ(toUtf8(elements[1].itemName), "Tag.2");
    EXPECT_TRUE(elements[1].isItem);
    space.endless = true;
    EXPECT_EQ(bounded.list(space, properties, OpxString(), nullptr, elements), E_FAIL);
    EXPECT_EQ(bounded.listFlat(space, elements), E_FAIL);
    EXPECT_EQ(space.idsAsked, 0u);
}

}  // namespace
}  // namespace Korvex::Testing
