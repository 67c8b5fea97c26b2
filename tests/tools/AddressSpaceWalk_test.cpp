// Walks through address spaces that no server in its right mind has.
#include "tools/opcda/AddressSpaceWalk.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <CLI/CLI.hpp>

#include "com/BuiltInClass.h"
#include "com/ComObject.h"
#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "tests/tools/run_command.h"
#include "tools/opcda/BrowseCommand.h"

namespace Korvex::Tool {
namespace {

using OPC::OpcDaClient::NullableText;
using Element = AddressSpaceWalk::Element;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

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
    auto toDepth = walk(deeper, 30000, recorder);
    toDepth.below("");
    EXPECT_EQ(recorder.entered.size(), 30000u);
    EXPECT_EQ(recorder.deepest, 29999u);
    EXPECT_EQ(recorder.left, 30000u);
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
            return answers[std::min<std::size_t>(static_cast<std::size_t>(pages++), 2)];
        },
        1, recorder);
    endless.below("");
    EXPECT_EQ(pages, 3);
    EXPECT_THAT(recorder.entered, ElementsAre("a", "a", "b"));
}

// ---- The command ---------------------------------------------------------------------------------

constexpr CLSID kDeepClass = {0x6B0E7A52, 0x3D1C, 0x4F0A, {0x9C, 0x4E, 0x21, 0x5B, 0x77, 0xD0, 0x18, 0xFF}};

class DeepBrowsing final : public Com::ComObject<IOPCBrowse> {
public:
    HRESULT STDMETHODCALLTYPE GetProperties(DWORD, LPWSTR*, BOOL, DWORD, DWORD*, OPCITEMPROPERTIES**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Browse(LPWSTR itemId, LPWSTR*, DWORD, OPCBROWSEFILTER, LPWSTR, LPWSTR, BOOL, BOOL, DWORD,
                                     DWORD*, BOOL* more, DWORD* count, OPCBROWSEELEMENT** elements) override {
        *more = FALSE;
        *count = 1;
        *elements = Com::allocateTaskArray<OPCBROWSEELEMENT>(1);
        (*elements)->szName = Com::copyToTaskMemory(OLESTR("x"));
        (*elements)->szItemID = Com::copyToTaskMemory(OpxString(itemId) + OLESTR("x"));
        (*elements)->dwFlagValue = OPC_BROWSE_HASCHILDREN;
        return S_OK;
    }
};

// The simulation server with an address space that grows ever deeper.
class DeepServer final : public Com::ComObject<IOPCServer> {
public:
    static HRESULT create(REFIID riid, void** object) {
        const auto made = Com::ComPtr<DeepServer>::adopt(new DeepServer);
        const HRESULT hr = CoCreateInstance(CLSID_KorvexSimulation, nullptr, CLSCTX_INPROC_SERVER, IID_IOPCServer,
                                            made->usual_.putVoid());
        return FAILED(hr) ? hr : made->QueryInterface(riid, object);
    }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        if (riid == IID_IOPCBrowse) return browsing_->QueryInterface(riid, object);
        if (riid == IID_IUnknown || riid == IID_IOPCServer) return ComObject::QueryInterface(riid, object);
        return usual_->QueryInterface(riid, object);
    }
    HRESULT STDMETHODCALLTYPE AddGroup(LPCWSTR name, BOOL active, DWORD rate, OPCHANDLE client, LONG* bias,
                                       FLOAT* deadband, DWORD locale, OPCHANDLE* server, DWORD* revised, REFIID riid,
                                       LPUNKNOWN* group) override {
        return usual_->AddGroup(name, active, rate, client, bias, deadband, locale, server, revised, riid, group);
    }
    HRESULT STDMETHODCALLTYPE GetErrorString(HRESULT, LCID, LPWSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetGroupByName(LPCWSTR, REFIID, LPUNKNOWN*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStatus(OPCSERVERSTATUS** status) override { return usual_->GetStatus(status); }
    HRESULT STDMETHODCALLTYPE RemoveGroup(OPCHANDLE group, BOOL force) override {
        return usual_->RemoveGroup(group, force);
    }
    HRESULT STDMETHODCALLTYPE CreateGroupEnumerator(OPCENUMSCOPE, REFIID, LPUNKNOWN*) override { return E_NOTIMPL; }

private:
    const Com::ComPtr<DeepBrowsing> browsing_ = Com::ComPtr<DeepBrowsing>::adopt(new DeepBrowsing);
    Com::ComPtr<IOPCServer> usual_;
};

class DeepServerTest : public CommandTest {
protected:
    DeepServerTest() {
        const auto classObject = Com::ComPtr<IClassFactory>::adopt(new Com::BuiltInClass(&DeepServer::create));
        EXPECT_EQ(CoRegisterClassObject(kDeepClass, classObject.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                        &registration_),
                  S_OK);
    }
    ~DeepServerTest() override { CoRevokeClassObject(registration_); }

    static Printed browse(const std::string& options) {
        CLI::App app;
        const BrowseCommand command(app);
        app.parse("browse opcda:///Deep.1/{6B0E7A52-3D1C-4F0A-9C4E-215B77D018FF} " + options);
        std::ostringstream out;
        std::ostringstream err;
        const int status = command.run({out, err, false});
        return {status, out.str(), err.str()};
    }

private:
    DWORD registration_ = 0;
};

TEST_F(DeepServerTest, TheDepthIsToldWhereNoneWasAskedFor) {
    const Printed printed = browse("");
    EXPECT_EQ(printed.status, kItemsFailed);
    EXPECT_EQ(std::count(printed.out.begin(), printed.out.end(), '\n'), 64);
    EXPECT_THAT(printed.err, HasSubstr("there is more below level 64: see --depth"));

    const Printed asked = browse("--depth 1000 --json");
    EXPECT_EQ(asked.status, kSuccess);
    EXPECT_EQ(asked.err, "");
    EXPECT_THROW(browse("--depth 1001"), CLI::ValidationError);
}

}  // namespace
}  // namespace Korvex::Tool
