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

// From outside: a process under Wine that ends itself with clients attached may hang while it does.
void endServers() {
    for (const DWORD server : serverProcesses()) endProcess(server);
}

void endLeftovers() {
    endServers();
    endBroker();
}

// Tests of the registration that were ended in their middle.
void forgetWhatOthersLeft() {
    run("regsvr32 /s /u KorvexSimulation.dll");
    for (const std::string root : {"HKLM", "HKCU"})
        run("reg delete " + root +
            "\\Software\\Classes\\Interface\\{F31DFDE1-07B6-11D2-B2D8-0060083BA1FB} /f >NUL 2>NUL");
}

class RegisteredServer final : public ::testing::Environment {
public:
    void SetUp() override {
        endLeftovers();
        forgetWhatOthersLeft();
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
    std::string answer;
    if (control_) control_->tryExecute("revoke", answer);  // it need not wait for other clients
    leave();
    EXPECT_TRUE(serversEnd(std::chrono::seconds(20))) << "no client is left, yet the server's process lives";
    if (!serverProcesses().empty()) endLeftovers();
}

void ProcessFixture::vanish() {
    sim().execute("revoke");
    endServers();
    control_.reset();
}

void ProcessFixture::die() {
    endLeftovers();
    control_.reset();
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

}  // namespace Korvex::Testing
