// opcda write and opcda read beside one server.
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

class WriteCommandTest : public CommandTest {
protected:
    static Printed write(std::vector<std::string> arguments) {
        return run<WriteCommand>("write", std::move(arguments));
    }
};

TEST_F(WriteCommandTest, WhatIsWrittenIsReadAgain) {
    const struct {
        const char* item;
        const char* value;
        const char* json;
    } rows[] = {
        {"Register.Boolean", "true", "true"},
        {"Register.Int8", "-8", "-8"},
        {"Register.Int16", "-1600", "-1600"},
        {"Register.Int32", "-320000", "-320000"},
        {"Register.Int64", "-9007199254740993", "\"-9007199254740993\""},
        {"Register.UInt8", "200", "200"},
        {"Register.UInt16", "65535", "65535"},
        {"Register.UInt32", "4294967295", "4294967295"},
        {"Register.UInt64", "18446744073709551615", "\"18446744073709551615\""},
        {"Register.Float", "1.5", "1.5"},
        {"Register.Double", "-2.25e10", "-22500000000.0"},
        {"Register.Currency", "12.3456", "\"12.3456\""},
        {"Register.Date", "2024-02-29T12:30:15Z", "\"2024-02-29T12:30:15.000Z\""},
        {"Register.String", "a=b|c", "\"a=b|c\""},
        {"Register.Decimal", "12.5", "\"12.5\""},
        {"Register.BooleanArray", "{true|false}", "[true,false]"},
        {"Register.Int8Array", "{-1|2}", "[-1,2]"},
        {"Register.Int16Array", "{-1|2}", "[-1,2]"},
        {"Register.Int32Array", "{1|2|3}", "[1,2,3]"},
        {"Register.Int64Array", "{-1|2}", "[-1,2]"},
        {"Register.UInt8Array", "{0|255}", "[0,255]"},
        {"Register.UInt16Array", "{1|2}", "[1,2]"},
        {"Register.UInt32Array", "{1|2}", "[1,2]"},
        {"Register.UInt64Array", "{1|2}", "[1,2]"},
        {"Register.FloatArray", "{1.5|-2}", "[1.5,-2.0]"},
        {"Register.DoubleArray", "{1.5|-2}", "[1.5,-2.0]"},
        {"Register.CurrencyArray", "{1.5|2.25}", "[\"1.5\",\"2.25\"]"},
        {"Register.DateArray", "{2024-02-29T12:30:00Z}", "[\"2024-02-29T12:30:00.000Z\"]"},
        {"Register.StringArray", "{a|b c}", "[\"a\",\"b c\"]"},
        {"Register.DecimalArray", "{1.5|2.25}", "[\"1.5\",\"2.25\"]"},
        {"Register.VariantArray", "{a|b}", "[\"a\",\"b\"]"},
    };
    std::vector<std::string> assignments;
    std::vector<std::string> names = {"--json"};
    for (const auto& row : rows) {
        assignments.push_back(std::string(row.item) + "=" + row.value);
        names.push_back(row.item);
    }
    const Printed written = write(assignments);
    EXPECT_EQ(written.status, kSuccess) << written.out << written.err;

    const Printed read = run<ReadCommand>("read", names);
    EXPECT_EQ(read.status, kSuccess) << read.out;
    const auto answer = nlohmann::ordered_json::parse(read.out);
    ASSERT_EQ(answer.size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(answer[i]["value"].dump(), rows[i].json) << rows[i].item;
    }
}

TEST_F(WriteCommandTest, EveryRefusedItemIsNamedAndTheOthersAreWritten) {
    const Printed printed =
        write({"Register.Int32=7", "Access.ReadOnly=1", "No.Such.Item=x", "Analog.Level=500", "Access.WriteOnly=3"});
    EXPECT_EQ(printed.status, kItemsFailed);
    EXPECT_EQ(printed.err.find("opcda: Access.ReadOnly: OPC_E_BADRIGHTS: "), 0u) << printed.err;
    EXPECT_NE(printed.err.find("\nopcda: No.Such.Item: OPC_E_UNKNOWNITEMID: "), std::string::npos) << printed.err;
    EXPECT_EQ(printed.out.find("Analog.Level: OPC_S_CLAMP: "), 0u) << printed.out;
    EXPECT_EQ(server.execute("written Register.Int32"), "3 7");
    EXPECT_EQ(server.execute("written Access.WriteOnly"), "3 3");
}

TEST_F(WriteCommandTest, AValueThatIsNoneOfItsTypeWritesNothing) {
    for (const char* assignment :
         {"Register.Int32=x", "Register.Int8=200", "Register.Boolean=yes", "Register.Date=today",
          "Register.Int32Array=1", "Register.Decimal=1,5", "Register.Int32", "=1"}) {
        const Printed printed = write({"Register.UInt8=1", assignment});
        EXPECT_EQ(printed.status, kUsage) << assignment;
        EXPECT_FALSE(printed.err.empty()) << assignment;
    }
    EXPECT_EQ(write({"--type", "number", "Register.Int32=1"}).status, kUsage);
    EXPECT_EQ(server.execute("written Register.UInt8"), "0 ");

    EXPECT_EQ(write({"--type", "string", "Register.Int32=0012"}).status, kSuccess) << "the library converts it";
    EXPECT_EQ(server.execute("written Register.Int32"), "3 12");
}

TEST_F(WriteCommandTest, WhatServersSayMovesNoCursorAndStartsNoLine) {
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
