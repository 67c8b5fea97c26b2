// opcda browse beside both kinds of servers.
#include "tools/opcda/BrowseCommand.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/tools/run_command.h"

namespace Korvex::Tool {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

Printed browse(std::vector<std::string> arguments, bool errorTerminal = false) {
    return run<BrowseCommand>("browse", std::move(arguments), {.error = errorTerminal});
}

class BrowseCommandTest : public CommandTest, public ::testing::WithParamInterface<int> {
protected:
    BrowseCommandTest() { server.profile(GetParam()); }
};

TEST_P(BrowseCommandTest, ABranchThatFailsIsToldOfAndTheOthersAreShown) {
    const char* method = GetParam() == 3 ? "IOPCBrowse::Browse" : "IOPCBrowseServerAddressSpace::BrowseOPCItemIDs";
    server.fault(method, E_ACCESSDENIED, 2);
    const Printed printed = browse({});
    EXPECT_EQ(printed.status, kItemsFailed);
    EXPECT_THAT(printed.out, HasSubstr(GetParam() == 3 ? "Access/\nAnalog/\n" : ""));
    EXPECT_THAT(printed.err, HasSubstr("0x80070005"));
    EXPECT_EQ(browse({"No.Such"}).status, kItemsFailed);
}

TEST_P(BrowseCommandTest, ALongWalkShowsOnATerminalHowFarItHasCome) {
    server.execute("load 1200");
    const char* slow = GetParam() == 3 ? "IOPCBrowse::Browse" : "IOPCBrowseServerAddressSpace::ChangeBrowsePosition";
    server.execute(std::string("delay ") + slow + " 250");
    const Printed printed = browse({"Load"}, true);
    EXPECT_THAT(printed.err, StartsWith("\r"));
    EXPECT_THAT(printed.err, HasSubstr("00 elements\r"));
    EXPECT_THAT(printed.err, EndsWith("   \r")) << "it is taken away";
    EXPECT_THAT(printed.out, Not(HasSubstr("elements")));
    EXPECT_EQ(browse({"Load"}).err, "") << "no terminal";
}

INSTANTIATE_TEST_SUITE_P(Of, BrowseCommandTest, ::testing::Values(2, 3),
                         [](const auto& which) { return "DataAccess" + std::to_string(which.param); });

}  // namespace
}  // namespace Korvex::Tool
