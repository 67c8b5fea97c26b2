// The simulation server in the test's own process.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "sim/SimulationControl.h"
#include "tests/support/TraceCapture.h"

namespace Korvex::Testing {

// The calling thread's stay in an apartment of COM that knows the simulation server's class.
class SimulationApartment {
public:
    explicit SimulationApartment(DWORD apartment);
    ~SimulationApartment();
    SimulationApartment(const SimulationApartment&) = delete;
    SimulationApartment& operator=(const SimulationApartment&) = delete;

private:
    DWORD registration_ = 0;
};

// Steers a simulated plant, usually that of this process; see sim/SimulationControl.h for the commands.
class SimulationControl {
public:
    // The calling thread must be in a SimulationApartment, or in any for a server outside the process.
    SimulationControl();
    explicit SimulationControl(DWORD context);

    // Carries out a command; one that is not understood fails the test.
    std::string execute(const std::string& command);
    // The same for one that may fail.
    HRESULT tryExecute(const std::string& command, std::string& answer);

    // KORVEX_TEST_PROFILE=2 has the server offer the interfaces of data access 2.0 only.
    void reset();
    // Every call from now on answers `code`, or with `nth` only the nth.
    void fault(const std::string& method, HRESULT code, int nth = 0);
    void refuse(const std::string& interfaceName) { execute("refuse " + interfaceName); }
    void accept(const std::string& interfaceName) { execute("accept " + interfaceName); }
    void profile(int dataAccess) { execute("profile " + std::to_string(dataAccess)); }
    // Success with nonsense.
    void answer(const std::string& method, const std::string& kind) { execute("answer " + method + " " + kind); }
    void item(const std::string& itemId, const std::string& change) { execute("item " + itemId + " " + change); }

    // The calls since the journal was cleared, one line each.
    std::vector<std::string> journal() { return linesOf(execute("journal")); }
    // Those of one method.
    std::vector<std::string> journal(const std::string& method);
    void clearJournal() { execute("journal clear"); }

    // Living objects by their kind: "servers", "groups", "items", "sinks", "shutdownsinks".
    std::map<std::string, int> counts();

private:
    static std::vector<std::string> linesOf(const std::string& text);

    Com::ComPtr<ISimulationControl> control_;
};

// "0x80004005" as the trace and the simulation write codes.
std::string hex(std::int64_t code);

// A test with a fresh simulation and a capture of the trace, on a thread of the multi-threaded apartment.
class SimulationFixture : public ::testing::Test {
protected:
    SimulationFixture() { sim.reset(); }
    ~SimulationFixture() override { sim.reset(); }

    // Runs `body` on a thread of its own, in a single-threaded apartment that knows the server.
    static void inSingleThreadedApartment(const std::function<void()>& body);

private:
    SimulationApartment apartment_{COINIT_MULTITHREADED};

protected:
    SimulationControl sim;
    TraceCapture trace;
};

}  // namespace Korvex::Testing
