// What the tool's commands print, as sessions.txt has it.
#include <fstream>
#include <functional>
#include <iomanip>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tools/run_command.h"
#include "tools/opcda/BrowseCommand.h"
#include "tools/opcda/PropsCommand.h"
#include "tools/opcda/ReadCommand.h"
#include "tools/opcda/WatchCommand.h"
#include "tools/opcda/WriteCommand.h"

namespace Korvex::Tool {
namespace {

// By data access 2.0 and 3.0.
class SessionsTest : public CommandTest, public ::testing::WithParamInterface<int> {
protected:
    std::string answerTo(const std::string& line) {
        if (line[0] == '%') return prefixed("| ", server.execute(line.substr(2)));
        std::istringstream words(line.substr(2));
        std::string name;
        words >> name;
        std::vector<std::string> arguments;
        for (std::string word; words >> std::quoted(word, '\'');) arguments.push_back(word);
        const Printed printed = kCommands.at(name)(arguments);
        const std::string status = printed.status == 0 ? "" : "= " + std::to_string(printed.status) + "\n";
        return prefixed("| ", printed.out) + prefixed("! ", printed.err) + status;
    }

private:
    using Run = std::function<Printed(const std::vector<std::string>&)>;

    // Each line behind `prefix`, without the blanks at its end, and with TIME for a time of the server's.
    static std::string prefixed(const std::string& prefix, const std::string& text) {
        static const std::regex time("20(2[5-9]|[3-9][0-9])-[0-9-]+T[0-9:.]+Z");
        static const std::regex blanks(" +$");
        std::string all;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            all += std::regex_replace(prefix + std::regex_replace(line, time, "TIME"), blanks, "") + "\n";
        return all;
    }

    template <typename Command>
    static Run runs(const char* name) {
        return [name](const std::vector<std::string>& arguments) { return run<Command>(name, arguments); };
    }
    const std::map<std::string, Run> kCommands = {{"browse", runs<BrowseCommand>("browse")},
                                                  {"props", runs<PropsCommand>("props")},
                                                  {"read", runs<ReadCommand>("read")},
                                                  {"watch", runs<WatchCommand>("watch")},
                                                  {"write", runs<WriteCommand>("write")}};
};

TEST_P(SessionsTest, PrintWhatStandsInTheirFile) {
    std::ifstream file(KORVEX_TESTS_FOLDER "/tools/sessions.txt");
    std::string name = "no session";
    std::string expected;
    std::string printed;
    const auto finish = [&] {
        EXPECT_EQ(printed, expected) << name;
        expected.clear();
        printed.clear();
        server.reset();
        server.profile(GetParam());
    };
    finish();
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("==", 0) == 0) {
            finish();
            name = line;
        } else if (line.rfind("$ ", 0) == 0 || line.rfind("% ", 0) == 0) {
            expected += line + "\n";
            printed += line + "\n" + answerTo(line);
        } else if (!line.empty() && line[0] != '#') {
            expected += line + "\n";
        }
    }
    finish();
    EXPECT_NE(name, "no session");
}

INSTANTIATE_TEST_SUITE_P(DataAccess, SessionsTest, ::testing::Values(2, 3));

}  // namespace
}  // namespace Korvex::Tool
