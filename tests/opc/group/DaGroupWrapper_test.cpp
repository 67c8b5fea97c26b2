#include "opc/group/DaGroupWrapper.h"

#include <algorithm>
#include <functional>
#include <future>

#include "opc/callbacks/unowned.h"
#include "tests/opc/group/GroupFixture.h"
#include "tests/support/SimulationSteps.h"
#include "tests/support/rows.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using OpxOpc::DaGroupWrapper;
using OpxOpc::DaServerMgt;
using OpxOpc::OpxItemIdentifier;
using Reach = DaGroupWrapper::Reach;

std::string listOf(const Handles& handles) {
    std::string text;
    for (const std::uint32_t each : handles) text += " " + std::to_string(each);
    return text;
}
Reach reachOf(const Step& step) {
    return step.setting("kept") ? Reach::KeptStateOnly : Reach::Server;
}

// A subscription's group and the server that it is on, or is not.
class DaGroupWrapperTest : public SimulationFixture {
protected:
    DaGroupWrapperTest() {
        addSimulationSteps(steps, sim, trace);
        addGroup();
        addSettings();
        addItems();
        addThreads();
    }
    ~DaGroupWrapperTest() override { sim.reset(); }

    // Starts anew, with a wrapper whose group is on the server or that has none.
    void begin(bool onServer, bool keepItems, const OpxString& name) {
        if (wrapper && server) lose();
        sim.execute("deliver inside");
        wrapper = std::make_unique<DaGroupWrapper>(onServer, keepItems, name, 100, false, 7, 2.5F);
        items.clear();
        if (!onServer) return;
        connectServer();
        ASSERT_EQ(server->addGroup(wrapper->group().get()), S_OK);
        ASSERT_EQ(wrapper->connectCallback(OpxOpc::unowned(&client), Reach::Server), S_OK);
    }
    void connectServer() {
        server = std::make_unique<DaServerMgt>();
        ASSERT_EQ(server->connectOPCServer(OpxString(), CLSID_KorvexSimulation), S_OK);
        sim.clearJournal();
    }
    void lose() {
        wrapper->takeGroup();
        server.reset();
    }
    HRESULT comeBack() {
        if (!server) connectServer();
        EXPECT_EQ(wrapper->createGroup(), S_OK);
        EXPECT_FALSE(wrapper->isWhole());
        EXPECT_EQ(server->addGroup(wrapper->group().get()), S_OK);
        return wrapper->recoverGroup();
    }

    void addGroup() {
        steps.addSilent("begin", [this](const Step& step) {
            begin(step.numberOf("server", 1) != 0, step.numberOf("keep", 1) != 0,
                  fromUtf8(step.setting("name").value_or("Pumps")));
        });
        steps.addSilent("lose", [this](const Step&) { lose(); });
        steps.add("comeback", [this](const Step&) { return told(comeBack()); });
        steps.addSilent("keepgroup", [this](const Step&) { old = wrapper->takeGroup(); });
        steps.add("create", [this](const Step&) { return told(wrapper->createGroup()); });
        steps.add("recover", [this](const Step&) { return told(wrapper->recoverGroup()); });
        steps.add("whole", [this](const Step&) { return std::to_string(wrapper->isWhole()); });
        steps.addSilent("retire", [this](const Step&) { wrapper->retire(); });
        steps.add("ended", [this](const Step&) { return std::to_string(wrapper->isEnded()); });
        steps.addSilent("destroy", [this](const Step&) { wrapper.reset(); });
    }

    void addSettings() {
        steps.add("set", [this](const Step& step) {
            const bool active = step.numberOf("active", 0) != 0;
            const auto deadband = static_cast<float>(step.numberOf("deadband", 0));
            const std::uint32_t rate = step.numberOf("rate", 0);
            const Reach reach = reachOf(step);
            if (step.settings.size() > 2) return told(wrapper->setState(active, deadband, rate, reach));
            if (step.setting("active")) return told(wrapper->setActive(active, reach));
            if (step.setting("rate")) return told(wrapper->setUpdateRate(rate, reach));
            return told(wrapper->setDeadband(deadband, reach));
        });
        steps.add("rate", [this](const Step&) { return std::to_string(wrapper->updateRate(Reach::Server)); });
        steps.add("advise", [this](const Step& step) {
            return told(wrapper->connectCallback(OpxOpc::unowned(&client), reachOf(step)));
        });
        steps.add("unadvise", [this](const Step& step) { return told(wrapper->disconnectCallback(reachOf(step))); });
    }

    void addItems() {
        // The items get the next client handles.
        steps.add("add", [this](const Step& step) {
            auto added = itemsNamed(step.names);
            for (OpxItemIdentifier& each : added) {
                each.clientHandle += static_cast<std::uint32_t>(items.size());
                each.serverHandle = 77;
            }
            Codes codes = {1, 2, 3};
            const bool validateOnly = step.setting("validate").has_value();
            const HRESULT hr = wrapper->addItems(added, codes, validateOnly, reachOf(step));
            if (!validateOnly) items.insert(items.end(), added.begin(), added.end());
            return told(hr, codes);
        });
        steps.add("handles", [this](const Step&) { return handlesOf(items); });
        // "NAME:HANDLE", of which either may be missing.
        steps.add("remove", [this](const Step& step) {
            std::vector<OpxItemIdentifier> named;
            for (const std::string& each : step.names) {
                const std::size_t colon = each.find(':');
                named.push_back(itemNamed(fromUtf8(each.substr(0, colon)).c_str()));
                named.back().serverHandle = static_cast<std::uint32_t>(std::stoul(each.substr(colon + 1)));
            }
            Codes codes;
            const HRESULT hr = wrapper->removeItems(named, codes, reachOf(step));
            if (reachOf(step) == Reach::Server) removed = named;
            return told(hr, codes);
        });
        steps.add("removed", [this](const Step&) { return handlesOf(removed); });
        // Takes the last item from the server, behind the wrapper's back.
        steps.add("serverforgets", [this](const Step& step) {
            std::vector<OpxItemIdentifier> last = {itemNamed(step.name().c_str())};
            Codes codes;
            return told(wrapper->group()->removeItems(last, codes), codes);
        });
        // The client handles of the items that the server delivers when the group becomes active.
        steps.add("served", [this](const Step&) {
            const auto toldBefore = client.dataChanges().size();
            EXPECT_EQ(wrapper->setActive(true, Reach::Server), S_OK);
            EXPECT_EQ(wrapper->setActive(false, Reach::Server), S_OK);
            const auto changes = client.dataChanges();
            Handles delivered = changes.size() == toldBefore ? Handles() : changes[toldBefore].clientHandles;
            std::sort(delivered.begin(), delivered.end());
            return listOf(delivered);
        });
        steps.add("bad", [this](const Step&) {
            Values values;
            Codes codes;
            EXPECT_EQ(wrapper->getQualityBadData(handles, values, codes), 7u);
            EXPECT_EQ(codes, Codes(handles.size(), 0));
            EXPECT_EQ(values.size(), handles.size());
            for (const auto& each : values) EXPECT_TRUE(each.quality == 0 && each.value.isEmpty());
            return listOf(handles);
        });
        steps.add("collect", [this](const Step&) {
            EXPECT_EQ(wrapper->collectHandles(handles), 7u);
            return listOf(handles);
        });
    }

    void addThreads() {
        steps.addSilent("start", [this](const Step& step) {
            started = std::async(std::launch::async, [this, line = step.text] {
                const SimulationApartment apartment(COINIT_MULTITHREADED);
                steps.play(line);
            });
        });
        steps.addSilent("finish", [this](const Step&) { started.get(); });
    }

    static std::string handlesOf(const std::vector<OpxItemIdentifier>& items) {
        Handles found;
        for (const OpxItemIdentifier& each : items) found.push_back(each.serverHandle);
        return listOf(found);
    }

    RecordingCallback client;
    std::unique_ptr<DaServerMgt> server;
    std::unique_ptr<DaGroupWrapper> wrapper;
    std::shared_ptr<OpxOpc::DaGroupMgt> old;
    std::vector<OpxItemIdentifier> items;  // as they were after they were added
    std::vector<OpxItemIdentifier> removed;
    Handles handles;
    Steps steps;
    std::future<void> started;
};

class SubscriptionGroups : public DaGroupWrapperTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(SubscriptionGroups, AreAsTheirSessionsTell) {
    steps.playAll(linesOf("opc/group/subscriptions.txt", GetParam()));
}
INSTANTIATE_TEST_SUITE_P(Sessions, SubscriptionGroups, ::testing::ValuesIn(sectionsOf("opc/group/subscriptions.txt")),
                         nameOfSection);

TEST_F(DaGroupWrapperTest, ItemsAreRemovedByLocalHandlesThatFitOrElseByTheirNames) {
    for (const std::string reach : {"", " kept=1"}) {
        for (const auto& row : rowsOf("opc/group/removals.txt", 3)) {
            // The server handle of the group's first item is 0.
            steps.playAll({"begin", "sim handles zero", "lose", "comeback", "add Constant.Int32", "add Constant.Double",
                           "add Constant.Boolean", "add Constant.Int32", "handles | 1 2 3 4",
                           "remove " + row[0] + reach + " | " + row[1]});
            if (reach.empty()) steps.play("served | " + row[2]);
            steps.playAll({"bad | " + row[2], "lose", "comeback", "served | " + row[2]});
        }
    }
}

// Calls back from inside a data change.
class Acting final : public RecordingCallback {
public:
    std::function<void()> act;

private:
    void DataChange(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const Handles&, const Values&,
                    const Codes&) override {
        if (const auto once = std::exchange(act, nullptr)) once();
    }
};

TEST_F(DaGroupWrapperTest, AChangeThatAHandlerMakesInsideAnotherOneStays) {
    Acting acting;
    steps.playAll({"begin", "add Constant.Int32"});
    ASSERT_EQ(wrapper->disconnectCallback(Reach::Server), S_OK);
    ASSERT_EQ(wrapper->connectCallback(OpxOpc::unowned(&acting), Reach::Server), S_OK);
    acting.act = [&] {
        EXPECT_EQ(wrapper->setActive(false, Reach::Server), S_OK);
        EXPECT_EQ(wrapper->setDeadband(9, Reach::Server), S_OK);
    };
    EXPECT_EQ(wrapper->setState(true, 5, 300, Reach::Server), S_OK);
    steps.playAll({"lose", "comeback", "calls IOPCServer::AddGroup active=0 rate=300 client=7 deadband=9 | 1"});
}

}  // namespace
}  // namespace Korvex::Testing
