// opcda watch beside a server that goes and comes back.
#include "tools/opcda/WatchCommand.h"

#include <csignal>
#include <future>
#include <ostream>
#include <streambuf>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include "tests/support/Mailbox.h"
#include "tests/support/SimulationFixture.h"

namespace Korvex::Tool {
namespace {

// Output as lines that can be read while others are written.
class Lines : public std::streambuf, public Testing::Mailbox<std::string> {
public:
    // Waits for a line that ends so, behind that of the last such wait.
    bool reachEnd(const std::string& end) {
        return reaches([&](const std::string& line) { return line.ends_with(end); });
    }

protected:
    int_type overflow(int_type c) override {
        if (c == '\n')
            put(std::exchange(line_, {}));
        else
            line_ += static_cast<char>(c);
        return c;
    }

private:
    std::string line_;
};

TEST(WatchCommand, SurvivesItsServerAndTellsWhatBecomesOfItUntilItIsInterrupted) {
    const Testing::SimulationApartment apartment(COINIT_MULTITHREADED);
    Testing::SimulationControl server;
    server.reset();

    CLI::App app;
    const WatchCommand watch(app);
    app.parse(
        "watch opcda://localhost/Korvex.Simulation.1/{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3} "
        "Signal.Counter Constant.String --rate 100 --keep-alive 2000");
    Lines lines;
    std::ostream out(&lines);
    auto status = std::async(std::launch::async, [&] { return watch.run({out, out, false}); });

    EXPECT_TRUE(lines.reachEnd("Z  connected"));
    EXPECT_TRUE(lines.reachEnd("Z  Constant.String  Constant text         OPC_QUALITY_GOOD"));
    server.execute("dead");
    EXPECT_TRUE(lines.reachEnd("Z  connection lost"));
    EXPECT_TRUE(lines.reachEnd("Z  Constant.String  -                     OPC_QUALITY_BAD"));
    server.execute("alive");
    EXPECT_TRUE(lines.reachEnd("Z  connected"));
    EXPECT_TRUE(lines.reachEnd("Z  Constant.String  Constant text         OPC_QUALITY_GOOD"));

    std::raise(SIGINT);
    EXPECT_EQ(status.get(), kSuccess);
    EXPECT_TRUE(lines.reachEnd("Z  disconnected"));
}

}  // namespace
}  // namespace Korvex::Tool
