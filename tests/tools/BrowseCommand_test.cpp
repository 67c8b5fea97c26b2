// opcda browse and opcda props beside both kinds of servers.
#include "tools/opcda/BrowseCommand.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/tools/run_command.h"
#include "tools/opcda/PropsCommand.h"

namespace Korvex::Tool {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

Printed browse(std::vector<std::string> arguments, bool errorTerminal = false) {
    return run<BrowseCommand>("browse", std::move(arguments), {.error = errorTerminal});
}
Printed props(std::vector<std::string> arguments) {
    return run<PropsCommand>("props", std::move(arguments));
}

class BrowseCommandTest : public CommandTest, public ::testing::WithParamInterface<int> {
protected:
    BrowseCommandTest() { server.profile(GetParam()); }
};

TEST_P(BrowseCommandTest, TheTreeShowsBranchesAndTheIdsOfItems) {
    const Printed printed = browse({"Analog"});
    EXPECT_EQ(printed.status, kSuccess);
    EXPECT_EQ(printed.out,
              "Level/  Analog.Level\n  High  Analog.Level.High\n  Low  Analog.Level.Low\n"
              "  Units  Analog.Level.Units\nTemperature/  Analog.Temperature\n  High  Analog.Temperature.High\n"
              "  Low  Analog.Temperature.Low\n  Units  Analog.Temperature.Units\n");
    EXPECT_EQ(browse({"--depth", "1", "Analog"}).out, "Level/  Analog.Level\nTemperature/  Analog.Temperature\n");
    EXPECT_EQ(browse({"Constant.Int32"}).out, "");
}

TEST_P(BrowseCommandTest, JsonIsTheSameAsNestedRecords) {
    const auto tree = nlohmann::json::parse(browse({"--json", "Analog"}).out);
    ASSERT_EQ(tree.size(), 2u);
    EXPECT_EQ(tree[0]["item"], "Analog.Level");
    EXPECT_EQ(tree[0]["isItem"], true);
    ASSERT_EQ(tree[0]["children"].size(), 3u);
    EXPECT_EQ(
        tree[0]["children"][2],
        nlohmann::json::parse(R"({"name":"Units","item":"Analog.Level.Units","isItem":true,"hasChildren":false})"));
}

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

TEST_P(BrowseCommandTest, PropertiesAreATableAnItem) {
    const Printed printed = props({"Analog.Level"});
    EXPECT_EQ(printed.status, kSuccess);
    EXPECT_THAT(printed.out, HasSubstr("\n1    Item Canonical Data Type  Int16     Double\n"));
    EXPECT_THAT(printed.out, HasSubstr("\n102  High EU                   Double    100                       "
                                       "Analog.Level.High"));
    const Printed chosen = props({"--id", "100", "--id", "7777", "--json", "--no-values", "Analog.Level", "No.Such"});
    EXPECT_EQ(chosen.status, kItemsFailed);
    const auto json = nlohmann::json::parse(chosen.out);
    EXPECT_EQ(json[0]["properties"][0]["description"], "EU Units");
    EXPECT_FALSE(json[0]["properties"][0].contains("value"));
    EXPECT_EQ(json[0]["properties"][1]["result"], "OPC_E_INVALID_PID");
    EXPECT_EQ(json[1]["result"], "OPC_E_UNKNOWNITEMID");
}

INSTANTIATE_TEST_SUITE_P(Of, BrowseCommandTest, ::testing::Values(2, 3),
                         [](const auto& which) { return "DataAccess" + std::to_string(which.param); });

}  // namespace
}  // namespace Korvex::Tool
