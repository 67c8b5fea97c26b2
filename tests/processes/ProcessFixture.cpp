#include "tests/processes/ProcessFixture.h"

#include <stdexcept>
#include <thread>

#include "tests/processes/KeptInterfaces.h"
#include "tests/processes/ServerProgram.h"

namespace Korvex::Testing {
namespace {

// Wine's broker of COM servers goes on believing in a dead one for as long as it lives.
void endBroker() {
    for (const DWORD broker : processesOf(OLESTR("rpcss.exe"))) endProcess(broker);
}

void endLeftovers() {
    for (const DWORD server : serverProcesses()) endProcess(server);
    endBroker();
}

class RegisteredServer final : public ::testing::Environment {
public:
    void SetUp() override {
        endLeftovers();
        registerServer();
        interfaces_.emplace();
    }
    void TearDown() override { interfaces_.reset(); }

private:
    std::optional<KeptInterfaces> interfaces_;
};

const auto* const kRegisteredServer = ::testing::AddGlobalTestEnvironment(new RegisteredServer);

}  // namespace

ProcessFixture::ProcessFixture() {
    steerAgain();
}

ProcessFixture::~ProcessFixture() {
    control_.reset();
    EXPECT_TRUE(serversEnd(std::chrono::seconds(20))) << "no client is left, yet the server's process lives";
    if (!serverProcesses().empty()) endLeftovers();
}

void ProcessFixture::vanish() {
    end("vanish");
}

void ProcessFixture::die() {
    end("die");
    endBroker();
}

void ProcessFixture::steerAgain() {
    constexpr int kTries = 50;
    for (int i = 1; !control_; ++i) {
        try {
            control_.emplace(CLSCTX_LOCAL_SERVER);
        } catch (const std::runtime_error&) {
            // COM may lead to a process that is about to end.
            if (i == kTries) throw;
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    }
}

void ProcessFixture::end(const std::string& command) {
    std::string ignored;
    EXPECT_TRUE(failed(control_->tryExecute(command, ignored)));
    control_.reset();
}

}  // namespace Korvex::Testing
