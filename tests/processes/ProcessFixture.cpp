#include "tests/processes/ProcessFixture.h"

#include "tests/processes/ServerProgram.h"

namespace Korvex::Testing {
namespace {

class RegisteredServer final : public ::testing::Environment {
public:
    void SetUp() override { registerServer(); }
};

const auto* const kRegisteredServer = ::testing::AddGlobalTestEnvironment(new RegisteredServer);

// Wine's broker of COM servers goes on believing in a dead one for as long as it lives.
void endBroker() {
    for (const DWORD broker : processesOf(OLESTR("rpcss.exe"))) endProcess(broker);
}

}  // namespace

ProcessFixture::ProcessFixture() {
    control_.emplace(CLSCTX_LOCAL_SERVER);
}

ProcessFixture::~ProcessFixture() {
    control_.reset();
    EXPECT_TRUE(serversEnd(std::chrono::seconds(20))) << "no client is left, yet the server's process lives";
    if (serverProcesses().empty()) return;
    for (const DWORD leftover : serverProcesses()) endProcess(leftover);
    endBroker();
}

void ProcessFixture::vanish() {
    end("vanish");
}

void ProcessFixture::die() {
    end("die");
    endBroker();
}

void ProcessFixture::end(const std::string& command) {
    std::string ignored;
    EXPECT_TRUE(failed(control_->tryExecute(command, ignored)));
    control_.reset();
}

}  // namespace Korvex::Testing
