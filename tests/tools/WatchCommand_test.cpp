// opcda watch beside a server that goes and comes back.
#include "tools/opcda/WatchCommand.h"

#include <chrono>
#include <csignal>
#include <future>
#include <mutex>
#include <ostream>
#include <streambuf>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include "tests/support/SimulationFixture.h"

namespace Korvex::Tool {
namespace {

using namespace std::chrono_literals;

// Output that can be read while it is written.
class SharedOutput : public std::streambuf {
public:
    // Waits until `text` has been written behind what the last such wait found.
    bool reaches(const std::string& text) {
        const auto end = std::chrono::steady_clock::now() + 30s;
        while (std::chrono::steady_clock::now() < end) {
            if (find(text)) return true;
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }
    std::string text() const {
        const std::lock_guard guard(lock_);
        return text_;
    }

protected:
    int_type overflow(int_type c) override {
        const std::lock_guard guard(lock_);
        text_ += static_cast<char>(c);
        return c;
    }
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        const std::lock_guard guard(lock_);
        text_.append(s, static_cast<std::size_t>(n));
        return n;
    }

private:
    bool find(const std::string& wanted) {
        const std::lock_guard guard(lock_);
        const auto at = text_.find(wanted, read_);
        if (at == std::string::npos) return false;
        read_ = at + wanted.size();
        return true;
    }

    mutable std::mutex lock_;
    std::string text_;
    std::size_t read_ = 0;
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
    SharedOutput buffer;
    std::ostream out(&buffer);
    auto status = std::async(std::launch::async, [&] { return watch.run({out, out, false}); });

    EXPECT_TRUE(buffer.reaches("Z  connected\n")) << buffer.text();
    EXPECT_TRUE(buffer.reaches("Z  Constant.String  Constant text         OPC_QUALITY_GOOD\n")) << buffer.text();
    server.execute("dead");
    EXPECT_TRUE(buffer.reaches("Z  connection lost\n")) << buffer.text();
    EXPECT_TRUE(buffer.reaches("Z  Constant.String  -                     OPC_QUALITY_BAD\n")) << buffer.text();
    server.execute("alive");
    EXPECT_TRUE(buffer.reaches("Z  connected\n")) << buffer.text();
    EXPECT_TRUE(buffer.reaches("Z  Constant.String  Constant text         OPC_QUALITY_GOOD\n")) << buffer.text();

    std::raise(SIGINT);
    EXPECT_EQ(status.get(), kSuccess);
    EXPECT_TRUE(buffer.reaches("Z  disconnected\n")) << buffer.text();
}

}  // namespace
}  // namespace Korvex::Tool
