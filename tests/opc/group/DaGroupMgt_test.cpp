#include "opc/group/DaGroupMgt.h"

#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "tests/opc/apartment/ComFakes.h"
#include "tests/opc/group/GroupFixture.h"
#include "tests/support/expected_lines.h"

namespace Korvex::Testing {
namespace {

std::vector<std::string> expected(const std::string& name) {
    return linesOf("opc/expected.trace", name);
}

class DaGroupMgtTest : public SimulationFixture {
protected:
    DaGroupMgtTest() {
        EXPECT_EQ(c.connectWithGroup(), S_OK);
        trace.clear();
        sim.clearJournal();
    }

    Connection c;
};

TEST_F(DaGroupMgtTest, ATransactionNeedsAConnectedCallback) {
    const auto transaction = [] {
        return std::make_shared<OpxOpc::ComAsyncTransaction>(1, std::map<std::uint32_t, std::uint32_t>(), Types(),
                                                             Handles());
    };
    EXPECT_EQ(c.group.registerTransaction(transaction()), 0u);
    ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
    const auto key = c.group.registerTransaction(transaction());
    EXPECT_NE(key, 0u);
    c.group.removeTransaction(key);
    EXPECT_TRUE(trace.has("<-- Dtor ComAsyncTransaction"));
}

TEST_F(DaGroupMgtTest, ASinkThatTheServerKeepsIsCutOffAndTellsNothingMore) {
    const ComCallsGuard guard;
    Com::comCalls().coDisconnectObject = [](IUnknown*) -> HRESULT { return S_FALSE; };
    c.add(OLESTR("Signal.Counter"));
    ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
    sim.fault("IConnectionPoint::Unadvise", E_FAIL);
    trace.clear();
    EXPECT_EQ(c.group.disconnectCallback(), S_FALSE);
    EXPECT_EQ(trace.textsWith("Co"), expected("ASinkThatTheServerKeepsIsCutOffAndTellsNothingMore"));
    const auto told = c.client.dataChanges().size();
    c.group.setActive(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(c.client.dataChanges().size(), told);
    EXPECT_TRUE(trace.has("<== OPCDataCallback::OnDataChange - callback pointer is NULL"));
}

TEST_F(DaGroupMgtTest, AnExceptionWhileASinkIsGivenUpIsCaught) {
    const ComCallsGuard guard;
    Com::comCalls().coDisconnectObject = [](IUnknown*) -> HRESULT { throw std::runtime_error("proxy"); };
    ASSERT_EQ(c.group.connectCallback(c.sharedClient), S_OK);
    sim.fault("IConnectionPoint::Unadvise", E_FAIL);
    EXPECT_EQ(c.group.disconnectCallback(), E_FAIL);
    EXPECT_TRUE(trace.has("Error: DaGroupMgt::disconnectCallback - Error at releasing callback object"));
    EXPECT_EQ(c.group.connectCallback(c.sharedClient), S_OK) << "the callback counts as disconnected";
}

}  // namespace
}  // namespace Korvex::Testing
