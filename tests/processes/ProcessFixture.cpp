#include "tests/processes/ProcessFixture.h"

#include "tests/processes/ServerProgram.h"

namespace Korvex::Testing {
namespace {

class RegisteredServer final : public ::testing::Environment {
public:
    void SetUp() override { registerServer(); }
};

const auto* const kRegisteredServer = ::testing::AddGlobalTestEnvironment(new RegisteredServer);

}  // namespace

ProcessFixture::ProcessFixture() {
    for (const DWORD leftover : serverProcesses()) endProcess(leftover);
    control_.emplace(CLSCTX_LOCAL_SERVER);
}

ProcessFixture::~ProcessFixture() {
    control_.reset();
    EXPECT_TRUE(serversEnd(std::chrono::seconds(20))) << "no client is left, yet the server's process lives";
    for (const DWORD leftover : serverProcesses()) endProcess(leftover);
}

void ProcessFixture::vanish() {
    end("vanish");
}

void ProcessFixture::die() {
    end("die");
    // Wine's broker of COM servers goes on believing in the dead one for as long as it lives.
    for (const DWORD broker : processesOf(OLESTR("rpcss.exe"))) endProcess(broker);
}

void ProcessFixture::end(const std::string& command) {
    std::string ignored;
    EXPECT_TRUE(failed(control_->tryExecute(command, ignored)));
    control_.reset();
}

}  // namespace Korvex::Testing
