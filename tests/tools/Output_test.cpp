// What all commands print to a terminal.
#include "tools/opcda/WriteCommand.h"

#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/tools/run_command.h"
#include "tools/opcda/BrowseCommand.h"
#include "tools/opcda/PropsCommand.h"
#include "tools/opcda/ReadCommand.h"
#include "tools/opcda/WatchCommand.h"

namespace Korvex::Tool {
namespace {

class OutputTest : public CommandTest {
protected:
    static Printed write(std::vector<std::string> arguments) {
        return run<WriteCommand>("write", std::move(arguments));
    }
};

TEST_F(OutputTest, WhatServersSayMovesNoCursorAndStartsNoLine) {
    const std::string text = "a\033[2J\r\nb\xC2\x9B\xE2\x80\xAE";
    const std::string visible = "a\\u001B[2J\\u000D\\u000Ab\\u009B\\u202E";
    const std::string item = "Register.String";
    const auto expectVisible = [&](const std::string& printed, const std::string& line) {
        EXPECT_NE(printed.find(line), std::string::npos) << printed;
        EXPECT_EQ(printed.find_first_of("\033\r"), std::string::npos) << printed;
    };
    EXPECT_EQ(write({item + "=" + text}).status, kSuccess);
    expectVisible(run<ReadCommand>("read", {item}).out, "\n" + item + "  " + visible + "  String ");
    expectVisible(run<WatchCommand>("watch", {"--count", "1", item}).out, "  " + item + "  " + visible + " ");
    expectVisible(run<PropsCommand>("props", {"--id", "2", item}).out, "  " + visible);
    const std::string raw = run<ReadCommand>("read", {"--json", item}).out;
    EXPECT_EQ(nlohmann::json::parse(raw)[0]["value"], text);
    EXPECT_NE(raw.find("\xE2\x80\xAE"), std::string::npos) << raw;
    for (const std::string& printed : {run<ReadCommand>("read", {"--json", item}, {.out = true}).out,
                                       run<WatchCommand>("watch", {"--json", "--count", "1", item}, {.out = true}).out,
                                       run<PropsCommand>("props", {"--json", "--id", "2", item}, {.out = true}).out}) {
        expectVisible(printed, "\\u001b[2J\\r\\nb\\u009b\\u202e");
    }

    expectVisible(write({text + "=1"}).err, "opcda: " + visible + ": OPC_E_");
    expectVisible(run<PropsCommand>("props", {text}).out, visible + "\n");
    expectVisible(run<BrowseCommand>("browse", {text}).err, "opcda: " + visible + ": ");
}

}  // namespace
}  // namespace Korvex::Tool
