#include "opc/callbacks/OpxOPCShutdown.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "opc/callbacks/unowned.h"
#include "tests/support/RecordingCallback.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/expected_lines.h"

namespace Korvex::Testing {
namespace {

using Com::ComPtr;
using OpxOpc::OpxOPCShutdown;
using ::testing::ElementsAre;

std::vector<std::string> expected(const std::string& name) {
    return linesOf("opc/expected.trace", name);
}

TEST(OpxOPCShutdown, ARequestIsToldAsAStatusWithItsReasonIfThereIsOne) {
    TraceCapture trace;
    RecordingCallback client;
    ComPtr<OpxOPCShutdown> sink(new OpxOPCShutdown(unowned(&client)));
    EXPECT_EQ(sink->ShutdownRequest(OLESTR("maintenance")), S_OK);
    EXPECT_EQ(sink->ShutdownRequest(nullptr), S_OK);
    ASSERT_EQ(client.statuses().size(), 2u);
    EXPECT_EQ(client.statuses()[0].clientHandle, 0u);
    EXPECT_EQ(client.statuses()[0].status, OpxOpc::SERVERSTATUS_SHUTDOWN);
    EXPECT_EQ(sink.release(), 0u);
    EXPECT_EQ(trace.texts(), expected("ARequestIsToldAsAStatusWithItsReasonIfThereIsOne"));
}

TEST(OpxOPCShutdown, WhatAClientThrowsDoesNotReachTheServer) {
    struct Thrower : RecordingCallback {
        void ServerStatusChange(std::uint32_t, OpxOpc::ServerStatus) override { throw std::runtime_error("client"); }
    } client;
    ComPtr<OpxOPCShutdown> sink(new OpxOPCShutdown(unowned(&client)));
    EXPECT_EQ(sink->ShutdownRequest(nullptr), S_OK);
}

}  // namespace
}  // namespace Korvex::Testing
