#include "trace/LibT.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "com/platform.h"
#include "tests/trace/TraceFolder.h"
#include "trace/TraceConfiguration.h"
#include "trace/TraceScope.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::TraceFolder;
using testing::ElementsAre;

// The messages of a trace file behind its header, each as "LEVEL message".
std::vector<std::string> messages(const std::string& text) {
    std::vector<std::string> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t start = line.find("* ");
        if (line.starts_with("**") || start == std::string::npos) continue;
        found.push_back(line.substr(line.find('|') + 1, 1) + line.substr(start + 1));
    }
    return found;
}

void traceSomething() {
    LibT::lError("Error %d", 1);
    LibT::lInfo("Changed LocalID from '%ls' to '%ls'", OLESTR("en"), OLESTR("de"));
    const TraceScope scope("DaServerCom::subscribe");
    LibT::lIfCall("CALL %s", "IOPCServer::AddGroup");
    LibT::lCtor("Ctor DaGroupMgt");
    LibT::lDetail("  IN Parameters:");
    LibT::eventWarning("Lost connection to OPC Server %ls on %ls", OLESTR("Server"), OLESTR("host"));
    LibT::eventInformation("Continue to try connect");
    scope.leave(E_FAIL);
}

// The trace is the process's and is never closed: its life is told in one test.
TEST(LibT, IsConfiguredByTheFirstObjectAndAsksTheSwitchButForConnectionEvents) {
    const TraceFolder folder;
    const auto configuration = traceConfigurationFile(Korvex::Com::programPath());
    const auto configure = [&](const std::string& traceElement) {
        std::ofstream(configuration) << "<c>" << traceElement << "<ErrorTrace TraceFileName='"
                                     << (folder / "errors.txt").string() << "'/></c>";
    };

    std::filesystem::remove(configuration);
    checkTrace();
    EXPECT_FALSE(LibT::isTraceActive()) << "there is no configuration";

    std::filesystem::create_directory(configuration);
    checkTrace();
    EXPECT_FALSE(LibT::isTraceActive()) << "what is no file is no configuration";
    std::filesystem::remove(configuration);

    configure("<Trace TraceLevel='0'/>");
    checkTrace();
    EXPECT_TRUE(LibT::isTraceActive()) << "although the level opens no trace file";
    EXPECT_EQ(LibT::level(), 0);
    traceSomething();
    const auto events =
        std::vector<std::string>{"2 Lost connection to OPC Server Server on host", "3 Continue to try connect"};
    const auto once =
        std::vector<std::string>{"1 Error 1", "3 Changed LocalID from 'en' to 'de'", events[0], events[1]};
    EXPECT_EQ(messages(folder.text("errors.txt")), once);

    configure("<Trace TraceLevel='6' TraceFileName='" + (folder / "never.txt").string() + "'/>");
    checkTrace();
    EXPECT_EQ(folder.text("never.txt"), "(absent)") << "the switch is on: it is configured already";
    std::filesystem::remove(configuration);

    const OpxString trace = fromUtf8((folder / "trace.txt").string());
    EXPECT_EQ(LibT::initTrace(6, 1000, 1, trace, OLESTR("Client")), 0);
    EXPECT_EQ(LibT::initTrace(7, 1000, 1, trace, OLESTR("Client")), -1);
    EXPECT_EQ(LibT::initErrorTrace(trace, OLESTR("Client")), -1);
    EXPECT_FALSE(LibT::detailWanted());
    traceSomething();
    EXPECT_THAT(messages(folder.text("trace.txt")),
                ElementsAre("1 Error 1", "3 Changed LocalID from 'en' to 'de'", "6 --> DaServerCom::subscribe",
                            "4 CALL IOPCServer::AddGroup", "5 Ctor DaGroupMgt", events[0], events[1],
                            "6 <-- DaServerCom::subscribe [hr=0x80004005]"));
    auto errors = once;
    errors.insert(errors.end(), once.begin(), once.end());
    EXPECT_EQ(messages(folder.text("errors.txt")), errors);

    LibT::setTraceActive(false);
    traceSomething();
    errors.insert(errors.end(), events.begin(), events.end());
    EXPECT_EQ(messages(folder.text("errors.txt")), errors) << "connection events are written with the switch off";
}

}  // namespace
}  // namespace OpxOpc
