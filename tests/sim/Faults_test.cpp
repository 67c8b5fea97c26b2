#include <future>

#include "tests/sim/Client.h"
#include "tests/support/rows.h"

namespace Korvex::Simulation {
namespace {

using std::chrono::milliseconds;

class Faults : public SimulationTest {
protected:
    HRESULT status() const {
        Com::TaskArray<OPCSERVERSTATUS> status(1);
        const HRESULT result = opc()->GetStatus(status.put());
        if (status) CoTaskMemFree(status[0].szVendorInfo);
        return result;
    }
};

TEST_F(Faults, CallsWaitWhileTheyAreDelayedOrHang) {
    run("delay IOPCServer::GetStatus 100");
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(status(), S_OK);
    EXPECT_GE(std::chrono::steady_clock::now() - begun, milliseconds(95));
    run("delay IOPCServer::GetStatus 0");

    for (const std::string command : {"release IOPCServer::GetStatus", "reset"}) {
        run("journal clear");
        run("hang IOPCServer::GetStatus");
        auto call = std::async(std::launch::async, [this] { return status(); });
        EXPECT_EQ(call.wait_for(milliseconds(100)), std::future_status::timeout);
        EXPECT_EQ(run("journal"), "IOPCServer::GetStatus -> running\n");
        server<IOPCCommon>();
        run(command);
        EXPECT_EQ(call.get(), S_OK);
    }
}

TEST_F(Faults, CommandsThatMakeNoSenseChangeNothing) {
    for (const auto& row : Testing::rowsOf("sim/bad_commands.txt", 1)) {
        std::string why;
        EXPECT_EQ(tryRun(row[0], why), E_INVALIDARG) << row[0];
        EXPECT_FALSE(why.empty()) << row[0];
    }
    EXPECT_EQ(status(), S_OK);
}

}  // namespace
}  // namespace Korvex::Simulation
