// A test beside the simulation server in another process.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "tests/support/FastClock.h"
#include "tests/support/Mailbox.h"
#include "tests/support/SimulationFixture.h"

namespace Korvex::Testing {

// The calling thread's stay in the multi-threaded apartment.
class MultiThreadedApartment {
public:
    MultiThreadedApartment() { CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~MultiThreadedApartment() { CoUninitialize(); }
    MultiThreadedApartment(const MultiThreadedApartment&) = delete;
    MultiThreadedApartment& operator=(const MultiThreadedApartment&) = delete;
};

// COM starts the server's process for the first test object and it must have ended when the test is over.
class ProcessFixture : public ::testing::Test {
protected:
    static constexpr const char* kUrl = "opcda://localhost/Korvex.Simulation.1/{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}";

    ProcessFixture();
    ~ProcessFixture() override;

    SimulationControl& sim() { return *control_; }
    // The server goes away at once; COM starts another one for who comes next.
    void vanish();
    // The server is ended hard, and COM is not told.
    void die();
    // Steers the process that serves now.
    void steerAgain();
    // Lets go of the process.
    void leave() { control_.reset(); }

private:
    MultiThreadedApartment apartment_;
    std::optional<SimulationControl> control_;
};

// A connection whose server goes away.
class LossFixture : public ProcessFixture {
protected:
    using State = OPC::OpcDaClient::ServerState;

    LossFixture() {
        server.add_ServerStateChanged([states = states](std::int32_t, State state) { states->put(state); });
    }
    ~LossFixture() override { server.Dispose(); }

    void connect() {
        bool connectFailed = true;
        server.Connect(kUrl, 7, &info, connectFailed);
        ASSERT_FALSE(connectFailed);
        ASSERT_TRUE(states->reaches(State::CONNECTED));
    }
    bool comesBack() { return states->reaches(State::ERRORWATCHDOG) && states->reaches(State::CONNECTED); }

    // A check of the server takes 200 ms and its process longer to start: what is tested is not the waiting.
    const FastClock clock{10};
    const std::shared_ptr<Mailbox<State>> states = std::make_shared<Mailbox<State>>();
    OPC::OpcDaClient::ConnectInfo info;
    OPC::OpcDaClient::DaServerMgt server;
};

}  // namespace Korvex::Testing
