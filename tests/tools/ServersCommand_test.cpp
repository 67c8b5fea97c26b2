// opcda servers beside a list of servers that is not there.
#include "tools/opcda/ServersCommand.h"

#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <CLI/CLI.hpp>

#include "com/BuiltInClass.h"
#include "com/opc_interfaces.h"
#include "tests/tools/run_command.h"

namespace Korvex::Tool {
namespace {

using ::testing::HasSubstr;

TEST(ServersCommand, SaysWhatIsMissingOnThisMachine) {
    const Testing::SimulationApartment apartment(COINIT_MULTITHREADED);
    const auto unregistered = Com::ComPtr<IClassFactory>::adopt(
        new Com::BuiltInClass([](REFIID, void**) -> HRESULT { return REGDB_E_CLASSNOTREG; }));
    DWORD cookie = 0;
    ASSERT_EQ(CoRegisterClassObject(CLSID_OpcServerList, unregistered.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                    &cookie),
              S_OK);
    for (const char* arguments : {"servers", "servers localhost", "servers LOCALHOST", "servers 127.0.0.1"}) {
        CLI::App app;
        const ServersCommand command(app);
        app.parse(arguments);
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(command.run({out, err, false}), kServerFailed) << arguments;
        EXPECT_THAT(err.str(), HasSubstr("{13486D51-4821-11D2-A494-3CB306C10000} is not registered")) << arguments;
    }
    CoRevokeClassObject(cookie);
}

}  // namespace
}  // namespace Korvex::Tool
