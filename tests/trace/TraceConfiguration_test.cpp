#include "trace/TraceConfiguration.h"

#include <gtest/gtest.h>

#include "tests/support/rows.h"
#include "tests/trace/TraceFolder.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::TraceFolder;

// What a configuration opens: "LEVEL LIMIT BACKUPS FILE PROGRAM", then "| FILE PROGRAM" for errors.
std::string described(const TraceConfiguration& configuration) {
    std::string text;
    if (configuration.wantsTrace) {
        text = std::to_string(configuration.level) + " " + std::to_string(configuration.lineLimit) + " " +
               std::to_string(configuration.backups) + " " + toUtf8(configuration.trace.name) + " " +
               toUtf8(configuration.trace.programName);
    }
    if (configuration.wantsErrors) {
        text += "| " + toUtf8(configuration.errors.name) + " " + toUtf8(configuration.errors.programName);
    }
    return text;
}

TEST(TraceConfiguration, OpensWhatTheFileAsksFor) {
    const TraceFolder folder;
    for (const auto& row : Korvex::Testing::rowsOf("trace/configurations.txt", 2)) {
        const auto file = folder.create("trace.config", "<Configuration>" + row[0] + "</Configuration>");
        EXPECT_EQ(described(readTraceConfiguration(file, OLESTR("host"))), row[1]) << row[0];
    }
    EXPECT_EQ(described(readTraceConfiguration(folder / "absent.config", OLESTR("host"))), "");
}

TEST(TraceConfiguration, LiesBesideTheModule) {
    for (const auto& row : Korvex::Testing::rowsOf("trace/configuration_files.txt", 2))
        EXPECT_EQ(traceConfigurationFile(row[0]).generic_string(), row[1]) << row[0];
}

}  // namespace
}  // namespace OpxOpc
