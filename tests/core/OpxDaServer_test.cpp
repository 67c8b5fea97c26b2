#include <korvex/native/OpxDaServer.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>

#include "com/opc_interfaces.h"
#include "tests/support/RecordingCallback.h"
#include "tests/support/SimulationFixture.h"
#include "tests/support/expected_lines.h"
#include "tests/support/simulation_url.h"
#include "threads/OpxThread.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::RecordingCallback;
using Korvex::Testing::SimulationFixture;
using Korvex::Testing::simulationUrl;

std::vector<std::string> expected(const std::string& name) {
    return Korvex::Testing::linesOf("core/expected.trace", name);
}

constexpr HRESULT kUnknownItemId = hresult(0xC0040007u);
constexpr std::uint32_t kClientHandle = 4711;

std::vector<OpxItemIdentifier> named(std::initializer_list<const OLECHAR*> names) {
    std::vector<OpxItemIdentifier> items;
    for (const OLECHAR* name : names) {
        items.emplace_back();
        items.back().itemName = name;
    }
    return items;
}

// A callback that may act when it is told of a state.
class ActingCallback : public RecordingCallback {
public:
    void ServerStatusChange(std::uint32_t clientHandle, ServerStatus status) override {
        RecordingCallback::ServerStatusChange(clientHandle, status);
        if (act) act();
    }
    std::function<void()> act;
};

class OpxDaServerTest : public SimulationFixture {
protected:
    std::int32_t connect() { return server.connect(simulationUrl(), info, kClientHandle, &callback); }
    std::int32_t read(std::uint32_t maxAge = 0) { return server.read(maxAge, items, values, errors); }

    std::vector<ServerStatus> states() const {
        std::vector<ServerStatus> result;
        for (const auto& status : callback.statuses()) {
            EXPECT_EQ(status.clientHandle, kClientHandle);
            result.push_back(status.status);
        }
        return result;
    }

    ActingCallback callback;
    OpxServerConnectInfo info;
    std::vector<OpxItemIdentifier> items;
    std::vector<OpxItemValue> values;
    std::vector<std::int32_t> errors;
    OpxDaServer server;
};

// ---- Connecting ----------------------------------------------------------------------------------

TEST_F(OpxDaServerTest, RefusesWhatTheEngineMustNotSee) {
    for (const OLECHAR* url : {OLESTR("OPCDA:123"), OLESTR("OPCDA:1234"), OLESTR("http://localhost/x/y"),
                               OLESTR("opcda//localhost/x/y"), OLESTR("")}) {
        SCOPED_TRACE(toUtf8(url));
        EXPECT_EQ(server.connect(url, info, 0, &callback), E_FAIL);
        EXPECT_TRUE(trace.has("Interface pointer DaServerInterface not valid"));
        EXPECT_FALSE(trace.has("Ctor DaServerCom"));
    }
    EXPECT_EQ(server.connect(simulationUrl(), info, 0, nullptr), E_INVALIDARG);
    EXPECT_TRUE(trace.has("<== DaServer::connect [E_INVALIDARG] - No callback pointer passt"));
    EXPECT_TRUE(callback.statuses().empty());
}

TEST_F(OpxDaServerTest, PassesEveryDataAccessSchemeInAnyCaseToTheEngine) {
    EXPECT_EQ(server.connect(OLESTR("opcdx:too/short"), info, 0, &callback), E_INVALIDARG);
    EXPECT_TRUE(trace.has("Error DaServerCom::connect - Invalid URL 'opcdx:too/short' passed"));
    EXPECT_EQ(server.connect(simulationUrl(OLESTR("OpcDa://127.0.0.1")), info, 0, &callback), S_OK);
}

TEST_F(OpxDaServerTest, OperationsWithoutAConnectionFail) {
    items = named({OLESTR("Constant.Int32")});
    EXPECT_EQ(read(), E_FAIL);
    EXPECT_EQ(server.disconnect(), E_FAIL);
    EXPECT_TRUE(trace.has("<== DaServer::read [E_FAIL] - Server not connected"));
    EXPECT_TRUE(trace.has("<== DaServer::disconnect [E_FAIL] - Server not connected"));

    ASSERT_EQ(connect(), S_OK);
    items.clear();
    EXPECT_EQ(read(), E_INVALIDARG);
    EXPECT_TRUE(trace.has("<== DaServer::read [E_FAIL] - Item list is empty"));
    EXPECT_EQ(connect(), E_FAIL);
    EXPECT_EQ(server.connect(simulationUrl(), info, 0, nullptr), E_FAIL);  // the connection is tested first
    EXPECT_TRUE(trace.has("<== DaServer::connect [E_FAIL] - Server already connected"));
}

TEST_F(OpxDaServerTest, ConnectsAddsItsGroupAndReportsBeforeItReturns) {
    std::int32_t readInsideConnect = S_OK;
    callback.act = [&] {
        auto inside = named({OLESTR("Constant.Int32")});
        std::vector<OpxItemValue> insideValues;
        std::vector<std::int32_t> insideErrors;
        readInsideConnect = server.read(0, inside, insideValues, insideErrors);
    };
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(readInsideConnect, E_FAIL);  // the facade is not connected yet
    EXPECT_EQ(states(), (std::vector{SERVERSTATUS_CONNECTED}));
    EXPECT_EQ(sim.counts()["groups"], 1);
    EXPECT_EQ(sim.counts()["sinks"], 1);
    const auto added = sim.journal("IOPCServer::AddGroup");
    ASSERT_EQ(added.size(), 1u);
    EXPECT_NE(added[0].find("name=Main"), std::string::npos) << added[0];
    EXPECT_NE(added[0].find("rate=2000"), std::string::npos) << added[0];

    callback.act = nullptr;
    EXPECT_EQ(server.disconnect(), S_OK);
    EXPECT_EQ(states(), (std::vector{SERVERSTATUS_CONNECTED, SERVERSTATUS_DISCONNECTED}));
    EXPECT_EQ(sim.counts()["groups"], 0);
    EXPECT_EQ(sim.counts()["sinks"], 0);
    EXPECT_TRUE(trace.hasInOrder(
        {"--> DaServerCom::disconnect", "Disconnected from OPC Server  on ", "<-- DaServerCom::disconnect [hr=S_OK]"}));
    EXPECT_EQ(server.disconnect(), E_FAIL);
    ASSERT_EQ(connect(), S_OK);
}

TEST_F(OpxDaServerTest, TheDestructorDisconnectsAndReleasesTheServer) {
    {
        OpxDaServer other;
        ASSERT_EQ(other.connect(simulationUrl(), info, kClientHandle, &callback), S_OK);
    }
    EXPECT_EQ(states(), (std::vector{SERVERSTATUS_CONNECTED, SERVERSTATUS_DISCONNECTED}));
    EXPECT_EQ(sim.counts()["groups"], 0);
    EXPECT_TRUE(trace.hasInOrder({"-> Ctor DaServer", "<- Ctor DaServer", "Ctor DaServerCom", "--> Dtor DaServer",
                                  "--> Dtor DaServerCom", "<-- Dtor DaServerCom", "<-- Dtor DaServer"}));
}

TEST_F(OpxDaServerTest, ACallbackThatThrowsCostsItsReportOnly) {
    callback.act = [] { throw std::runtime_error("the application's own trouble"); };
    ASSERT_EQ(connect(), S_OK);
    EXPECT_TRUE(trace.has("Error: DaServerCom::connect - Error at calling DataCallback::ServerStatusChange"));
    EXPECT_EQ(server.disconnect(), S_OK);
    EXPECT_TRUE(trace.has("Error: DaServerCom::disconnect - Error at calling DataCallback::ServerStatusChange"));
    EXPECT_EQ(sim.counts()["groups"], 0);
}

TEST_F(OpxDaServerTest, AHandlerThatConnectsOrDisconnectsMeanwhileIsRefused) {
    callback.act = [&] {
        EXPECT_EQ(server.disconnect(), E_FAIL);
        EXPECT_EQ(connect(), E_FAIL);
    };
    EXPECT_EQ(connect(), S_OK);
    EXPECT_EQ(server.disconnect(), S_OK);
    EXPECT_EQ(states(), (std::vector{SERVERSTATUS_CONNECTED, SERVERSTATUS_DISCONNECTED}));
    callback.act = nullptr;
    EXPECT_EQ(connect(), S_OK);
    items = named({OLESTR("Constant.Int32")});
    EXPECT_EQ(read(), S_OK);
}

TEST_F(OpxDaServerTest, OfTwoThatConnectAtOnceOneDoes) {
    sim.execute("delay IOPCServer::AddGroup 100");
    auto other = std::async(std::launch::async, [&] { return connect(); });
    while (sim.journal("IOPCServer::AddGroup").empty()) std::this_thread::yield();
    EXPECT_EQ(connect(), E_FAIL);
    EXPECT_EQ(other.get(), S_OK);
    EXPECT_EQ(states(), (std::vector{SERVERSTATUS_CONNECTED}));
    EXPECT_EQ(server.disconnect(), S_OK);
    EXPECT_EQ(sim.counts()["groups"], 0);
}

TEST_F(OpxDaServerTest, ConnectsWithAWatchDogOrNotAtAll) {
    OpxThread::replaceMaker([](auto&&) -> std::thread { throw std::system_error(EAGAIN, std::generic_category()); });
    for (const bool reachable : {true, false}) {
        info.retryInitialConnect = !reachable;
        if (!reachable) sim.execute("dead");
        EXPECT_EQ(connect(), E_OUTOFMEMORY);
        EXPECT_TRUE(callback.statuses().empty());
        EXPECT_FALSE(trace.has("Continue to try connect"));
        sim.execute("alive");
        EXPECT_EQ(sim.counts()["groups"], 0);
        EXPECT_EQ(server.disconnect(), E_FAIL);
    }
    EXPECT_EQ(sim.journal("IOPCServer::RemoveGroup").size(), 1u);
    OpxThread::replaceMaker(nullptr);
    EXPECT_EQ(connect(), S_OK);
}

TEST_F(OpxDaServerTest, TheEngineIsGoneWhenTheFacadesExitLineIsWritten) {
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(server.disconnect(), S_OK);
    EXPECT_TRUE(trace.hasInOrder({"<-- Dtor DaServerCom", "<== DaServer::disconnect [hr=0x0]"}));
    trace.clear();
    sim.fault("IOPCServer::AddGroup", E_FAIL);
    EXPECT_EQ(connect(), E_FAIL);
    EXPECT_TRUE(trace.hasInOrder({"<-- Dtor DaServerCom", "<== DaServer::connect [hr=0x80004005]"}));
}

TEST_F(OpxDaServerTest, TracesTheParametersOfAConnect) {
    info.retryInitialConnect = true;
    ASSERT_EQ(connect(), S_OK);
    EXPECT_TRUE(trace.hasInOrder(expected("TracesTheParametersOfAConnect"))) << trace.dump();
}

// A step of connecting that fails: what the caller sees with and without retrying.
struct FailingStep {
    const char* method;
    bool groupAsked;  // the server was asked to remove "Main" again
};

TEST_F(OpxDaServerTest, AFailedStepUndoesTheEarlierOnesAndRetryingTurnsItIntoAState) {
    const FailingStep steps[] = {
        {"IOPCServer::AddGroup", true},
        {"IConnectionPoint::Advise", true},
        {"IOPCCommon::SetLocaleID", false},
    };
    for (const FailingStep& step : steps) {
        for (const bool retry : {false, true}) {
            SCOPED_TRACE(std::string(step.method) + (retry ? " retried" : ""));
            sim.reset();
            sim.fault(step.method, hresult(0x80070005u));
            ActingCallback own;
            OpxDaServer other;
            OpxServerConnectInfo otherInfo;
            otherInfo.retryInitialConnect = retry;
            const bool localeStep = !step.groupAsked;
            const bool retried = retry && !localeStep;
            EXPECT_EQ(other.connect(simulationUrl(), otherInfo, kClientHandle, &own),
                      retried ? S_FALSE : hresult(0x80070005u));
            EXPECT_EQ(otherInfo.retryInitialConnect, retried);
            EXPECT_EQ(own.statuses().size(), retried ? 1u : 0u);
            for (const auto& report : own.statuses()) EXPECT_EQ(report.status, SERVERSTATUS_WATCHDOG_ERROR);
            EXPECT_EQ(sim.journal("IOPCServer::RemoveGroup").size(), step.groupAsked ? 1u : 0u);
            EXPECT_EQ(sim.counts()["groups"], 0);
            EXPECT_EQ(sim.counts()["sinks"], 0);
            EXPECT_EQ(other.disconnect(), retried ? S_OK : E_FAIL);
        }
    }
    EXPECT_TRUE(
        trace.hasInOrder({"Connect failed to OPC Server " + toUtf8(simulationUrl()), "Continue to try connect"}));
}

TEST_F(OpxDaServerTest, AStepThatAnswersSFalseIsRetriedEvenWithoutRetrying) {
    sim.fault("IConnectionPoint::Advise", S_FALSE);
    EXPECT_EQ(connect(), S_FALSE);
    EXPECT_EQ(states(), (std::vector{SERVERSTATUS_WATCHDOG_ERROR}));
    items = named({OLESTR("Constant.Int32")});
    EXPECT_EQ(read(), E_FAIL);
    EXPECT_TRUE(trace.has("<-- DaServerCom::read [E_FAIL] - serverState not connected"));
    EXPECT_EQ(server.disconnect(), S_OK);
    EXPECT_EQ(states(), (std::vector{SERVERSTATUS_WATCHDOG_ERROR, SERVERSTATUS_DISCONNECTED}));
    EXPECT_FALSE(trace.has("Disconnected from OPC Server  on "));
}

TEST_F(OpxDaServerTest, AnotherLocaleThanAskedForIsToldOnceConnected) {
    info.localId = OLESTR("klingon");
    EXPECT_EQ(connect(), S_FALSE);
    EXPECT_TRUE(info.localId.empty());
    EXPECT_EQ(states(), (std::vector{SERVERSTATUS_CONNECTED}));
    EXPECT_TRUE(trace.has("Changed LocalID from 'klingon' to ''"));

    ActingCallback own;
    OpxDaServer other;
    OpxServerConnectInfo none;
    none.localId.clear();
    sim.clearJournal();
    EXPECT_EQ(other.connect(simulationUrl(), none, 0, &own), S_OK);
    EXPECT_TRUE(sim.journal("IOPCCommon::SetLocaleID").empty());
}

TEST_F(OpxDaServerTest, AClassThatDoesNotExistFailsWithoutRetryOrReport) {
    info.retryInitialConnect = true;
    EXPECT_EQ(server.connect(OLESTR("opcda://localhost/No.Server/{not a class identifier, but quite as long}"), info, 0,
                             &callback),
              CO_E_CLASSSTRING);
    EXPECT_LT(server.connect(OLESTR("opcda://localhost/No.Server.Of.This.Name"), info, 0, &callback), 0);
    EXPECT_TRUE(
        trace.has("Performance warning DaServerCom::connect - No CLSID in passed URL "
                  "'opcda://localhost/No.Server.Of.This.Name'"));
    EXPECT_TRUE(callback.statuses().empty());
    EXPECT_TRUE(info.retryInitialConnect);

    const HRESULT unknown = server.connect(OLESTR("opcda://localhost/No.Server/{00000000-1111-2222-3333-444444444444}"),
                                           info, 0, &callback);
    EXPECT_EQ(unknown, S_FALSE);  // creating the server is a step that is retried
}

// ---- Reading -------------------------------------------------------------------------------------

TEST_F(OpxDaServerTest, ReadsItemsAndReportsTheirTypes) {
    ASSERT_EQ(connect(), S_OK);
    items = named({OLESTR("Constant.Int32"), OLESTR("Constant.String"), OLESTR("Constant.DoubleArray")});
    items[0].dataType = Opx::VType::String;
    ASSERT_EQ(read(), S_OK);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(toUtf8(values[0].value.toString()), "-320000");
    EXPECT_EQ(values[0].value.type(), Opx::VType::String);
    EXPECT_EQ(values[1].value.type(), Opx::VType::String);
    EXPECT_EQ(values[2].value.elements().size(), 3u);
    EXPECT_EQ(items[0].dataType, Opx::VType::String);
    EXPECT_EQ(items[1].dataType, Opx::VType::String);
    EXPECT_EQ(items[2].dataType, Opx::arrayOf(Opx::VType::Double));
    for (const OpxItemValue& value : values) EXPECT_EQ(value.quality, 0xC0);
    EXPECT_TRUE(trace.hasInOrder({"  OUT Parameters:", "  Value count = 3", "  No item errors"}));
}

TEST_F(OpxDaServerTest, AddsAnItemToTheServerOnceHoweverOftenItIsRead) {
    ASSERT_EQ(connect(), S_OK);
    for (int i = 0; i < 3; ++i) {
        items = named({OLESTR("Constant.Int32")});
        ASSERT_EQ(read(), S_OK);
    }
    ASSERT_EQ(read(), S_OK);
    EXPECT_EQ(sim.journal("IOPCItemMgt::AddItems").size(), 1u);

    ASSERT_EQ(server.disconnect(), S_OK);
    ASSERT_EQ(connect(), S_OK);
    ASSERT_EQ(read(), S_OK);  // with records whose handles are of the connection before
    EXPECT_EQ(values[0].value.toInt32(), -320000);
    EXPECT_EQ(sim.journal("IOPCItemMgt::AddItems").size(), 2u);
}

TEST_F(OpxDaServerTest, RefusedItemsCostThemselvesAndNeverTravelToTheServer) {
    ASSERT_EQ(connect(), S_OK);
    items = named({OLESTR("No.Such.Item"), OLESTR("Constant.Int32"), OLESTR("Constant.Int32"), OLESTR("Error.Read"),
                   OLESTR("Constant.Double")});
    sim.clearJournal();
    ASSERT_EQ(read(), S_FALSE);
    // The second item of one new name is not waited for.
    EXPECT_EQ(errors, (std::vector<std::int32_t>{kUnknownItemId, S_OK, kUnknownItemId, E_FAIL, S_OK}));
    ASSERT_EQ(values.size(), 5u);
    EXPECT_EQ(values[1].value.toInt32(), -320000);
    EXPECT_EQ(values[4].value.toDouble(), -2.25);
    EXPECT_TRUE(values[0].value.isEmpty());
    const auto reads = sim.journal("IOPCSyncIO::Read");
    ASSERT_EQ(reads.size(), 1u);
    EXPECT_NE(reads[0].find("count=3"), std::string::npos) << reads[0];
    EXPECT_EQ(trace.textsWith("Error=0x80004005 - IOPCSyncIO::Read FAILED").size(), 1u);

    EXPECT_EQ(read(1000), S_FALSE);
    EXPECT_EQ(trace.textsWith("Error=0x80004005 - IOPCSyncIO2::ReadMaxAge FAILED").size(), 1u);
}

TEST_F(OpxDaServerTest, NoServerIsAskedToReadNothing) {
    ASSERT_EQ(connect(), S_OK);
    items = named({OLESTR("No.Such.Item"), OLESTR("Nor.This")});
    ASSERT_EQ(read(), S_FALSE);
    EXPECT_EQ(errors, (std::vector<std::int32_t>{kUnknownItemId, kUnknownItemId}));
    EXPECT_EQ(values.size(), 2u);
    EXPECT_TRUE(sim.journal("IOPCSyncIO::Read").empty());
}

TEST_F(OpxDaServerTest, BranchesOfAnOlderServerAreItemsToo) {
    sim.profile(2);
    ASSERT_EQ(connect(), S_OK);
    sim.fault("IOPCBrowseServerAddressSpace::BrowseOPCItemIDs", S_FALSE, 2);
    OpxString point;
    std::vector<OpxBrowseElement> elements;
    EXPECT_EQ(server.browse(OLESTR("Analog"), {}, point, 0, BrowseFilter::All, {}, false, false, elements, nullptr),
              S_OK);
    ASSERT_EQ(elements.size(), 2u);
    EXPECT_TRUE(elements[0].isItem);
    EXPECT_EQ(sim.journal("IOPCItemMgt::ValidateItems").size(), 1u);
}

TEST_F(OpxDaServerTest, NoServerIsAskedForTheAddressSpaceInVain) {
    OpxString point;
    std::vector<OpxBrowseElement> elements;
    std::vector<OpxItemProperties> results;
    EXPECT_EQ(server.browse({}, {}, point, 0, BrowseFilter::All, {}, false, false, elements, nullptr), E_FAIL);
    EXPECT_TRUE(trace.has("<== DaServer::browse [E_FAIL] - Server not connected"));
    ASSERT_EQ(connect(), S_OK);
    EXPECT_EQ(server.browse({}, {}, point, 0, BrowseFilter::All, {}, false, false, elements, nullptr), S_OK);
    EXPECT_GT(elements.size(), 5u);
    EXPECT_TRUE(sim.journal("IOPCItemMgt::ValidateItems").empty()) << "this server tells what is an item";

    sim.clearJournal();
    EXPECT_EQ(server.getProperties(named({OLESTR("Constant.Int32")}), {}, false, true, results), E_INVALIDARG);
    EXPECT_TRUE(trace.has("<== DaServer::getProperties [E_INVALIDARG] - No properties requested"));
    EXPECT_EQ(server.getProperties({}, {}, true, true, results), E_INVALIDARG);
    EXPECT_TRUE(trace.has("--> DaServerCom::getProperties"));
    EXPECT_TRUE(trace.textsWith("<-- DaServerCom::getProperties").empty());
    EXPECT_TRUE(sim.journal().empty());
    EXPECT_EQ(server.getProperties(named({OLESTR("Constant.Int32")}), {}, true, true, results), S_OK);
    EXPECT_TRUE(trace.has("<-- DaServerCom::getProperties [hr=0x0]"));
}

TEST_F(OpxDaServerTest, AValidServerHandleMayBeZero) {
    sim.execute("handles zero");
    ASSERT_EQ(connect(), S_OK);
    items = named({OLESTR("Constant.Int32"), OLESTR("No.Such.Item")});
    ASSERT_EQ(read(), S_FALSE);
    EXPECT_EQ(values[0].value.toInt32(), -320000);
    EXPECT_EQ(errors, (std::vector<std::int32_t>{S_OK, kUnknownItemId}));
}

TEST_F(OpxDaServerTest, AServerThatCannotAddItemsIsAskedAgainNextTime) {
    ASSERT_EQ(connect(), S_OK);
    sim.fault("IOPCItemMgt::AddItems", E_OUTOFMEMORY, 1);
    items = named({OLESTR("Constant.Int32")});
    EXPECT_EQ(read(), E_OUTOFMEMORY);
    EXPECT_EQ(read(), S_OK);
    EXPECT_EQ(values[0].value.toInt32(), -320000);
}

TEST_F(OpxDaServerTest, AFailedReadIsItsCode) {
    ASSERT_EQ(connect(), S_OK);
    items = named({OLESTR("Constant.Int32")});
    sim.fault("IOPCSyncIO::Read", hresult(0x800706BAu));
    EXPECT_EQ(read(), hresult(0x800706BAu));
    EXPECT_TRUE(trace.has("<== DaServer::read [hr=0x800706ba]") || trace.has("<== DaServer::read [hr=0x800706BA]"));
}

TEST_F(OpxDaServerTest, MaxAgeDecidesBetweenDeviceAndCacheOnEitherKindOfServer) {
    for (const int dataAccess : {2, 3}) {
        SCOPED_TRACE(dataAccess);
        sim.reset();
        sim.profile(dataAccess);
        OpxDaServer other;
        OpxServerConnectInfo otherInfo;
        ASSERT_EQ(other.connect(simulationUrl(), otherInfo, 0, &callback), S_OK);
        items = named({OLESTR("Constant.Int32")});
        ASSERT_EQ(other.read(1000, items, values, errors), S_OK);
        EXPECT_EQ(sim.journal("IOPCSyncIO2::ReadMaxAge").size(), dataAccess == 3 ? 1u : 0u);
        ASSERT_EQ(other.read(0, items, values, errors), S_OK);
        EXPECT_EQ(sim.journal("IOPCSyncIO::Read").size(), dataAccess == 3 ? 1u : 2u);
        EXPECT_EQ(values[0].value.toInt32(), -320000);
    }
}

// ---- Threads -------------------------------------------------------------------------------------

TEST_F(OpxDaServerTest, DisconnectWaitsForACallInProgress) {
    ASSERT_EQ(connect(), S_OK);
    items = named({OLESTR("Constant.Int32")});
    ASSERT_EQ(read(), S_OK);
    sim.execute("delay IOPCSyncIO::Read 300");
    std::atomic<bool> readReturned = false;
    std::int32_t result = E_FAIL;
    std::thread reader([&] {
        auto own = named({OLESTR("Constant.Int32")});
        std::vector<OpxItemValue> ownValues;
        std::vector<std::int32_t> ownErrors;
        result = server.read(0, own, ownValues, ownErrors);
        readReturned = true;
    });
    while (sim.journal("IOPCSyncIO::Read").size() < 2 && !readReturned) std::this_thread::yield();
    std::int32_t lateResult = S_OK;
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        auto own = named({OLESTR("Constant.Int32")});
        std::vector<OpxItemValue> ownValues;
        std::vector<std::int32_t> ownErrors;
        lateResult = server.read(0, own, ownValues, ownErrors);
    });
    EXPECT_EQ(server.disconnect(), S_OK);
    reader.join();
    late.join();
    EXPECT_EQ(result, S_OK);
    EXPECT_EQ(lateResult, E_FAIL);  // the state is given up before the wait
    EXPECT_EQ(sim.journal("IOPCSyncIO::Read").size(), 2u);
    EXPECT_EQ(sim.counts()["groups"], 0);
}

TEST_F(OpxDaServerTest, ManyThreadsReadTheSameNewItems) {
    ASSERT_EQ(connect(), S_OK);
    constexpr int kRounds = 200;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < kRounds; ++round) {
                auto own = named({OLESTR("Constant.Int32"), OLESTR("Constant.Double"), OLESTR("No.Such.Item")});
                if (t % 2 == 0) std::swap(own[0], own[1]);
                std::vector<OpxItemValue> ownValues;
                std::vector<std::int32_t> ownErrors;
                if (server.read(0, own, ownValues, ownErrors) != S_FALSE || ownErrors.size() != 3) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    items = named({OLESTR("Constant.Int32"), OLESTR("Constant.Double")});
    EXPECT_EQ(read(), S_OK);
}

}  // namespace
}  // namespace OpxOpc
