#include "tests/opc/calls.h"

namespace Korvex::Testing {
namespace {

using Failures = SimulationFixture;

TEST_F(Failures, AreAnsweredWithTheirCodeAndStandInTheTrace) {
    for (const auto& row : rowsOf("opc/failures.txt", 5)) {
        SCOPED_TRACE(row[0] + ", " + row[1] + ": " + row[2]);
        sim.reset();
        Connection c;
        if (row[0] == "server") c.connect();
        if (row[0] == "group") c.connectWithGroup();
        if (!row[1].empty()) sim.execute(row[1]);
        expectOutcome(c, row[2], row[3], row[4], trace);
        EXPECT_TRUE(c.errors.empty());
    }
}

TEST_F(Failures, LeaveNothingInTheListsOfTheirCall) {
    for (const std::string call : {"read", "readAsync", "write", "writeAsync"}) {
        Connection unavailable;
        unavailable.values.resize(1);
        unavailable.errors = {S_OK};
        EXPECT_EQ(callNamed(call, unavailable), E_FAIL);
        EXPECT_TRUE(unavailable.errors.empty()) << call;
        EXPECT_EQ(unavailable.values.empty(), call == "read");
    }
}

}  // namespace
}  // namespace Korvex::Testing
